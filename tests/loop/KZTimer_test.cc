// Tests of the timers of KZApplication: registering, cancelling, firing.
#include "dorn/loop/KZTimer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <list>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "dorn/loop/KZApplication.h"
#include "dorn/loop/RestartTimer.h"
#include "tests/support/Deadline.h"
#include "tests/support/FakeClock.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/TestApplication.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int64_t kStart = 1700000000;  // Seconds since the epoch.
constexpr uint64_t kStartMs = 1700000000000;

timeval At(uint64_t ms, int microseconds = 0) {
  timeval time{};
  time.tv_sec = static_cast<time_t>(ms / 1000);
  time.tv_usec = static_cast<suseconds_t>(ms % 1000) * 1000 + microseconds;
  return time;
}

class KZTimerTest : public ::testing::Test {
 protected:
  // Fires what is due so many milliseconds after the start.
  uint64_t FireAt(uint64_t ms) { return mApp.BaseTimer(At(kStartMs + ms)); }

  std::vector<unsigned int> ListedIds() const {
    std::vector<unsigned int> ids;
    for (const KZTimerData& timer : mApp.mTimerList) ids.push_back(timer.mId);
    return ids;
  }
  // Due times in milliseconds after the start.
  std::vector<uint64_t> ListedTimes() const {
    std::vector<uint64_t> times;
    for (const KZTimerData& timer : mApp.mTimerList) times.push_back(timer.mTime - kStartMs);
    return times;
  }

  FakeClock mClock{kStart};
  TestApplication mApp;
};

TEST_F(KZTimerTest, TimerDataIsFourFieldsInTheirOrder) {
  const KZTimerData timer;
  EXPECT_TRUE(AreInOrder({MemberAddress(timer.mTime), MemberAddress(timer.mId),
                          MemberAddress(timer.mName), MemberAddress(timer.mInterval)}));
  static_assert(sizeof(KZTimerData::mTime) == 8 &&
                std::is_unsigned_v<decltype(KZTimerData::mTime)>);
  static_assert(std::is_same_v<decltype(KZTimerData::mId), unsigned int>);
  static_assert(std::is_same_v<decltype(KZTimerData::mName), KZString>);
  static_assert(std::is_same_v<decltype(KZTimerData::mInterval), unsigned int>);
  static_assert(std::is_base_of_v<std::list<KZTimerData>, KZTimerList>);
}

TEST_F(KZTimerTest, CopyingTimerDataCopiesAllFields) {
  KZTimerData timer;
  timer.mTime = 0x123456789ABCDEF0;
  timer.mId = 0xFFFFFFFF;
  timer.mName = "panel";
  timer.mInterval = 250;
  const KZTimerData copy(timer);
  KZTimerData assigned;
  assigned = timer;
  timer.mName = "other";
  for (const KZTimerData* const each : {&copy, &std::as_const(assigned)}) {
    EXPECT_EQ(each->mTime, 0x123456789ABCDEF0u);
    EXPECT_EQ(each->mId, 0xFFFFFFFFu);
    EXPECT_STREQ(each->mName, "panel");
    EXPECT_EQ(each->mInterval, 250u);
  }
}

TEST_F(KZTimerTest, TimerDataMayBeAssignedToItself) {
  mApp.SetTimerData(100, 7, "panel", 1);
  KZTimerData& timer = mApp.mTimerList.front();
  const KZTimerData& same = timer;
  timer = same;
  EXPECT_EQ(timer.mId, 7u);
  EXPECT_STREQ(timer.mName, "panel");
  EXPECT_TRUE(mApp.HasTimer(7));
}

// --- Registering ---

TEST_F(KZTimerTest, APeriodicTimerKeepsItsIntervalAndIsDueThen) {
  mApp.SetTimerData(100, 7, "panel", 1);
  ASSERT_EQ(mApp.mTimerList.size(), 1u);
  const KZTimerData& timer = mApp.mTimerList.front();
  EXPECT_EQ(timer.mTime, kStartMs + 100);
  EXPECT_EQ(timer.mId, 7u);
  EXPECT_STREQ(timer.mName, "panel");
  EXPECT_EQ(timer.mInterval, 100u);
}

TEST_F(KZTimerTest, ASingleShotTimerHasNoInterval) {
  mApp.SetTimerData(100, 7, "panel", 0);
  EXPECT_EQ(mApp.mTimerList.front().mInterval, 0u);
}

TEST_F(KZTimerTest, AnyNonZeroContinuationIsPeriodic) {
  mApp.SetTimerData(100, 7, "", -5);
  EXPECT_EQ(mApp.mTimerList.front().mInterval, 100u);
}

TEST_F(KZTimerTest, ApplicationTimersAreNamelessAndPeriodicOrSingle) {
  mApp.SetApplicationTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(200, 2);
  ASSERT_EQ(mApp.mTimerList.size(), 2u);
  EXPECT_STREQ(mApp.mTimerList.front().mName, "");
  EXPECT_EQ(mApp.mTimerList.front().mInterval, 100u);
  EXPECT_STREQ(mApp.mTimerList.back().mName, "");
  EXPECT_EQ(mApp.mTimerList.back().mInterval, 0u);
}

TEST_F(KZTimerTest, DueTimesDropTheMicrosecondsOfTheClock) {
  mClock.Set(kStart, 4999);
  mApp.SetApplicationSingleTimerInterval(100, 1);
  EXPECT_EQ(mApp.mTimerList.front().mTime, kStartMs + 4 + 100);
}

TEST_F(KZTimerTest, TimersAreKeptByDueTime) {
  mApp.SetApplicationSingleTimerInterval(300, 3);
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(400, 4);
  mApp.SetApplicationSingleTimerInterval(200, 2);
  EXPECT_THAT(ListedIds(), ElementsAre(1, 2, 3, 4));
}

TEST_F(KZTimerTest, ATimerGoesAheadOfThoseWithTheSameDueTime) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(100, 2);
  mApp.SetApplicationSingleTimerInterval(99, 3);
  mApp.SetApplicationSingleTimerInterval(100, 4);
  EXPECT_THAT(ListedIds(), ElementsAre(3, 4, 2, 1));
}

TEST_F(KZTimerTest, RegisteringTheSameIdAgainGivesTwoTimers) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(200, 1);
  FireAt(100);
  FireAt(200);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1, 1));
}

TEST_F(KZTimerTest, AnIntervalBeyond32BitsIsCutAsAPeriodButNotAsADueTime) {
  mApp.SetTimerData(0x100000005UL, 1, "", 1);
  EXPECT_EQ(mApp.mTimerList.front().mTime, kStartMs + 0x100000005);
  EXPECT_EQ(mApp.mTimerList.front().mInterval, 5u);
}

TEST_F(KZTimerTest, ANegativeIntervalIsDueInThePast) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetTimerData(static_cast<unsigned long>(-1), 2, "", 1);
  EXPECT_EQ(mApp.mTimerList.front().mTime, kStartMs - 1);
  EXPECT_EQ(mApp.mTimerList.front().mInterval, 0xFFFFFFFFu);
  FireAt(0);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(2));
}

// Each would take milliseconds if the others were looked at.
TEST_F(KZTimerTest, ThousandsOfTimersThatAreDueBeforeAllOthersAreRegisteredQuickly) {
  const HangGuard guard;
  for (unsigned int i = 20000; i > 0; --i) mApp.SetApplicationSingleTimerInterval(i, i);
  EXPECT_EQ(mApp.mTimerList.size(), 20000u);
  EXPECT_EQ(mApp.mTimerList.front().mId, 1u);
}

// --- Cancelling ---

TEST_F(KZTimerTest, AnIntervalOfZeroCancelsEveryTimerWithThatIdWhateverItsName) {
  mApp.SetTimerData(100, 7, "", 1);
  mApp.SetTimerData(200, 7, "panel", 1);
  mApp.SetTimerData(300, 8, "panel", 1);
  mApp.SetTimerData(400, 7, "other", 0);
  mApp.SetApplicationTimerInterval(0, 7);
  EXPECT_THAT(ListedIds(), ElementsAre(8));
}

TEST_F(KZTimerTest, EachFormCancelsWithAnIntervalOfZero) {
  mApp.SetTimerData(100, 1, "", 1);
  mApp.SetTimerData(100, 2, "", 1);
  mApp.SetTimerData(100, 3, "", 1);
  mApp.SetTimerData(0, 1, "any", 1);
  mApp.SetApplicationSingleTimerInterval(0, 2);
  EXPECT_THAT(ListedIds(), ElementsAre(3));
}

TEST_F(KZTimerTest, RestartingWithAnIntervalOfZeroOnlyCancels) {
  mApp.SetTimerData(100, 1, "panel", 1);
  mApp.SetTimerData(100, 2, "", 0);
  dorn::RestartSingleTimer(mApp, 0, 1);
  EXPECT_THAT(ListedIds(), ElementsAre(2));
  dorn::RestartSingleTimer(mApp, 1, 2);
  EXPECT_THAT(ListedTimes(), ElementsAre(1));
}

// The list is public, and what is written over a timer of it counts.
TEST_F(KZTimerTest, AListedTimerThatWasAssignedToIsCancelledByItsNewId) {
  mApp.SetTimerData(100, 1, "", 0);
  mApp.SetTimerData(200, 2, "", 0);
  KZTimerData other;
  other.mTime = kStartMs + 50;
  other.mId = 7;
  mApp.mTimerList.front() = other;
  mApp.SetApplicationTimerInterval(0, 1);
  EXPECT_THAT(ListedIds(), ElementsAre(7, 2));
  mApp.mTimerList.back() = other;
  mApp.SetApplicationTimerInterval(0, 7);
  EXPECT_THAT(ListedIds(), IsEmpty());
}

TEST_F(KZTimerTest, CancellingAnUnknownIdChangesNothing) {
  mApp.SetTimerData(100, 1, "", 1);
  mApp.SetApplicationTimerInterval(0, 2);
  EXPECT_THAT(ListedIds(), ElementsAre(1));
}

TEST_F(KZTimerTest, ResetDiscardsEveryTimer) {
  mApp.SetTimerData(100, 1, "", 1);
  mApp.SetTimerData(100, 2, "panel", 0);
  mApp.ResetTimer();
  EXPECT_THAT(ListedIds(), IsEmpty());
  EXPECT_EQ(FireAt(1000), 0u);
  EXPECT_THAT(mApp.TakeIds(), IsEmpty());
}

TEST_F(KZTimerTest, HasTimerTellsWhetherAnIdIsWaiting) {
  EXPECT_FALSE(mApp.HasTimer(7));
  mApp.SetTimerData(100, 7, "panel", 0);
  mApp.SetTimerData(200, 7, "", 0);
  EXPECT_TRUE(mApp.HasTimer(7));
  EXPECT_FALSE(mApp.HasTimer(8));
  FireAt(100);
  EXPECT_TRUE(mApp.HasTimer(7));
  FireAt(200);
  EXPECT_FALSE(mApp.HasTimer(7));
}

// --- Firing ---

TEST_F(KZTimerTest, ReturnsZeroWithoutATimer) { EXPECT_EQ(FireAt(0), 0u); }

TEST_F(KZTimerTest, ReturnsTheMillisecondsUntilTheNextTimer) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  EXPECT_EQ(FireAt(0), 100u);
  EXPECT_EQ(FireAt(99), 1u);
  EXPECT_THAT(mApp.TakeIds(), IsEmpty());
}

TEST_F(KZTimerTest, ReturnsMoreThan32BitsOfMilliseconds) {
  mApp.SetApplicationSingleTimerInterval(0x1000000000UL, 1);
  EXPECT_EQ(FireAt(0), 0x1000000000u);
}

TEST_F(KZTimerTest, CutsTheMicrosecondsOfNow) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  EXPECT_EQ(mApp.BaseTimer(At(kStartMs + 99, 999)), 1u);
  EXPECT_THAT(mApp.TakeIds(), IsEmpty());
}

TEST_F(KZTimerTest, FiresATimerAtItsDueTime) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(150, 2);
  EXPECT_EQ(FireAt(100), 50u);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1));
  EXPECT_THAT(ListedIds(), ElementsAre(2));
}

TEST_F(KZTimerTest, FiresInOrderOfDueTime) {
  mApp.SetApplicationSingleTimerInterval(300, 3);
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(200, 2);
  EXPECT_EQ(FireAt(1000), 0u);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1, 2, 3));
}

TEST_F(KZTimerTest, TimersWithTheSameDueTimeFireInReverseOrderOfRegistration) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(100, 2);
  FireAt(100);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(2, 1));
}

TEST_F(KZTimerTest, GivesTheTimeOfThePassNotTheDueTime) {
  mApp.SetTimerData(100, 1, "", 0);
  mApp.SetTimerData(200, 2, "panel", 0);
  mApp.BaseTimer(At(kStartMs + 350, 321));
  ASSERT_EQ(mApp.mFired.size(), 2u);
  for (const TestApplication::Fired& fired : mApp.mFired) {
    EXPECT_EQ(fired.mTime.tv_sec, kStart);
    EXPECT_EQ(fired.mTime.tv_usec, 350321);
  }
}

TEST_F(KZTimerTest, ATimerWithANameIsADialogTimer) {
  mApp.SetTimerData(100, 1, "", 0);
  mApp.SetTimerData(200, 2, "panel", 0);
  FireAt(200);
  ASSERT_EQ(mApp.mFired.size(), 2u);
  EXPECT_FALSE(mApp.mFired[0].mIsDialog);
  EXPECT_TRUE(mApp.mFired[1].mIsDialog);
  EXPECT_EQ(mApp.mFired[1].mName, "panel");
  EXPECT_EQ(mApp.mFired[1].mId, 2u);
}

TEST_F(KZTimerTest, ASingleShotTimerFiresOnce) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  FireAt(100);
  FireAt(10000);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1));
}

TEST_F(KZTimerTest, APeriodicTimerFiresAtEachPointOfItsGrid) {
  mApp.SetApplicationTimerInterval(100, 1);
  for (const uint64_t ms : {100, 200, 300}) {
    EXPECT_EQ(FireAt(ms - 1), 1u) << ms;
    EXPECT_THAT(mApp.TakeIds(), IsEmpty()) << ms;
    EXPECT_EQ(FireAt(ms), 100u) << ms;
    EXPECT_THAT(mApp.TakeIds(), ElementsAre(1)) << ms;
  }
}

TEST_F(KZTimerTest, ALatePeriodicTimerFiresOnceAndKeepsItsGrid) {
  mApp.SetApplicationTimerInterval(100, 1);
  EXPECT_EQ(FireAt(350), 50u);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1));
  EXPECT_THAT(ListedTimes(), ElementsAre(400));
}

TEST_F(KZTimerTest, ATimerServedExactlyOnALaterGridPointGoesToTheNextOne) {
  mApp.SetApplicationTimerInterval(100, 1);
  EXPECT_EQ(FireAt(300), 100u);
  EXPECT_THAT(ListedTimes(), ElementsAre(400));
}

TEST_F(KZTimerTest, ARescheduledTimerGoesAheadOfThoseWithTheSameDueTime) {
  mApp.SetApplicationTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(200, 2);
  FireAt(100);
  EXPECT_THAT(ListedIds(), ElementsAre(1, 2));
  FireAt(200);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1, 1, 2));
}

TEST_F(KZTimerTest, TwoPeriodicTimersWithOneGridSwapPlacesAtEachFiring) {
  mApp.SetApplicationTimerInterval(100, 1);
  mApp.SetApplicationTimerInterval(100, 2);
  FireAt(100);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(2, 1));
  FireAt(200);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1, 2));
}

TEST_F(KZTimerTest, ATimeBeforeTheEpochFiresEverythingAsAHugeUnsignedNumber) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  timeval before{};
  before.tv_sec = -1;
  EXPECT_EQ(mApp.BaseTimer(before), 0u);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1));
}

TEST_F(KZTimerTest, AClockSetBackPostponesTimers) {
  mApp.SetApplicationTimerInterval(100, 1);
  EXPECT_EQ(mApp.BaseTimer(At(kStartMs - 5000)), 5100u);
  EXPECT_THAT(mApp.TakeIds(), IsEmpty());
}

// --- Callbacks ---

TEST_F(KZTimerTest, CallbacksRunWithoutTheLock) {
  const HangGuard guard;
  int taken = 0;
  mApp.mOnTimer = [&](unsigned int) {
    taken = mApp.mTimerListLock.TryLock();
    if (taken == 1) mApp.mTimerListLock.Unlock();
  };
  mApp.SetApplicationSingleTimerInterval(100, 1);
  FireAt(100);
  EXPECT_EQ(taken, 1);
}

TEST_F(KZTimerTest, ATimerRegisteredByACallbackFiresInALaterCall) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.mOnTimer = [&](unsigned int id) {
    if (id == 1) mApp.SetApplicationSingleTimerInterval(1, 2);
  };
  FireAt(5000);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1));
  FireAt(5000);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(2));
}

TEST_F(KZTimerTest, TheResultDoesNotKnowWhatTheCallbacksRegistered) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.mOnTimer = [&](unsigned int) { mApp.SetApplicationSingleTimerInterval(50, 2); };
  EXPECT_EQ(FireAt(100), 0u);
}

TEST_F(KZTimerTest, ATimerThatIsDueStillFiresWhenAnEarlierCallbackCancelsIt) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(200, 2);
  mApp.mOnTimer = [&](unsigned int id) {
    if (id == 1) mApp.SetApplicationSingleTimerInterval(0, 2);
  };
  FireAt(200);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1, 2));
}

TEST_F(KZTimerTest, APeriodicTimerCanCancelItself) {
  mApp.SetApplicationTimerInterval(100, 1);
  mApp.mOnTimer = [&](unsigned int id) { mApp.SetApplicationTimerInterval(0, id); };
  FireAt(100);
  FireAt(1000);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1));
}

TEST_F(KZTimerTest, ACallbackMayDiscardAllTimers) {
  mApp.SetApplicationTimerInterval(100, 1);
  mApp.SetApplicationTimerInterval(150, 2);
  mApp.SetApplicationTimerInterval(900, 3);
  mApp.mOnTimer = [&](unsigned int) { mApp.ResetTimer(); };
  FireAt(200);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1, 2));
  EXPECT_THAT(ListedIds(), IsEmpty());
}

// --- Callbacks that throw ---

TEST_F(KZTimerTest, ACallbackThatThrowsLeavesTheOthersDue) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(200, 2);
  mApp.SetTimerData(200, 3, "dialog", 1);  // Ahead of 2, being registered later.
  mApp.SetApplicationTimerInterval(250, 4);
  mApp.mOnTimer = [](unsigned int id) {
    if (id == 1) throw std::runtime_error("from a hook");
  };
  EXPECT_THROW(FireAt(260), std::runtime_error);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1));
  EXPECT_THAT(ListedIds(), ElementsAre(3, 2, 4, 3, 4));
  EXPECT_EQ(FireAt(270), 130u);
  ASSERT_EQ(mApp.mFired.size(), 3u);
  EXPECT_TRUE(mApp.mFired[0].mIsDialog);
  EXPECT_EQ(mApp.mFired[0].mName, "dialog");
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(3, 2, 4));
  // The periodic ones are still periodic, and once.
  EXPECT_THAT(ListedIds(), ElementsAre(3, 4));
  EXPECT_THAT(ListedTimes(), ElementsAre(400, 500));
}

TEST_F(KZTimerTest, EachTimerMayThrowInItsTurn) {
  for (unsigned int id = 5; id >= 1; --id) mApp.SetApplicationSingleTimerInterval(100, id);
  mApp.mOnTimer = [](unsigned int) { throw std::runtime_error("from a hook"); };
  for (int i = 0; i < 5; ++i) EXPECT_THROW(FireAt(100 + i), std::runtime_error);
  EXPECT_EQ(FireAt(200), 0u);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(ListedIds(), IsEmpty());
}

TEST_F(KZTimerTest, OneThatIsStillDueCanBeCancelled) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationTimerInterval(150, 2);
  mApp.mOnTimer = [](unsigned int) { throw std::runtime_error("from a hook"); };
  EXPECT_THROW(FireAt(150), std::runtime_error);
  mApp.SetApplicationTimerInterval(0, 2);
  EXPECT_EQ(FireAt(1000), 0u);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1));
}

// --- Very late timers ---

TEST_F(KZTimerTest, TheStepOfAVeryLateTimerWrapsAt32Bits) {
  // First due at 7; 5,000,000,000 ms late: 714,285,715 periods are 5,000,000,005 ms, which leave
  // 705,032,709 of 32 bits. That is still due; the second step is 4,294,967,292.
  mApp.SetApplicationTimerInterval(7, 1);
  EXPECT_EQ(FireAt(5000000007), 1u);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1, 1));
  EXPECT_THAT(ListedTimes(), ElementsAre(5000000008));
}

TEST_F(KZTimerTest, AClockStepOfDecadesEndsForEveryPeriod) {
  const HangGuard guard;
  for (const unsigned long interval : {50, 100, 200, 250, 500, 1000, 2000, 3000, 1024, 65536}) {
    for (const int64_t bootSeconds : {int64_t{0}, int64_t{946684800}}) {
      mClock.Set(bootSeconds);
      mApp.ResetTimer();
      mApp.SetApplicationTimerInterval(interval, 1);
      const uint64_t now = 1735689600000;
      const uint64_t wait = mApp.BaseTimer(At(now));
      const size_t firings = mApp.TakeIds().size();
      EXPECT_GT(firings, 0u) << interval;
      EXPECT_LT(firings, 100000u) << interval;
      EXPECT_GT(mApp.mTimerList.front().mTime, now) << interval;
      EXPECT_LE(wait, interval) << interval;
      EXPECT_GT(wait, 0u) << interval;
    }
  }
}

TEST_F(KZTimerTest, AStepThatWrapsToZeroBecomesOnePeriod) {
  const HangGuard guard;
  // 65,536 periods of 65,536 ms are 2^32 ms: late by one period less, the step would be 0.
  mApp.SetApplicationTimerInterval(65536, 1);
  EXPECT_EQ(FireAt(uint64_t{65536} * 65536), 65536u);
  // One period on, 65,535 more are 2^32 - 65,536 ms.
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1, 1));
  EXPECT_THAT(ListedTimes(), ElementsAre(uint64_t{65536} * 65537));
}

TEST_F(KZTimerTest, StepsThatWrapToAMillisecondDoNotFireForEver) {
  const HangGuard guard;
  // Three periods are 2^33 + 1 ms: from two to three periods late the step is 1 ms.
  constexpr uint64_t kPeriod = 2863311531;
  mApp.SetApplicationTimerInterval(kPeriod, 1);
  EXPECT_EQ(FireAt(3 * kPeriod + 1000000000), kPeriod - 1000000000 + 99999);
  EXPECT_EQ(mApp.TakeIds().size(), 100000u);
  EXPECT_THAT(ListedTimes(), ElementsAre(4 * kPeriod + 99999));
}

}  // namespace
