#include "site/core/Lease.h"

#include <gtest/gtest.h>

#include <variant>

#include "CoreTest.h"

namespace dorn::site {
namespace {

using namespace std::chrono_literals;

// A clock that has been running for a while when the host starts, and ticks each 100 ms.
class LeaseTest : public testing::Test {
 protected:
  template <typename Kind>
  std::optional<Kind> Tick(bool answers = true) {
    mNow += 100ms;
    if (answers) mLease.OnAnswered(mNow);
    const auto entry = mLease.Tick(mMayKeep, mNow);
    if (!entry || !std::holds_alternative<Kind>(*entry)) return std::nullopt;
    return std::get<Kind>(*entry);
  }

  // The time until it wants to take, or a minute.
  Ms UntilTake(bool answers = true) {
    const Ms begin = mNow;
    while (mNow - begin < 60s && !Tick<Take>(answers)) continue;
    return mNow - begin;
  }

  void BecomeKeeper(Sequence token) { mLease.OnTake(token, Origin(1), mNow); }

  Lease mLease{Origin(1)};
  Ms mNow{1'000'000};
  bool mMayKeep = true;
};

TEST_F(LeaseTest, TakesAtOnceWhatNobodyHasEverKept) {
  const auto take = Tick<Take>();
  ASSERT_TRUE(take);
  EXPECT_EQ(take->expected, 0U);
  EXPECT_EQ(UntilTake(), 1s) << "and asks again until it comes back";
}

TEST_F(LeaseTest, TakesNothingBeforeTheLogHasAnswered) { EXPECT_EQ(UntilTake(false), 60s); }

TEST_F(LeaseTest, TakesThreeSecondsAfterTheLastNewRenewal) {
  mLease.OnTake(5, Origin(2), mNow);
  for (std::uint64_t i = 1; i <= 50; ++i) {
    EXPECT_FALSE(Tick<Take>());
    mLease.OnRenew({5, i});
  }
  EXPECT_EQ(UntilTake(), 3s + 100ms) << "from the tick behind it";
}

TEST_F(LeaseTest, RenewalsOfAFormerTokenAreNone) {
  mLease.OnTake(5, Origin(2), mNow);
  mLease.OnTake(6, Origin(3), mNow);
  for (std::uint64_t i = 1; i <= 30; ++i) {
    EXPECT_FALSE(Tick<Take>());
    mLease.OnRenew({5, i});
  }
  EXPECT_TRUE(Tick<Take>());
}

TEST_F(LeaseTest, TakesNothingWhileTheLogIsAway) {
  mLease.OnTake(5, Origin(2), mNow);
  Tick<Take>();
  EXPECT_EQ(UntilTake(false), 60s);
  EXPECT_EQ(UntilTake(true), 3s) << "counts anew from its return";
}

TEST_F(LeaseTest, APauseOfThisHostIsNoSilenceOfTheKeeper) {
  mLease.OnTake(5, Origin(2), mNow);
  Tick<Take>();
  mLease.OnAnswered(mNow);  // What waited while it was stopped is delivered before the tick.
  mNow += 30s;
  EXPECT_FALSE(Tick<Take>(false));
}

TEST_F(LeaseTest, TakesNothingWithoutAStateThatCouldBeTheSites) {
  mMayKeep = false;
  EXPECT_EQ(UntilTake(), 60s);
}

TEST_F(LeaseTest, IsSureOnlyWhileARenewalSentLessThanTwoSecondsAgoHasComeBack) {
  BecomeKeeper(5);
  EXPECT_FALSE(mLease.IsSure(mNow)) << "no renewal yet";
  const auto renewal = Tick<Renew>();
  ASSERT_TRUE(renewal);
  const Ms sent = mNow;
  EXPECT_FALSE(mLease.IsSure(mNow));
  mNow += 900ms;
  mLease.OnRenew(*renewal);
  EXPECT_TRUE(mLease.IsSure(mNow));
  EXPECT_TRUE(mLease.IsSure(sent + 1999ms));
  EXPECT_FALSE(mLease.IsSure(sent + 2000ms)) << "counted from when it was sent";
}

TEST_F(LeaseTest, ARenewalThatComesBackTooLateMakesNotSure) {
  BecomeKeeper(5);
  const auto renewal = Tick<Renew>();
  mNow += 2s;
  mLease.OnRenew(*renewal);
  EXPECT_FALSE(mLease.IsSure(mNow));
}

TEST_F(LeaseTest, IsNotSureBehindATakeOfAnother) {
  BecomeKeeper(5);
  mLease.OnRenew(*Tick<Renew>());
  ASSERT_TRUE(mLease.IsSure(mNow));
  mLease.OnTake(9, Origin(2), mNow);
  EXPECT_FALSE(mLease.IsSure(mNow));
  EXPECT_EQ(UntilTake(), 3s + 100ms);
}

TEST_F(LeaseTest, WhatIsDeliveredBehindAPauseCountsFromTheTickBehindIt) {
  mLease.OnTake(5, Origin(2), mNow);
  Tick<Take>();
  mNow += 1400ms;  // Shorter than what the log may take to answer.
  mLease.OnRenew({5, 1});
  EXPECT_EQ(UntilTake(), 3s + 100ms);
}

TEST_F(LeaseTest, RenewsEachSecondWithAGrowingCount) {
  BecomeKeeper(5);
  std::vector<std::uint64_t> counts;
  for (int i = 0; i < 41; ++i) {
    if (const auto renewal = Tick<Renew>()) counts.push_back(renewal->count);
  }
  EXPECT_EQ(counts, (std::vector<std::uint64_t>{1, 2, 3, 4, 5}));
}

TEST_F(LeaseTest, InANewLogNobodyKeepsAndTokensBeginAnew) {
  BecomeKeeper(50);
  const auto renewal = Tick<Renew>();
  ASSERT_TRUE(renewal);
  mLease.ForgetLog();
  mLease.OnRenew(*renewal);
  EXPECT_FALSE(mLease.IsMine());
  EXPECT_EQ(mLease.Token(), 0U);
  mLease.OnTake(5, Origin(1), mNow);
  EXPECT_TRUE(mLease.IsMine());
  const auto next = Tick<Renew>();
  ASSERT_TRUE(next);
  EXPECT_EQ(next->token, 5U);
  EXPECT_GT(next->count, renewal->count) << "a late one of the old log renews nothing";
}

TEST_F(LeaseTest, ReadingTheLogAgainChangesNothing) {
  BecomeKeeper(5);
  mLease.OnRenew(*Tick<Renew>());
  mLease.OnTake(3, Origin(2), mNow);
  mLease.OnRenew({3, 7});
  mLease.OnTake(5, Origin(1), mNow);
  EXPECT_TRUE(mLease.IsSure(mNow));
  EXPECT_EQ(mLease.Token(), 5U);
}

TEST_F(LeaseTest, TheKeepersClockStandsWhileNoRenewalComesBack) {
  BecomeKeeper(5);
  for (int i = 0; i < 31; ++i) {
    if (const auto renewal = Tick<Renew>()) mLease.OnRenew(*renewal);
  }
  EXPECT_EQ(mLease.Kept(), 3s);
  for (int i = 0; i < 80; ++i) Tick<Renew>();  // The log is away.
  EXPECT_EQ(mLease.Kept(), 3s);
  for (int i = 0; i < 21; ++i) {
    if (const auto renewal = Tick<Renew>()) mLease.OnRenew(*renewal);
  }
  EXPECT_GE(mLease.Kept(), 4s);
  EXPECT_LE(mLease.Kept(), 5s);
}

TEST_F(LeaseTest, TheKeepersClockIsNeverBehindWhatItMayShowLater) {
  BecomeKeeper(5);
  for (int i = 0; i < 15; ++i) {
    if (const auto renewal = Tick<Renew>()) mLease.OnRenew(*renewal);
  }
  const Ms atMost = mLease.KeptAtMost(mNow);  // 400 ms behind the last renewal.
  EXPECT_EQ(atMost, mLease.Kept() + 400ms);
  std::optional<Renew> second;
  while (!second) second = Tick<Renew>();
  mLease.OnRenew(*second);
  EXPECT_EQ(mLease.Kept(), atMost + 600ms) << "only the time behind it";
}

}  // namespace
}  // namespace dorn::site
