#include "site/nats/NatsTransport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nats/nats.h>

#include <memory>
#include <string>

#include "tests/site/NatsHost.h"

namespace dorn::site {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::Pair;

std::string SomeManifest(Sequence mark) { return Encode(Manifest{1, mark, {}, 5, 1, {}}); }

TEST(NatsTransportTest, NoSiteIsNamedAsAnothersSnapshots) {
  for (const char* name : {"plant", "Plant-1_b", "SNAP", "x_SNAP_1", "x_snap"}) {
    EXPECT_TRUE(IsSiteName(name)) << name;
  }
  for (const char* name : {"", "x_SNAP", "_SNAP", "a b", "a.b", "a*"}) {
    EXPECT_FALSE(IsSiteName(name)) << name;
  }
}

TEST(NatsTransportTest, WhatOneHostPublishesComesToAllInOneOrder) {
  NatsServer server;
  NatsHost one(OptionsFor(server));
  NatsHost other(OptionsFor(server));
  ASSERT_TRUE(one.Opens() && other.Opens());
  EXPECT_FALSE(one.mNewest);

  for (const char* text : {"a", "b", "c"}) EXPECT_TRUE(one.Transport().Publish(text));
  ASSERT_TRUE(one.Has(3));
  other.Transport().Publish("d");
  ASSERT_TRUE(one.Has(4) && other.Has(4));

  EXPECT_THAT(one.mEntries, ElementsAre(Pair(1, "a"), Pair(2, "b"), Pair(3, "c"), Pair(4, "d")));
  EXPECT_EQ(other.mEntries, one.mEntries);
}

// What is in it is not the transport's business.
TEST(NatsTransportTest, AnyBytesAreCarried) {
  NatsServer server;
  NatsHost host(OptionsFor(server));
  std::string bytes;
  for (int i = 0; i < 1000; ++i) bytes.push_back(static_cast<char>(i * 7));

  host.Transport().Publish(bytes);
  host.Transport().Publish("");
  ASSERT_TRUE(host.Has(2));
  EXPECT_THAT(host.Texts(), ElementsAre(bytes, ""));
}

TEST(NatsTransportTest, AnEntryThatIsTooLongForTheBrokersHoldsNobodyUp) {
  NatsServer server;
  NatsHost host(OptionsFor(server));

  host.Transport().Publish(std::string(std::size_t{2} << 20, 'x'));
  host.Transport().Publish("after");
  ASSERT_TRUE(host.Has(1));
  EXPECT_THAT(host.Texts(), ElementsAre("after"));
}

TEST(NatsTransportTest, TheNewestManifestIsToldFirst) {
  NatsServer server;
  NatsHost host(OptionsFor(server));
  for (const std::string& entry : {SomeManifest(1), SomeManifest(2), std::string("later")}) {
    host.Transport().Publish(entry);
  }
  ASSERT_TRUE(host.Has(3));

  NatsHost late(OptionsFor(server), false);
  ASSERT_TRUE(late.Opens());
  ASSERT_TRUE(late.mNewest);
  EXPECT_EQ(late.mNewest->sequence, 2U);
  EXPECT_EQ(late.mNewest->entry, SomeManifest(2));
  EXPECT_TRUE(late.mEntries.empty());
}

TEST(NatsTransportTest, ReadingBeginsBehindTheGivenEntry) {
  NatsServer server;
  NatsHost host(OptionsFor(server));
  for (int i = 1; i <= 10; ++i) host.Transport().Publish(std::to_string(i));
  ASSERT_TRUE(host.Has(10));
  EXPECT_TRUE(host.Until([&] { return host.mCaughtUp == 1; }));

  host.mEntries.clear();
  host.Transport().Read(3);  // Nothing of this one is delivered.
  host.Transport().Read(7);
  ASSERT_TRUE(host.Until([&] { return host.mCaughtUp == 2; }));
  EXPECT_THAT(host.mEntries, ElementsAre(Pair(8, "8"), Pair(9, "9"), Pair(10, "10")));

  host.mEntries.clear();
  host.Transport().Read(10);
  ASSERT_TRUE(host.Until([&] { return host.mCaughtUp == 3; }));
  host.Transport().Publish("11");
  ASSERT_TRUE(host.Has(1));
  EXPECT_THAT(host.mEntries, ElementsAre(Pair(11, "11")));
}

TEST(NatsTransportTest, TwentyThousandEntriesComeInTheirOrder) {
  constexpr int kEntries = 20'000;
  NatsServer server;
  NatsHost one(OptionsFor(server));
  NatsHost other(OptionsFor(server));
  ASSERT_TRUE(one.Opens() && other.Opens());

  for (int i = 0; i < kEntries;) {
    if (one.Transport().Publish(std::to_string(i))) {
      ++i;
    } else {
      one.Deliver(milliseconds(5));  // No room: they are sent meanwhile.
    }
  }
  ASSERT_TRUE(one.Has(kEntries) && other.Has(kEntries));
  EXPECT_TRUE(other.IsWithoutGap());
  for (int i = 0; i < kEntries; ++i) {
    ASSERT_EQ(other.mEntries[static_cast<std::size_t>(i)].second, std::to_string(i));
  }
  EXPECT_EQ(one.mEntries, other.mEntries);
}

// The broker holds back what a host does not take, for as long as that takes.
TEST(NatsTransportTest, AHostThatTakesNothingIsHeldBackAndLosesNothing) {
  NatsServer server;
  NatsHost one(OptionsFor(server));
  NatsOptions small = OptionsFor(server);
  small.maxWaiting = 10;
  NatsHost slow(small);
  ASSERT_TRUE(slow.Opens());
  for (int i = 0; i < 2000; ++i) one.Transport().Publish(std::to_string(i));
  ASSERT_TRUE(one.Has(2000));

  one.RunFor(milliseconds(1500));  // More than a heartbeat's time without an entry taken.
  ASSERT_TRUE(slow.Has(2000));
  EXPECT_EQ(slow.mEntries, one.mEntries);
}

TEST(NatsTransportTest, WhatIsPublishedBeforeThereIsABrokerGoesIntoTheLogLater) {
  NatsServer server;
  server.Kill();
  NatsOptions options = OptionsFor(server);
  options.maxWaiting = 5;
  NatsHost host(options);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(host.Transport().Publish(std::to_string(i)));
  EXPECT_FALSE(host.Transport().Publish("one too many"));
  host.RunFor(milliseconds(300));
  EXPECT_EQ(host.mOpened, 0);

  server.Start();
  ASSERT_TRUE(host.Has(5));
  EXPECT_TRUE(host.Bring("last"));
  EXPECT_THAT(host.Texts(), ElementsAre("0", "1", "2", "3", "4", "last"));
}

TEST(NatsTransportTest, ADeadBrokerThatComesBackLeavesNoGap) {
  NatsServer server;
  NatsHost host(OptionsFor(server));
  NatsHost listener(OptionsFor(server));
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(host.Bring("before " + std::to_string(round)));
    server.Kill();
    host.Transport().Publish("meanwhile " + std::to_string(round));
    host.RunFor(milliseconds(200));
    server.Start();
    ASSERT_TRUE(host.Bring("meanwhile " + std::to_string(round)));
    ASSERT_TRUE(host.Bring("after " + std::to_string(round)));
  }

  ASSERT_TRUE(listener.Has(host.mEntries.size()));
  EXPECT_TRUE(host.IsWithoutGap());
  EXPECT_EQ(host.mEntries.front().first, 1U);
  listener.mEntries.resize(host.mEntries.size());
  EXPECT_EQ(listener.mEntries, host.mEntries);
  EXPECT_EQ(host.mOpened, 1);
}

TEST(NatsTransportTest, AStoppedBrokerThatGoesOnLeavesNoGap) {
  NatsServer server;
  NatsHost host(OptionsFor(server));
  ASSERT_TRUE(host.Bring("before"));

  server.Pause();
  // Longer than the client waits for an answer: it gives the link up.
  for (int i = 0; i < 30; ++i) {
    host.Transport().Publish("meanwhile " + std::to_string(i));
    host.RunFor(milliseconds(100));
  }
  server.Resume();
  for (int i = 0; i < 30; ++i) ASSERT_TRUE(host.Bring("meanwhile " + std::to_string(i)));
  EXPECT_TRUE(host.IsWithoutGap());
  EXPECT_EQ(host.mEntries.front().first, 1U);
}

TEST(NatsTransportTest, AnswersAreToldWhileNothingHappensAndNotWithoutABroker) {
  NatsServer server;
  NatsHost host(OptionsFor(server));
  ASSERT_TRUE(host.Opens());
  EXPECT_TRUE(host.Until([&] { return host.mAnswered >= 5; }));

  server.Kill();
  EXPECT_TRUE(host.Until([&] {
    host.mAnswered = 0;
    host.RunFor(milliseconds(300));
    return host.mAnswered == 0;
  }));
  host.RunFor(milliseconds(1000));
  EXPECT_EQ(host.mAnswered, 0);
  server.Start();
  EXPECT_TRUE(host.Until([&] { return host.mAnswered >= 2; }));
}

// As an administrator's tool does, or a broker whose file is damaged.
bool IsDeleted(const NatsServer& server, Sequence sequence) {
  natsConnection* connection = nullptr;
  jsCtx* context = nullptr;
  const bool isDeleted = natsConnection_ConnectTo(&connection, server.Url().c_str()) == NATS_OK &&
                         natsConnection_JetStream(&context, connection, nullptr) == NATS_OK &&
                         js_DeleteMsg(context, "DORN_test", sequence, nullptr, nullptr) == NATS_OK;
  jsCtx_Destroy(context);
  natsConnection_Destroy(connection);
  return isDeleted;
}

TEST(NatsTransportTest, EntriesThatTheLogHasLostAreToldAndTheRestIsRead) {
  NatsServer server;
  NatsHost host(OptionsFor(server));
  for (int i = 1; i <= 9; ++i) host.Transport().Publish(std::to_string(i));
  ASSERT_TRUE(host.Has(9));
  for (const Sequence lost : {3, 4, 7}) ASSERT_TRUE(IsDeleted(server, lost));

  NatsHost late(OptionsFor(server));
  ASSERT_TRUE(late.Has(6));
  EXPECT_THAT(late.Texts(), ElementsAre("1", "2", "5", "6", "8", "9"));
  EXPECT_THAT(late.mHoles, ElementsAre(5, 8));
  EXPECT_TRUE(late.Until([&] { return late.mCaughtUp == 1; }));
  EXPECT_TRUE(host.mHoles.empty());
}

TEST(NatsTransportTest, AHoleAtTheEndOfTheLogHoldsNobodyUp) {
  NatsServer server;
  NatsHost host(OptionsFor(server));
  for (int i = 1; i <= 9; ++i) host.Transport().Publish(std::to_string(i));
  ASSERT_TRUE(host.Has(9));
  for (const Sequence lost : {8, 9}) ASSERT_TRUE(IsDeleted(server, lost));

  NatsHost late(OptionsFor(server));
  EXPECT_TRUE(late.Until([&] { return late.mCaughtUp > 0; }));
  EXPECT_THAT(late.mHoles, ElementsAre(10));
  host.Transport().Publish("10");
  ASSERT_TRUE(late.Has(8));
  EXPECT_THAT(late.Texts(), ElementsAre("1", "2", "3", "4", "5", "6", "7", "10"));
  EXPECT_EQ(late.mOtherLogs + host.mOtherLogs, 0);
}

TEST(NatsTransportTest, ItEndsSoonWhateverTheBrokerDoes) {
  NatsServer server;
  auto unreached = std::make_unique<NatsHost>(OptionsFor(server));
  auto host = std::make_unique<NatsHost>(OptionsFor(server));
  ASSERT_TRUE(host->Bring("before"));
  server.Pause();
  host->Transport().Store(1, std::string(std::size_t{3} << 20, 'x'));
  host->Transport().Fetch(1, 1);
  host->Transport().Read(0);
  for (int i = 0; i < 100; ++i) host->Transport().Publish(std::string(60'000, 'x'));
  host->RunFor(milliseconds(500));

  const auto begun = std::chrono::steady_clock::now();
  host.reset();
  unreached.reset();
  // A second each, by the clock; the rest is for a busy machine.
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(30));
  server.Resume();
}

}  // namespace
}  // namespace dorn::site
