// Compares the timers of the application, whatever finds them quickly, with a plain sorted list
// that is searched from the front.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <list>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dorn/loop/KZApplication.h"
#include "dorn/loop/RestartTimer.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestApplication.h"

namespace {

timeval At(uint64_t ms) {
  timeval time{};
  time.tv_sec = static_cast<time_t>(ms / 1000);
  time.tv_usec = static_cast<suseconds_t>(ms % 1000) * 1000;
  return time;
}

struct PlainTimer {
  uint64_t mTime;
  unsigned int mId;
  std::string mName;
  unsigned int mInterval;

  bool operator==(const PlainTimer& other) const {
    return mTime == other.mTime && mId == other.mId && mName == other.mName &&
           mInterval == other.mInterval;
  }
};

std::ostream& operator<<(std::ostream& out, const PlainTimer& timer) {
  return out << timer.mId << "@" << timer.mTime << "/" << timer.mInterval << timer.mName;
}

PlainTimer Plain(const KZTimerData& timer) {
  return {timer.mTime, timer.mId, static_cast<const char*>(timer.mName), timer.mInterval};
}

// Timers as one would write them down in a few lines.
class PlainTimers {
 public:
  void Insert(const PlainTimer& timer) {
    auto at = mTimers.begin();
    while (at != mTimers.end() && at->mTime < timer.mTime) ++at;
    mTimers.insert(at, timer);
  }

  void Cancel(unsigned int id) {
    mTimers.remove_if([id](const PlainTimer& timer) { return timer.mId == id; });
  }

  uint64_t Fire(uint64_t now, std::vector<PlainTimer>* fired) {
    while (!mTimers.empty()) {
      PlainTimer timer = mTimers.front();
      if (now < timer.mTime) return timer.mTime - now;
      fired->push_back(timer);
      mTimers.pop_front();
      if (timer.mInterval == 0) continue;
      const auto periods = static_cast<uint32_t>((now - timer.mTime) / timer.mInterval + 1);
      const uint32_t step = timer.mInterval * periods;
      timer.mTime += step != 0 ? step : timer.mInterval;
      Insert(timer);
    }
    return 0;
  }

  std::list<PlainTimer> mTimers;
};

// The application and the plain timers, given the same operations.
class KZTimerListTest : public ::testing::TestWithParam<unsigned int> {
 protected:
  void Register(unsigned long interval, unsigned int id, const std::string& name, bool periodic) {
    mApp.SetTimerData(interval, id, name.c_str(), periodic ? 1 : 0);
    mPlain.Insert(
        {mClock.NowMs() + interval, id, name, periodic ? static_cast<unsigned int>(interval) : 0});
  }

  void Cancel(unsigned int id) {
    mApp.SetTimerData(0, id, "", 0);
    mPlain.Cancel(id);
  }

  void Restart(unsigned long interval, unsigned int id) {
    dorn::RestartSingleTimer(mApp, interval, id);
    mPlain.Cancel(id);
    if (interval != 0) mPlain.Insert({mClock.NowMs() + interval, id, "", 0});
  }

  void Fire() {
    std::vector<PlainTimer> expected;
    const uint64_t wait = mPlain.Fire(mClock.NowMs(), &expected);
    EXPECT_EQ(mApp.BaseTimer(At(mClock.NowMs())), wait);
    const auto fired = std::exchange(mApp.mFired, {});
    ASSERT_EQ(fired.size(), expected.size());
    for (size_t i = 0; i < fired.size(); ++i) {
      EXPECT_EQ(fired[i].mId, expected[i].mId);
      EXPECT_EQ(fired[i].mName, expected[i].mName);
    }
  }

  void Reset() {
    mApp.ResetTimer();
    mPlain.mTimers.clear();
  }

  // What hosts may do, as the list is theirs to see.
  void ClearByHand() {
    mApp.mTimerList.clear();
    mPlain.mTimers.clear();
  }
  void EraseByHand(size_t position) {
    mApp.mTimerList.erase(std::next(mApp.mTimerList.begin(), static_cast<long>(position)));
    mPlain.mTimers.erase(std::next(mPlain.mTimers.begin(), static_cast<long>(position)));
  }
  // At its place by due time, before or after its equals.
  void InsertByHand(const PlainTimer& timer, bool before) {
    KZTimerData data;
    data.mTime = timer.mTime;
    data.mId = timer.mId;
    data.mName = timer.mName.c_str();
    data.mInterval = timer.mInterval;
    auto at = mApp.mTimerList.begin();
    auto plainAt = mPlain.mTimers.begin();
    while (plainAt != mPlain.mTimers.end() &&
           (plainAt->mTime < timer.mTime || (!before && plainAt->mTime == timer.mTime))) {
      ++at;
      ++plainAt;
    }
    mApp.mTimerList.insert(at, data);
    mPlain.mTimers.insert(plainAt, timer);
  }

  void Compare() {
    std::list<PlainTimer> timers;
    for (const KZTimerData& timer : mApp.mTimerList) timers.push_back(Plain(timer));
    ASSERT_EQ(timers, mPlain.mTimers);
  }

  unsigned int Random(unsigned int limit) { return mRandom() % limit; }

  // Few ids, few names and few distinct intervals, so that ties and shared ids are common.
  void RegisterSomething() {
    static const unsigned long kIntervals[] = {1, 5, 5, 10, 20, 20, 40, 100};
    static const char* const kNames[] = {"", "", "panel", "notes"};
    Register(kIntervals[Random(8)], Random(12), kNames[Random(4)], Random(3) == 0);
  }

  void DoSomething() {
    switch (Random(11)) {
      case 0:
      case 1:
      case 2:
      case 3:
        return RegisterSomething();
      case 8:
      case 9:
      case 10:
        return Restart(Random(6) * 20, Random(12));
      case 4:
        return Cancel(Random(12));
      case 5:
        mClock.AdvanceMs(Random(8));
        return Fire();
      case 6:
        mClock.AdvanceMs(Random(30));
        return Fire();
      default:
        return DoSomethingRare();
    }
  }

  void DoSomethingRare() {
    switch (Random(40)) {
      case 0:
        return ClearByHand();
      case 1:
        return Reset();
      case 2:
        mClock.AdvanceMs(-static_cast<int64_t>(Random(100)));
        return;
      case 3:
        mClock.AdvanceMs(1000 * Random(5));
        return;
      default:
        return RegisterSomething();
    }
  }

  std::mt19937 mRandom{GetParam()};
  FakeClock mClock{1700000000};
  TestApplication mApp;
  PlainTimers mPlain;
};

INSTANTIATE_TEST_SUITE_P(Seeds, KZTimerListTest, ::testing::Values(1, 2, 3, 4));

TEST_P(KZTimerListTest, EqualsAPlainSortedListAfterEveryOperation) {
  for (int i = 0; i < 4000; ++i) {
    ASSERT_NO_FATAL_FAILURE(DoSomething()) << i;
    ASSERT_NO_FATAL_FAILURE(Compare()) << i;
  }
}

// As those of connections, which are restarted all the time.
TEST_P(KZTimerListTest, EqualsAPlainSortedListWhenMostTimersAreOnlyRestarted) {
  for (int i = 0; i < 4000; ++i) {
    Restart(1 + Random(5) * 10, Random(20));
    if (Random(3) == 0) mClock.AdvanceMs(static_cast<int64_t>(Random(8)) - 2);
    if (Random(20) == 0) Fire();
    if (Random(50) == 0) RegisterSomething();
    if (Random(200) == 0) ClearByHand();
    ASSERT_NO_FATAL_FAILURE(Compare()) << i;
  }
}

TEST_P(KZTimerListTest, ARestartedTimerIsMovedNotMadeAnew) {
  Register(10, 1, "", false);
  Register(20, 2, "", false);
  const KZTimerData* const first = &mApp.mTimerList.front();
  // A new one may lie in the same place, but has no such room.
  constexpr std::size_t kRoom = 1000;
  mApp.mTimerList.front().mName.reserve(kRoom);
  Restart(30, 1);
  EXPECT_EQ(&mApp.mTimerList.back(), first);
  EXPECT_GE(mApp.mTimerList.back().mName.capacity(), kRoom);
  Restart(20, 1);  // Ahead of the other, being registered later.
  EXPECT_EQ(&mApp.mTimerList.front(), first);
  ASSERT_NO_FATAL_FAILURE(Compare());
}

TEST_P(KZTimerListTest, EqualsAPlainSortedListWithThousandsOfTimers) {
  for (int i = 0; i < 3000; ++i) {
    Register(1 + Random(500), Random(2000), "", Random(2) == 0);
  }
  ASSERT_NO_FATAL_FAILURE(Compare());
  for (int i = 0; i < 1000; ++i) {
    const unsigned int id = Random(2000);
    Cancel(id);
    Register(1 + Random(500), id, "", Random(2) == 0);
    if (i % 50 != 0) continue;
    mClock.AdvanceMs(Random(20));
    ASSERT_NO_FATAL_FAILURE(Fire()) << i;
    ASSERT_NO_FATAL_FAILURE(Compare()) << i;
  }
}

TEST_P(KZTimerListTest, StaysRightWhenTheHostChangesTheListItself) {
  for (int i = 0; i < 3000; ++i) {
    const unsigned int choice = Random(6);
    if (choice == 0 && !mPlain.mTimers.empty()) {
      EraseByHand(Random(static_cast<unsigned int>(mPlain.mTimers.size())));
    } else if (choice == 1) {
      InsertByHand({mClock.NowMs() + Random(50), Random(12), "by hand", Random(2) * 20},
                   Random(2) == 0);
    }
    ASSERT_NO_FATAL_FAILURE(DoSomething()) << i;
    ASSERT_NO_FATAL_FAILURE(Compare()) << i;
  }
}

TEST_P(KZTimerListTest, StaysRightWhenTheHostReplacesTimersOneByOne) {
  for (int i = 0; i < 300; ++i) RegisterSomething();
  for (int i = 0; i < 500; ++i) {
    if (!mPlain.mTimers.empty()) {
      EraseByHand(Random(static_cast<unsigned int>(mPlain.mTimers.size())));
      InsertByHand({mClock.NowMs() + Random(50), Random(12), "by hand", 0}, true);
    }
    RegisterSomething();
    Cancel(Random(12));
    mClock.AdvanceMs(Random(3));
    ASSERT_NO_FATAL_FAILURE(Fire()) << i;
    ASSERT_NO_FATAL_FAILURE(Compare()) << i;
  }
}

TEST_P(KZTimerListTest, StaysRightWhenTheHostTakesTheTimersAwayAndPutsThemBack) {
  for (int i = 0; i < 50; ++i) RegisterSomething();
  KZTimerList taken;
  taken.swap(mApp.mTimerList);
  PlainTimers plainTaken;
  plainTaken.mTimers.swap(mPlain.mTimers);
  for (int i = 0; i < 50; ++i) ASSERT_NO_FATAL_FAILURE(DoSomething()) << i;
  ASSERT_NO_FATAL_FAILURE(Compare());
  taken.swap(mApp.mTimerList);
  plainTaken.mTimers.swap(mPlain.mTimers);
  for (int i = 0; i < 50; ++i) ASSERT_NO_FATAL_FAILURE(DoSomething()) << i;
  ASSERT_NO_FATAL_FAILURE(Compare());
}

TEST_P(KZTimerListTest, StaysRightWhenTheHostShiftsAllDueTimes) {
  for (int round = 0; round < 20; ++round) {
    for (int i = 0; i < 30; ++i) RegisterSomething();
    const int64_t shift = static_cast<int64_t>(Random(200)) - 100;
    for (KZTimerData& timer : mApp.mTimerList) timer.mTime += static_cast<uint64_t>(shift);
    for (PlainTimer& timer : mPlain.mTimers) timer.mTime += static_cast<uint64_t>(shift);
    for (int i = 0; i < 30; ++i) ASSERT_NO_FATAL_FAILURE(DoSomething()) << round;
    ASSERT_NO_FATAL_FAILURE(Compare()) << round;
  }
}

TEST_P(KZTimerListTest, ATimerThatTheHostRenumberedIsNotTakenForItsOldId) {
  Register(10, 1, "", false);
  Register(20, 2, "", false);
  mApp.mTimerList.front().mId = 3;
  mPlain.mTimers.front().mId = 3;
  EXPECT_FALSE(mApp.HasTimer(1));
  mApp.mTimerList.front().mId = 4;
  mPlain.mTimers.front().mId = 4;
  Cancel(3);
  ASSERT_NO_FATAL_FAILURE(Compare());
  Cancel(4);
  ASSERT_NO_FATAL_FAILURE(Compare());
  EXPECT_TRUE(mApp.HasTimer(2));
}

TEST_P(KZTimerListTest, StaysRightAfterAClockStepOfYears) {
  for (int i = 0; i < 100; ++i) RegisterSomething();
  for (const int64_t days : {60, -30, 365 * 20, 1}) {
    mClock.AdvanceMs(days * 86400000);
    ASSERT_NO_FATAL_FAILURE(Fire()) << days;
    ASSERT_NO_FATAL_FAILURE(Compare()) << days;
    for (int i = 0; i < 20; ++i) RegisterSomething();
  }
}

}  // namespace
