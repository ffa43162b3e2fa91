// What a thread knows of the passes that it runs, and how long they take.
#include "dorn/loop/LoopPass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "dorn/loop/PassStatistics.h"
#include "tests/loop/SystemCallSpy.h"
#include "tests/support/Deadline.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LoopPassTest : public ::testing::Test {
 protected:
  LoopPassTest() {
    mRecord.mReadForReal = false;
    mApp.mFdList.push_back(&mRecord);
    mPipe.Write("x");
  }
  ~LoopPassTest() override { mApp.mFdList.remove(&mRecord); }

  // A pass with `hook` in it, called for a record.
  void Serve(std::function<void()> hook) {
    mRecord.mOnRead = std::move(hook);
    mApp.RunPass();
    mRecord.mOnRead = nullptr;
  }

  HangGuard mGuard;
  FakeClock mClock;
  TestPipe mPipe;
  TestApplication mApp;
  TestRecord mRecord{2, mPipe.ReadEnd(), 5};
};

TEST_F(LoopPassTest, IsKnownWithinItsHooksAlone) {
  const auto isKnown = [this] {
    return std::vector<bool>{dorn::IsInPass(), dorn::IsInPassOf(&mApp)};
  };
  EXPECT_THAT(isKnown(), ElementsAre(false, false));
  std::vector<bool> inHook;
  std::vector<bool> inTimer;
  std::vector<bool> inOtherThread;
  mApp.mOnTimer = [&](unsigned int) { inTimer = isKnown(); };
  mApp.SetApplicationSingleTimerInterval(1, 1);
  mClock.AdvanceMs(1);
  Serve([&] {
    inHook = isKnown();
    std::thread([&] { inOtherThread = isKnown(); }).join();
  });
  EXPECT_THAT(inHook, ElementsAre(true, true));
  EXPECT_THAT(inTimer, ElementsAre(true, true));
  EXPECT_THAT(inOtherThread, ElementsAre(false, false));
  EXPECT_THAT(isKnown(), ElementsAre(false, false));
}

TEST_F(LoopPassTest, MayStandInsideOneOfAnotherLoop) {
  TestApplication inner;
  TestApplication third;
  std::vector<bool> within;
  std::vector<bool> behind;
  const auto look = [&] {
    return std::vector<bool>{dorn::IsInPass(), dorn::IsInPassOf(&mApp), dorn::IsInPassOf(&inner),
                             dorn::IsInPassOf(&third)};
  };
  inner.mOnTimer = [&](unsigned int) { within = look(); };
  inner.SetApplicationSingleTimerInterval(1, 1);
  mClock.AdvanceMs(1);
  Serve([&] {
    inner.RunPass();
    behind = look();
  });
  EXPECT_THAT(within, ElementsAre(true, true, true, false));
  EXPECT_THAT(behind, ElementsAre(true, true, false, false));
}

// --- What is to be called at the end of a pass ---

std::vector<int> gCalledAtEnd;

TEST_F(LoopPassTest, WhatIsAskedForIsCalledOnceAtItsEnd) {
  gCalledAtEnd.clear();
  Serve([] {
    dorn::AtEndOfPass([] {
      gCalledAtEnd.push_back(1);
      dorn::AtEndOfPass([] { gCalledAtEnd.push_back(3); });
    });
    dorn::AtEndOfPass([] { gCalledAtEnd.push_back(2); });
    EXPECT_THAT(gCalledAtEnd, IsEmpty());
  });
  EXPECT_THAT(gCalledAtEnd, ElementsAre(1, 2, 3));
  Serve([] {});
  EXPECT_THAT(gCalledAtEnd, ElementsAre(1, 2, 3));
}

TEST_F(LoopPassTest, WhatIsAskedForOutsideOfOneIsCalledAtTheEndOfTheNext) {
  gCalledAtEnd.clear();
  dorn::AtEndOfPass([] { gCalledAtEnd.push_back(1); });
  EXPECT_THAT(gCalledAtEnd, IsEmpty());
  Serve([] { gCalledAtEnd.push_back(0); });
  EXPECT_THAT(gCalledAtEnd, ElementsAre(0, 1));
}

TEST_F(LoopPassTest, WhatIsAskedForIsCalledAlsoWhenItsSelectFails) {
  gCalledAtEnd.clear();
  mApp.mOnTimer = [](unsigned int) { dorn::AtEndOfPass([] { gCalledAtEnd.push_back(1); }); };
  mApp.SetApplicationSingleTimerInterval(1, 1);
  mClock.AdvanceMs(1);
  const SleepSpy sleeps;
  SelectSpy spy;
  spy.mReplacement = [](fd_set*, fd_set*) {
    errno = EINTR;
    return -1;
  };
  mApp.RunPass();
  EXPECT_THAT(gCalledAtEnd, ElementsAre(1));
  EXPECT_THAT(sleeps.mSleepsUs, ElementsAre(10000));
}

TEST_F(LoopPassTest, WhatThrowsAtItsEndLeavesTheOthersToTheNext) {
  gCalledAtEnd.clear();
  dorn::AtEndOfPass([] { throw std::runtime_error("from a call"); });
  dorn::AtEndOfPass([] { gCalledAtEnd.push_back(2); });
  EXPECT_THROW(mApp.RunPass(), std::runtime_error);
  EXPECT_THAT(gCalledAtEnd, IsEmpty());
  mApp.RunPass();
  EXPECT_THAT(gCalledAtEnd, ElementsAre(2));
}

// --- The rounds of timers ---

TEST_F(LoopPassTest, EachRoundOfTimersHasANumberOfItsOwn) {
  EXPECT_EQ(dorn::TimerRound(), 0u);
  std::vector<unsigned long> rounds;
  mApp.mOnTimer = [&](unsigned int) { rounds.push_back(dorn::TimerRound()); };
  mApp.SetApplicationTimerInterval(1, 1);
  mApp.SetApplicationTimerInterval(1, 2);
  unsigned long inHook = 1;
  for (int i = 0; i < 2; ++i) {
    mClock.AdvanceMs(1);
    Serve([&] { inHook = dorn::TimerRound(); });
  }
  ASSERT_EQ(rounds.size(), 4u);
  EXPECT_NE(rounds[0], 0u);
  EXPECT_EQ(rounds[1], rounds[0]);
  EXPECT_NE(rounds[2], 0u);
  EXPECT_NE(rounds[2], rounds[0]);
  EXPECT_EQ(rounds[3], rounds[2]);
  EXPECT_EQ(inHook, 0u);
  EXPECT_EQ(dorn::TimerRound(), 0u);
  std::thread([] { EXPECT_EQ(dorn::TimerRound(), 0u); }).join();
}

TEST_F(LoopPassTest, BehindARoundWithinARoundThereIsNone) {
  TestApplication inner;
  unsigned long behind = 1;
  mApp.mOnTimer = [&](unsigned int) {
    inner.BaseTimer(mClock.Now());
    behind = dorn::TimerRound();
  };
  mApp.SetApplicationSingleTimerInterval(1, 1);
  mClock.AdvanceMs(1);
  mApp.RunPass();
  EXPECT_EQ(behind, 0u);
}

// --- How long passes take ---

class PassStatisticsTest : public LoopPassTest {
 protected:
  PassStatisticsTest() { dorn::Passes().longestUs = 0; }
  ~PassStatisticsTest() override {
    dorn::Passes().isTimed = false;
    dorn::Passes().longestUs = 0;
  }

  StillClockSpy mMachine;
};

TEST_F(PassStatisticsTest, EachPassIsCounted) {
  const auto before = dorn::Passes().passes.load();
  for (int i = 0; i < 3; ++i) mApp.RunPass();
  EXPECT_EQ(dorn::Passes().passes.load() - before, 3u);
}

TEST_F(PassStatisticsTest, TheLongestPassCountsWithoutItsWait) {
  dorn::Passes().isTimed = true;
  SelectSpy spy;
  spy.mAfterwards = [this] { mMachine.AdvanceUs(5000000); };
  mApp.mOnTimer = [this](unsigned int) { mMachine.AdvanceUs(300); };
  mApp.SetApplicationSingleTimerInterval(1, 1);
  mClock.AdvanceMs(1);
  Serve([this] { mMachine.AdvanceUs(20); });
  EXPECT_EQ(dorn::Passes().longestUs, 320u);
  Serve([this] { mMachine.AdvanceUs(319); });
  EXPECT_EQ(dorn::Passes().longestUs, 320u);
  Serve([this] { mMachine.AdvanceUs(321); });
  EXPECT_EQ(dorn::Passes().longestUs, 321u);
}

TEST_F(PassStatisticsTest, NothingIsTimedUntilSomebodyAsks) {
  Serve([this] { mMachine.AdvanceUs(20); });
  EXPECT_EQ(dorn::Passes().longestUs, 0u);
}

}  // namespace
