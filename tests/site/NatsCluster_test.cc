// Three brokers with a log of three copies, as a plant has them.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <nats/nats.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "tests/site/NatsHost.h"

namespace dorn::site {
namespace {

constexpr std::size_t kBrokers = 3;

// Free at this moment: brokers have to know each other's before they begin.
std::array<int, kBrokers> FreePorts() {
  std::array<int, kBrokers> ports{};
  std::array<int, kBrokers> sockets{};
  for (std::size_t i = 0; i < kBrokers; ++i) {
    sockets[i] = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(sockets[i], reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(getsockname(sockets[i], reinterpret_cast<sockaddr*>(&address), &size), 0);
    ports[i] = ntohs(address.sin_port);
  }
  for (const int each : sockets) close(each);
  return ports;
}

class NatsClusterTest : public testing::Test {
 protected:
  NatsClusterTest() {
    const auto ports = FreePorts();
    std::string routes;
    for (const int port : ports) routes += "\"nats://127.0.0.1:" + std::to_string(port) + "\"\n";
    for (std::size_t i = 0; i < kBrokers; ++i) {
      mBrokers.push_back(std::make_unique<NatsServer>(
          "server_name: b" + std::to_string(i) + "\ncluster { name: test, host: 127.0.0.1, port: " +
          std::to_string(ports[i]) + ", routes: [" + routes + "] }\n"));
    }
  }

  NatsOptions Options() const {
    NatsOptions options = OptionsFor(*mBrokers[0]);
    options.servers.clear();
    for (const auto& broker : mBrokers) options.servers.push_back(broker->Url());
    options.replicas = kBrokers;
    return options;
  }

  // Of the log, as the brokers say; none while there is no leader.
  NatsServer* Leader() {
    for (int tries = 0; tries < 200; ++tries) {
      for (const auto& broker : mBrokers) {
        const std::string name = LeaderBy(*broker);
        if (name.size() == 2) return mBrokers[static_cast<std::size_t>(name[1] - '0')].get();
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

  std::vector<std::unique_ptr<NatsServer>> mBrokers;

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
  NatsHost host(Options());
  NatsHost other(Options());
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
  NatsHost host(Options());
  NatsHost other(Options());
  ASSERT_TRUE(host.Bring("before"));
  const NatsServer* const leader = Leader();
  ASSERT_NE(leader, nullptr);
  NatsServer& follower = *mBrokers[leader == mBrokers[0].get() ? 1 : 0];
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
