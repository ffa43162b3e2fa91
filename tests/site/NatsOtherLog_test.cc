// Logs that are not the ones any more that running hosts have read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nats/nats.h>

#include <string>

#include "tests/site/NatsHost.h"

namespace dorn::site {
namespace {

using testing::ElementsAre;

// As an administrator's tool does.
bool DeletesStream(const NatsServer& server, const char* stream) {
  natsConnection* connection = nullptr;
  jsCtx* context = nullptr;
  const bool isDeleted = natsConnection_ConnectTo(&connection, server.Url().c_str()) == NATS_OK &&
                         natsConnection_JetStream(&context, connection, nullptr) == NATS_OK &&
                         js_DeleteStream(context, stream, nullptr, nullptr) == NATS_OK;
  jsCtx_Destroy(context);
  natsConnection_Destroy(connection);
  return isDeleted;
}

bool BringsAll(NatsHost& host, int first, int last) {
  for (int i = first; i <= last; ++i) {
    if (!host.Bring(std::to_string(i))) return false;
  }
  return true;
}

class NatsOtherLogTest : public testing::Test {
 protected:
  // The host brings six entries, of which the other server, which does not run, has three.
  void BringSixAndCopyThree(NatsHost& host, NatsServer& other) {
    other.Kill();
    ASSERT_TRUE(BringsAll(host, 1, 3));
    mServer.Kill();
    other.CopyStreams(mServer);
    mServer.Start();
    ASSERT_TRUE(BringsAll(host, 4, 6));
  }

  NatsServer mServer;
};

TEST_F(NatsOtherLogTest, ALogThatHasLostItsEndIsAnother) {
  NatsServer backUp;
  NatsHost host(OptionsFor(mServer));
  ASSERT_NO_FATAL_FAILURE(BringSixAndCopyThree(host, backUp));
  const std::size_t before = host.mEntries.size();
  ASSERT_EQ(host.mOtherLogs, 0) << "it was the same behind the restart";

  mServer.Kill();
  mServer.CopyStreams(backUp);
  mServer.Start();
  ASSERT_TRUE(host.Until([&] { return host.mOtherLogs == 1; }));
  ASSERT_TRUE(host.Bring("other"));
  EXPECT_LT(host.mEntries.size(), before);
  EXPECT_TRUE(host.IsWithoutGap());
  EXPECT_EQ(host.mEntries.front().first, 1U);
  EXPECT_EQ(host.Count("6"), 0U);
  EXPECT_EQ(host.mOtherLogs, 1);
}

// It is as long as the host knows it, and longer, before the host sees it again.
TEST_F(NatsOtherLogTest, ALogThatWentAnotherWayIsAnother) {
  NatsServer elsewhere;
  NatsHost host(OptionsFor(mServer));
  ASSERT_NO_FATAL_FAILURE(BringSixAndCopyThree(host, elsewhere));

  mServer.Kill();
  elsewhere.Start();
  {
    NatsHost other(OptionsFor(elsewhere));
    ASSERT_TRUE(BringsAll(other, 11, 30));
  }
  elsewhere.Kill();
  mServer.CopyStreams(elsewhere);
  mServer.Start();
  ASSERT_TRUE(host.Until([&] { return host.mOtherLogs == 1; }));
  ASSERT_TRUE(host.Bring("last"));
  EXPECT_EQ(host.Count("30"), 1U);
  EXPECT_EQ(host.Count("6"), 0U);
  EXPECT_TRUE(host.IsWithoutGap());
}

// The host was told of its newest manifest, and has read nothing of it yet.
TEST_F(NatsOtherLogTest, ALogOfWhichOnlyTheNewestManifestIsKnownIsKnownAgain) {
  const std::string manifest = Encode(Manifest{1, 2, {}, 5, 1, {}});
  NatsServer elsewhere;
  for (NatsServer* server : {&mServer, &elsewhere}) {
    NatsHost other(OptionsFor(*server));
    ASSERT_TRUE(BringsAll(other, 1, 3) && other.Bring(manifest) && BringsAll(other, 4, 6));
  }
  elsewhere.Kill();
  NatsHost host(OptionsFor(mServer), false);
  ASSERT_TRUE(host.Opens());
  ASSERT_TRUE(host.mNewest);
  host.Transport().Read(host.mNewest->sequence - 1);
  ASSERT_TRUE(host.Until([&] { return host.mCaughtUp == 1; }));
  EXPECT_EQ(host.mOtherLogs, 0) << "it is the same";

  NatsHost loading(OptionsFor(mServer), false);
  ASSERT_TRUE(loading.Opens());
  mServer.Kill();
  mServer.CopyStreams(elsewhere);
  mServer.Start();
  loading.Transport().Read(2);
  ASSERT_TRUE(loading.Until([&] { return loading.mOtherLogs == 1; }));
  EXPECT_EQ(loading.mCaughtUp, 0);
}

TEST_F(NatsOtherLogTest, ADeletedLogIsMadeAnewAndTold) {
  NatsHost one(OptionsFor(mServer));
  NatsHost other(OptionsFor(mServer));
  ASSERT_TRUE(BringsAll(one, 1, 5) && other.Has(5));
  ASSERT_TRUE(DeletesStream(mServer, "DORN_test") && DeletesStream(mServer, "DORN_test_SNAP"));

  ASSERT_TRUE(one.Until([&] { return one.mOtherLogs == 1; }));
  EXPECT_FALSE(one.mNewest);
  ASSERT_TRUE(one.Bring("again"));
  ASSERT_TRUE(other.Until([&] { return other.mOtherLogs == 1; }));
  ASSERT_TRUE(other.Until([&] { return other.Count("again") == 1; }));
  EXPECT_EQ(other.mEntries.front().first, 1U);
  EXPECT_EQ(one.mOtherLogs + other.mOtherLogs, 2);
}

// Before they are missed: whoever starts could not begin without them.
TEST_F(NatsOtherLogTest, DeletedSnapshotsAreNoticedAndTheirStreamIsMadeAnew) {
  NatsHost host(OptionsFor(mServer));
  ASSERT_TRUE(host.Until([&] { return host.mNoSnapshots > 0; })) << "before the first";
  host.Transport().Store(1, "bytes");
  ASSERT_TRUE(host.Until([&] { return !host.mStored.empty(); }));
  ASSERT_TRUE(host.mStored.back().second);
  host.mNoSnapshots = 0;
  host.RunFor(std::chrono::milliseconds(6000));
  EXPECT_EQ(host.mNoSnapshots, 0) << "there is one";

  ASSERT_TRUE(DeletesStream(mServer, "DORN_test_SNAP"));
  ASSERT_TRUE(host.Until([&] { return host.mNoSnapshots > 0; }));
  ASSERT_TRUE(host.Until([&] { return DeletesStream(mServer, "DORN_test_SNAP"); }));
  host.mNoSnapshots = 0;
  EXPECT_TRUE(host.Until([&] { return host.mNoSnapshots > 0; })) << "said again";
}

TEST_F(NatsOtherLogTest, DeletedSnapshotsAreStoredAgainAndTheLogIsTheSame) {
  NatsHost host(OptionsFor(mServer));
  ASSERT_TRUE(BringsAll(host, 1, 3));
  ASSERT_TRUE(DeletesStream(mServer, "DORN_test_SNAP"));
  bool isStored = false;
  for (Sequence mark = 1; !isStored && mark < 50; ++mark) {
    host.mStored.clear();
    host.Transport().Store(mark, "bytes");
    ASSERT_TRUE(host.Until([&] { return !host.mStored.empty(); }));
    isStored = host.mStored.back().second;
  }
  EXPECT_TRUE(isStored);
  ASSERT_TRUE(BringsAll(host, 4, 4));
  EXPECT_EQ(host.mOtherLogs, 0);
}

}  // namespace
}  // namespace dorn::site
