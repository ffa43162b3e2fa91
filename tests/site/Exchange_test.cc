#include "site/nats/Exchange.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace dorn::site {
namespace {

using std::chrono::milliseconds;

bool IsReadable(const Exchange& exchange) {
  pollfd ready{exchange.Descriptor(), POLLIN, 0};
  return poll(&ready, 1, 0) == 1;
}

// The entries that are there, as texts; "^" for having caught up.
std::vector<std::string> TakeAll(Exchange& exchange) {
  std::vector<std::string> all;
  while (std::optional<Incoming> next = exchange.Take()) {
    if (const auto* came = std::get_if<EntryCame>(&*next)) all.push_back(came->entry);
    if (std::holds_alternative<CaughtUp>(*next)) all.emplace_back("^");
  }
  return all;
}

using Texts = std::vector<std::string>;

class ExchangeTest : public testing::Test {
 protected:
  Subscription& Reading(Sequence last, Sequence target) {
    mExchange.Read(last);
    mDelivered = 0;
    return mExchange.Subscribe(*mExchange.TakeRequests().read, target);
  }
  // The next that its consumer sends.
  void Arrive(const Subscription& reading, Sequence sequence, const std::string& entry,
              std::int64_t stamp = 0) {
    mExchange.Arrive(reading, {sequence, ++mDelivered, stamp}, entry);
  }

  Exchange mExchange{3, 100};
  std::uint64_t mDelivered = 0;
};

TEST_F(ExchangeTest, OutwardsThereIsRoomForSoManyEntries) {
  EXPECT_TRUE(mExchange.Publish("a"));
  EXPECT_TRUE(mExchange.Publish("b"));
  EXPECT_TRUE(mExchange.Publish("c"));
  EXPECT_FALSE(mExchange.Publish("d"));
  EXPECT_EQ(mExchange.Next()->bytes, "a");
  EXPECT_TRUE(mExchange.Publish("e"));
  EXPECT_EQ(mExchange.Next()->bytes, "b");
}

TEST_F(ExchangeTest, OutwardsThereIsRoomForSoManyBytes) {
  EXPECT_TRUE(mExchange.Publish(std::string(100, 'x')));
  EXPECT_FALSE(mExchange.Publish("y"));
  mExchange.PutBack(*mExchange.Next());
  EXPECT_FALSE(mExchange.Publish("y"));
  EXPECT_EQ(mExchange.Next()->bytes.size(), 100U);
  EXPECT_TRUE(mExchange.Publish("y"));
}

TEST_F(ExchangeTest, EntriesGoBeforePieces) {
  mExchange.Store(9, std::string(kPieceBytes + 1, 'x'));
  mExchange.Publish("entry");

  EXPECT_EQ(mExchange.Next()->bytes, "entry");
  const std::optional<Outgoing> first = mExchange.Next();
  mExchange.PutBack(*first);
  mExchange.Publish("another");
  EXPECT_EQ(mExchange.Next()->bytes, "another");
  EXPECT_EQ(mExchange.Next()->piece, 0U);
  EXPECT_EQ(mExchange.Next()->piece, 1U);
  EXPECT_FALSE(mExchange.Next());
}

TEST_F(ExchangeTest, ASnapshotIsStoredWhenAllItsPiecesAre) {
  for (const bool isLastStored : {true, false}) {
    mExchange.Store(9, std::string(kPieceBytes + 1, 'x'));
    const unsigned storing = mExchange.Next()->storing;
    mExchange.PieceDone(storing, 1, true);
    mExchange.PieceDone(storing, 1, true);      // Doubled,
    mExchange.PieceDone(storing - 1, 0, true);  // and late, of a try that was given up.
    EXPECT_FALSE(mExchange.Take());
    mExchange.PieceDone(storing, 0, isLastStored);
    const std::optional<Incoming> stored = mExchange.Take();
    ASSERT_TRUE(stored);
    EXPECT_EQ(std::get<SnapshotStored>(*stored).mark, 9U);
    EXPECT_EQ(std::get<SnapshotStored>(*stored).isStored, isLastStored);
    EXPECT_EQ(mExchange.TakeHasFailed(), !isLastStored);
    mExchange.PieceDone(storing, 0, true);
    EXPECT_FALSE(mExchange.Take());
    while (mExchange.Next()) continue;
  }
}

TEST_F(ExchangeTest, ASnapshotOfWhichNothingIsHeardIsGivenUpWhenItIsSent) {
  mExchange.Store(9, std::string(kPieceBytes + 1, 'x'));
  mExchange.Next();
  mExchange.GiveUpStoring(milliseconds(0));
  EXPECT_FALSE(mExchange.Take()) << "its second piece waits to be sent";
  const unsigned storing = mExchange.Next()->storing;
  mExchange.GiveUpStoring(std::chrono::minutes(10));
  EXPECT_FALSE(mExchange.Take()) << "there is time for its answers";
  mExchange.GiveUpStoring(milliseconds(0));
  EXPECT_FALSE(std::get<SnapshotStored>(*mExchange.Take()).isStored);
  EXPECT_TRUE(mExchange.TakeHasFailed());

  mExchange.Store(9, "again");
  mExchange.PieceDone(storing, 0, true);
  EXPECT_FALSE(mExchange.Take()) << "an answer to the first try";
}

TEST_F(ExchangeTest, TheDescriptorIsReadableWhileThereIsSomething) {
  Subscription& reading = Reading(0, 9);
  EXPECT_FALSE(IsReadable(mExchange));
  Arrive(reading, 1, "a");
  Arrive(reading, 2, "b");
  EXPECT_TRUE(mExchange.Take());
  EXPECT_TRUE(IsReadable(mExchange));
  EXPECT_TRUE(mExchange.Take());
  EXPECT_FALSE(mExchange.Take());
  EXPECT_FALSE(IsReadable(mExchange));
}

TEST_F(ExchangeTest, CaughtUpComesBehindTheLastThatTheLogHeld) {
  Subscription& reading = Reading(4, 6);
  for (Sequence i = 5; i <= 7; ++i) Arrive(reading, i, std::to_string(i));
  EXPECT_EQ(TakeAll(mExchange), (Texts{"5", "6", "^", "7"}));

  Reading(7, 7);
  EXPECT_EQ(TakeAll(mExchange), Texts{"^"});
}

TEST_F(ExchangeTest, WhatComesTwiceIsDeliveredOnce) {
  Subscription& reading = Reading(0, 9);
  for (const Sequence i : {1, 2, 1, 2, 3}) Arrive(reading, i, std::to_string(i));
  EXPECT_EQ(TakeAll(mExchange), (Texts{"1", "2", "3"}));
}

TEST_F(ExchangeTest, NothingIsDeliveredBehindAGap) {
  Subscription& reading = Reading(0, 9);
  Arrive(reading, 1, "1");
  Arrive(reading, 3, "3");
  Arrive(reading, 2, "2");
  EXPECT_EQ(TakeAll(mExchange), Texts{"1"});
  EXPECT_TRUE(mExchange.IsLost());

  const std::optional<ReadRequest> again = mExchange.Interrupt();
  ASSERT_TRUE(again);
  EXPECT_EQ(again->last, 1U);
  Subscription& next = mExchange.Subscribe(*again, 9);
  Arrive(reading, 2, "of the old one");
  mExchange.Arrive(next, {2, 1, 0}, "2");
  EXPECT_EQ(TakeAll(mExchange), Texts{"2"});
}

// Entries in order that are not all that the consumer has sent.
TEST_F(ExchangeTest, WhatItsConsumerCountsOtherwiseIsLost) {
  Subscription& reading = Reading(0, 9);
  mExchange.Arrive(reading, {1, 1, 0}, "1");
  mExchange.Arrive(reading, {2, 3, 0}, "2");
  EXPECT_EQ(TakeAll(mExchange), Texts{"1"});
  EXPECT_TRUE(mExchange.IsLost());
  EXPECT_FALSE(mExchange.IsOther());
}

TEST_F(ExchangeTest, AConsumerThatEndsIsLostAndAnOldOneIsNot) {
  Subscription& old = Reading(0, 9);
  Subscription& reading = Reading(0, 9);
  mExchange.Lose(old);
  EXPECT_FALSE(mExchange.IsLost());
  mExchange.Lose(reading);
  EXPECT_TRUE(mExchange.IsLost());
}

TEST_F(ExchangeTest, ALogIsKnownByWhatIsToldOfItUntilSomethingOfItWasRead) {
  mExchange.Know({9, 0, 1});
  EXPECT_EQ(mExchange.Known(), 9U);
  mExchange.ForgetLog();
  Subscription& reading = Reading(0, 5);
  Arrive(reading, 1, "a", 2);
  mExchange.Know({9, 0, 1});
  EXPECT_EQ(mExchange.Known(), 1U) << "otherwise the entry that was read is not looked at again";
}

TEST_F(ExchangeTest, TheLastEntryIsKnownAgainByItsStamp) {
  Arrive(Reading(0, 9), 1, "1", 17);
  EXPECT_EQ(mExchange.Known(), 1U);
  Subscription& same = mExchange.Subscribe(*mExchange.Interrupt(), 9);
  mExchange.Arrive(same, {1, 1, 17}, "1");
  mExchange.Arrive(same, {2, 2, 18}, "2");
  EXPECT_EQ(TakeAll(mExchange), (Texts{"1", "2"}));

  // Also when it is passed by a reading from the beginning.
  Subscription& other = Reading(0, 9);
  Arrive(other, 1, "1", 17);
  Arrive(other, 2, "other", 19);
  Arrive(other, 3, "3", 20);
  EXPECT_EQ(TakeAll(mExchange), Texts{"1"});
  EXPECT_TRUE(mExchange.IsOther());

  mExchange.ForgetLog();
  EXPECT_FALSE(mExchange.IsOther());
  EXPECT_EQ(mExchange.Known(), 0U);
  EXPECT_FALSE(mExchange.Interrupt());
}

TEST_F(ExchangeTest, AConsumerIsHeardByWhatItSendsAndWhileThereIsNoRoom) {
  Subscription& reading = Reading(0, 9);
  const auto begun = mExchange.HeardAt();
  std::this_thread::sleep_for(milliseconds(5));
  mExchange.Beat(reading, "");
  const auto beaten = mExchange.HeardAt();
  EXPECT_GT(beaten, begun);
  EXPECT_EQ(mExchange.HeardAt(), beaten);
  for (Sequence i = 1; i <= 3; ++i) Arrive(reading, i, "x");
  const auto full = std::chrono::steady_clock::now();
  EXPECT_GE(mExchange.HeardAt(), full);
}

TEST_F(ExchangeTest, WhatConsumersAskWakesTheBrokerAndIsTakenOnce) {
  mExchange.Beat(Reading(0, 9), "room?");
  mExchange.Wait(milliseconds(60'000), true);
  EXPECT_EQ(mExchange.TakeAsked(), Texts{"room?"});
  EXPECT_EQ(mExchange.TakeAsked(), Texts{});
}

TEST_F(ExchangeTest, AHoleIsToldBehindWhatCameBeforeItAndReadingGoesOn) {
  Subscription& reading = Reading(0, 4);
  Arrive(reading, 1, "1");
  Arrive(reading, 4, "4");
  const ReadRequest next = mExchange.SkipHole(*mExchange.Interrupt(), 4);
  EXPECT_EQ(next.last, 3U);
  mExchange.Arrive(mExchange.Subscribe(next, 4), {4, 1, 0}, "4");

  EXPECT_EQ(std::get<EntryCame>(*mExchange.Take()).entry, "1");
  EXPECT_EQ(std::get<HoleCame>(*mExchange.Take()).next, 4U);
  EXPECT_EQ(TakeAll(mExchange), (Texts{"4", "^"}));
}

TEST_F(ExchangeTest, WhatWasReadBeforeANewReadingIsNotDelivered) {
  Subscription& reading = Reading(0, 9);
  Arrive(reading, 1, "1");
  mExchange.Read(0);
  EXPECT_EQ(TakeAll(mExchange), Texts{});
  Arrive(reading, 2, "2");
  EXPECT_EQ(TakeAll(mExchange), Texts{});
}

TEST_F(ExchangeTest, InwardsWhoBringsTooMuchWaits) {
  Subscription& reading = Reading(0, 9);
  std::atomic<int> arrived = 0;
  std::thread broker([&] {
    for (Sequence i = 1; i <= 8; ++i) {
      Arrive(reading, i, std::to_string(i));
      ++arrived;
    }
  });
  while (arrived < 3) std::this_thread::yield();
  std::this_thread::sleep_for(milliseconds(50));
  EXPECT_EQ(arrived, 3);
  EXPECT_TRUE(mExchange.IsFull());

  Texts all;
  while (all.size() < 8) {
    for (const std::string& text : TakeAll(mExchange)) all.push_back(text);
  }
  broker.join();
  EXPECT_EQ(all, (Texts{"1", "2", "3", "4", "5", "6", "7", "8"}));
}

TEST_F(ExchangeTest, WhoWaitsIsLetGoByAnInterruptionOrTheEnd) {
  for (const bool isEnd : {false, true}) {
    Subscription& reading = Reading(0, 9);
    std::thread broker([&] {
      for (Sequence i = 1; i <= 4; ++i) Arrive(reading, i, "x");
    });
    while (!mExchange.IsFull()) std::this_thread::yield();
    if (isEnd) {
      mExchange.SayEnded();
      EXPECT_TRUE(mExchange.Stop(milliseconds(0)));
    } else {
      static_cast<void>(mExchange.Interrupt());
    }
    broker.join();
    TakeAll(mExchange);
  }
}

TEST_F(ExchangeTest, AnswersAreToldAtMostTenTimesASecond) {
  const auto begun = std::chrono::steady_clock::now();
  int told = 0;
  while (std::chrono::steady_clock::now() - begun < milliseconds(250)) {
    mExchange.AnswerLast(1);
    EXPECT_FALSE(mExchange.Take());
    told += mExchange.TakeAnswered() ? 1 : 0;
  }
  const auto passed = std::chrono::steady_clock::now() - begun;
  EXPECT_GE(told, 1);
  EXPECT_LE(told, passed / milliseconds(100) + 1);
}

TEST_F(ExchangeTest, TheBrokerIsWokenByWhatItCanDo) {
  mExchange.Publish("a");
  mExchange.Wait(milliseconds(60'000), true);
  static_cast<void>(mExchange.Next());
  mExchange.Read(0);
  mExchange.Wait(milliseconds(60'000), true);
  mExchange.SayEnded();
  mExchange.Stop(milliseconds(0));
  mExchange.Wait(milliseconds(60'000), false);
}

TEST_F(ExchangeTest, OfSeveralRequestsTheLastReadingAndTheFurthestForgettingCount) {
  mExchange.Read(3);
  mExchange.Read(7);
  mExchange.Forget(9);
  mExchange.Forget(4);
  mExchange.Fetch(1, 2);
  mExchange.Fetch(3, 4);

  const Requests requests = mExchange.TakeRequests();
  EXPECT_EQ(requests.read->last, 7U);
  EXPECT_EQ(requests.forget, 9U);
  ASSERT_EQ(requests.fetches.size(), 2U);
  EXPECT_EQ(requests.fetches[1].mark, 3U);
  EXPECT_FALSE(mExchange.TakeRequests().read);
}

}  // namespace
}  // namespace dorn::site
