#include "site/core/SessionClock.h"

#include <gtest/gtest.h>

#include "CoreTest.h"

namespace dorn::site {
namespace {

using namespace std::chrono_literals;

class SessionClockTest : public testing::Test {
 protected:
  SessionClockTest() {
    mState.Apply(1, Take{Origin(1), 0});
    mState.Apply(2, Manifest{1, 1, {}, 1, 1, {}});
  }
  // One with an interval of 4 s, named 3.
  void StartSession(Ms kept, std::uint32_t intervalMs = 4000) {
    mState.Apply(3, Batch{Origin(2), 0, 1, {SessionStart{Sid(1), intervalMs, ""}}});
    Use(kept);
  }
  void Use(Ms kept) {
    mClock.OnUsed(3);
    mClock.Tick(kept);
  }
  std::size_t Due(Ms kept) { return mClock.Due(mState, kept).size(); }

  State mState{Rules()};
  SessionClock mClock;
};

TEST_F(SessionClockTest, EndsAnIntervalAndAQuarterAfterTheLastUse) {
  StartSession(10s);
  EXPECT_EQ(Due(14'999ms), 0U);
  EXPECT_EQ(Due(15s), 1U);
}

TEST_F(SessionClockTest, UseCountsFromTheKeepersClock) {
  StartSession(10s);
  Use(12s);
  EXPECT_EQ(Due(16'999ms), 0U);
  EXPECT_EQ(Due(17s), 1U);
}

TEST_F(SessionClockTest, WhatWasDeliveredBehindAPauseIsUsedWhenItEnds) {
  StartSession(10s);
  mClock.OnUsed(3);
  mClock.Tick(14s);
  mClock.Tick(15s);
  EXPECT_EQ(Due(18'999ms), 0U);
  EXPECT_EQ(Due(19s), 1U);
}

TEST_F(SessionClockTest, SaysItAgainOnlyWhenTheClockHasMoved) {
  StartSession(0s);
  EXPECT_EQ(Due(6s), 1U);
  EXPECT_EQ(Due(6s), 0U);
  EXPECT_EQ(Due(7s), 1U);
}

TEST_F(SessionClockTest, ANewKeeperCountsFromItsBeginning) {
  StartSession(100s);
  mClock.OnTake();
  EXPECT_EQ(Due(4999ms), 0U);
  EXPECT_EQ(Due(5s), 1U);
}

TEST_F(SessionClockTest, NamesTheEntryThatExtendedItLast) {
  StartSession(0s);
  mState.Apply(4, Batch{Origin(2), 0, 2, {SessionExtend{3}}});
  const auto due = mClock.Due(mState, 9s);
  ASSERT_EQ(due.size(), 1U);
  EXPECT_EQ(due[0].token, 1U);
  EXPECT_EQ(due[0].session, 3U);
  EXPECT_EQ(due[0].extended, 4U);
}

TEST_F(SessionClockTest, ASessionWithoutAnIntervalNeverEnds) {
  StartSession(0s, 0);
  EXPECT_EQ(Due(1h), 0U);
}

TEST_F(SessionClockTest, TellsOfUseAtMostFourTimesAnInterval) {
  EXPECT_TRUE(mClock.MayTell(3, 4000, 10s));
  mClock.OnTold(3, 10s);
  EXPECT_FALSE(mClock.MayTell(3, 4000, 10'999ms));
  EXPECT_TRUE(mClock.MayTell(3, 4000, 11s));
  EXPECT_FALSE(mClock.MayTell(4, 0, 11s)) << "it never ends";
}

}  // namespace
}  // namespace dorn::site
