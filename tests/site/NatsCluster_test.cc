// What hosts see of three brokers when one of them dies or stands still.
#include <gtest/gtest.h>
#include <nats/nats.h>

#include <string>

#include "tests/site/NatsCluster.h"
#include "tests/site/NatsHost.h"

namespace dorn::site {
namespace {

class NatsClusterTest : public testing::Test {
 protected:
  // Of the log, as the brokers say; none while there is no leader.
  NatsServer* Leader() {
    for (int tries = 0; tries < 200; ++tries) {
      for (const auto& broker : mCluster.mBrokers) {
        const std::string name = LeaderBy(*broker);
        if (name.size() == 2)
          return mCluster.mBrokers[static_cast<std::size_t>(name[1] - '0')].get();
      }
    }
    return nullptr;
  }

  // A host that reads beside, from the beginning, has the same.
  static void ExpectSame(const NatsHost& host, NatsHost& other) {
    ASSERT_TRUE(other.Has(host.mEntries.size()));
    EXPECT_TRUE(host.IsWithoutGap());
    EXPECT_EQ(host.mEntries.front().first, 1U);
    other.mEntries.resize(host.mEntries.size());
    EXPECT_EQ(other.mEntries, host.mEntries);
    EXPECT_EQ(host.mOtherLogs + other.mOtherLogs, 0);
    EXPECT_TRUE(host.mHoles.empty() && other.mHoles.empty());
  }

  NatsCluster mCluster;

 private:
  static std::string LeaderBy(const NatsServer& broker) {
    natsConnection* connection = nullptr;
    jsCtx* context = nullptr;
    jsStreamInfo* info = nullptr;
    std::string leader;
    if (natsConnection_ConnectTo(&connection, broker.Url().c_str()) == NATS_OK &&
        natsConnection_JetStream(&context, connection, nullptr) == NATS_OK &&
        js_GetStreamInfo(&info, context, "DORN_test", nullptr, nullptr) == NATS_OK &&
        info->Cluster != nullptr && info->Cluster->Leader != nullptr) {
      leader = info->Cluster->Leader;
    }
    jsStreamInfo_Destroy(info);
    jsCtx_Destroy(context);
    natsConnection_Destroy(connection);
    return leader;
  }
};

TEST_F(NatsClusterTest, ALeaderThatDiesLeavesNoGap) {
  NatsHost host(mCluster.Options());
  NatsHost other(mCluster.Options());
  ASSERT_TRUE(host.Bring("before"));
  NatsServer* const leader = Leader();
  ASSERT_NE(leader, nullptr);
  leader->Kill();
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(host.Bring("without " + std::to_string(i)));
  leader->Start();
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(host.Bring("behind " + std::to_string(i)));
  ExpectSame(host, other);
}

TEST_F(NatsClusterTest, AFollowerThatStandsStillAndGoesOnLeavesNoGap) {
  NatsHost host(mCluster.Options());
  NatsHost other(mCluster.Options());
  ASSERT_TRUE(host.Bring("before"));
  const NatsServer* const leader = Leader();
  ASSERT_NE(leader, nullptr);
  NatsServer& follower = *mCluster.mBrokers[leader == mCluster.mBrokers[0].get() ? 1 : 0];
  follower.Pause();
  for (int i = 0; i < 30; ++i) {
    host.Transport().Publish("meanwhile " + std::to_string(i));
    host.RunFor(std::chrono::milliseconds(100));
  }
  for (int i = 0; i < 30; ++i) ASSERT_TRUE(host.Bring("meanwhile " + std::to_string(i)));
  follower.Resume();
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(host.Bring("behind " + std::to_string(i)));
  ExpectSame(host, other);
}

}  // namespace
}  // namespace dorn::site
