// What finding timers by the index costs, and that it is never trusted more than the list.
#include "dorn/loop/TimerIndex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

#include "tests/loop/BufferAllocation.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A timer with its place in the list, the index and the table of ids. Building the index anew takes
// some for each timer.
constexpr long kFewAllocations = 10;

class TimerIndexTest : public ::testing::Test {
 protected:
  static KZTimerData Timer(std::uint64_t time, unsigned int id) {
    KZTimerData timer;
    timer.mTime = time;
    timer.mId = id;
    return timer;
  }
  // Timers 1, 2, 3 ... that are due at 10, 20, 30 ...
  void Fill(unsigned int count) {
    for (unsigned int id = 1; id <= count; ++id) mIndex.Insert(Timer(id * 10, id));
  }
  std::vector<unsigned int> Ids() const {
    std::vector<unsigned int> ids;
    for (const KZTimerData& timer : mList) ids.push_back(timer.mId);
    return ids;
  }
  KZTimerData& At(int place) { return *std::next(mList.begin(), place); }

  KZTimerList mList;
  dorn::TimerIndex mIndex{mList};
};

TEST_F(TimerIndexTest, ANewTimerFindsItsPlaceWithoutTheOthers) {
  Fill(50);
  for (const std::uint64_t time : {500, 505, 495, 250, 255, 10, 5}) {
    const BufferAllocation::CountNew news;
    mIndex.Insert(Timer(time, 1000));
    EXPECT_LT(news.Count(), kFewAllocations) << time;
    const auto first = std::find_if(mList.begin(), mList.end(), [time](const KZTimerData& timer) {
      return timer.mTime >= time;
    });
    EXPECT_EQ(first->mId, 1000u) << time;
  }
  EXPECT_TRUE(std::is_sorted(mList.begin(), mList.end(),
                             [](const auto& a, const auto& b) { return a.mTime < b.mTime; }));
}

// Wherever it was and wherever it goes; ahead of those of the same time.
TEST_F(TimerIndexTest, ATimerIsMovedInPlaceOfBeingMadeAnew) {
  for (unsigned int id = 1; id <= 5; ++id) {
    for (std::uint64_t time = 5; time <= 55; time += 5) {
      mIndex.Clear();
      Fill(5);
      const KZTimerData* const moved = &At(static_cast<int>(id) - 1);
      const BufferAllocation::CountNew news;
      mIndex.RestartSingle(time, id);
      EXPECT_EQ(news.Count(), 0) << id << " " << time;
      std::vector<unsigned int> expected;
      for (unsigned int other = 1; other <= 5; ++other) {
        if (other != id) expected.push_back(other);
      }
      const auto place = std::find_if(expected.begin(), expected.end(),
                                      [time](unsigned int other) { return other * 10 >= time; });
      const auto at = place - expected.begin();
      expected.insert(place, id);
      EXPECT_EQ(Ids(), expected) << id << " " << time;
      EXPECT_EQ(&At(static_cast<int>(at)), moved) << id << " " << time;
      EXPECT_EQ(moved->mTime, time);
    }
  }
}

TEST_F(TimerIndexTest, AMovedTimerIsFoundAtItsNewPlace) {
  Fill(5);
  mIndex.RestartSingle(45, 2);
  const BufferAllocation::CountNew news;
  mIndex.Insert(Timer(44, 7));
  mIndex.Insert(Timer(45, 8));
  EXPECT_LT(news.Count(), 2 * kFewAllocations);
  EXPECT_THAT(Ids(), ElementsAre(1, 3, 4, 7, 8, 2, 5));
  mIndex.EraseId(2);
  EXPECT_THAT(Ids(), ElementsAre(1, 3, 4, 7, 8, 5));
}

TEST_F(TimerIndexTest, WithoutSuchATimerOneIsMade) {
  Fill(2);
  mIndex.RestartSingle(15, 9);
  EXPECT_THAT(Ids(), ElementsAre(1, 9, 2));
  EXPECT_EQ(At(1).mTime, 15u);
  EXPECT_EQ(At(1).mInterval, 0u);
  EXPECT_TRUE(At(1).mName.empty());
}

TEST_F(TimerIndexTest, OneWithANameOrAPeriodAndSeveralOfOneIdAreReplacedByOneWithout) {
  for (const int which : {0, 1, 2}) {
    mIndex.Clear();
    KZTimerData timer = Timer(20, 1);
    if (which == 0) timer.mName = "panel";
    if (which == 1) timer.mInterval = 5;
    mIndex.Insert(timer);
    if (which == 2) mIndex.Insert(Timer(30, 1));
    mIndex.RestartSingle(40, 1);
    ASSERT_THAT(Ids(), ElementsAre(1)) << which;
    EXPECT_EQ(mList.front().mTime, 40u) << which;
    EXPECT_EQ(mList.front().mInterval, 0u) << which;
    EXPECT_TRUE(mList.front().mName.empty()) << which;
  }
}

TEST_F(TimerIndexTest, AllOfAnIdAreErasedWhereverTheyStandInItsChain) {
  for (int i = 0; i < 3; ++i) {
    mIndex.Insert(Timer(10, 1));
    mIndex.Insert(Timer(20, 2));
  }
  mList.erase(std::next(mList.begin()));  // Of id 1, neither first nor last.
  mIndex.EraseId(1);
  EXPECT_THAT(Ids(), ElementsAre(2, 2, 2));
  EXPECT_FALSE(mIndex.HasId(1));
  mList.pop_back();
  mList.pop_front();
  EXPECT_TRUE(mIndex.HasId(2));
  mList.pop_back();
  EXPECT_FALSE(mIndex.HasId(2));
}

// --- Lists that were changed by hand ---

TEST_F(TimerIndexTest, ATimerThatWasAddedByHandIsFound) {
  Fill(2);
  mList.push_back(Timer(30, 7));
  EXPECT_TRUE(mIndex.HasId(7));
  mIndex.EraseId(7);
  EXPECT_THAT(Ids(), ElementsAre(1, 2));
}

TEST_F(TimerIndexTest, ATimerThatWasRenumberedHidesNoOtherOfItsId) {
  mIndex.Insert(Timer(10, 1));
  mIndex.Insert(Timer(20, 1));
  for (const int place : {1, 0}) {
    At(place).mId = 3;
    EXPECT_EQ(mIndex.HasId(1), place == 1) << place;
    EXPECT_TRUE(mIndex.HasId(3)) << place;
  }
  mIndex.Insert(Timer(30, 3));
  mIndex.Insert(Timer(40, 3));
  At(3).mId = 4;
  mIndex.EraseId(3);
  EXPECT_THAT(Ids(), ElementsAre(4));
}

TEST_F(TimerIndexTest, ANewTimerGoesAheadOfOneThatIsDueThenByNow) {
  Fill(3);
  At(1).mTime = 25;
  mIndex.Insert(Timer(25, 7));
  EXPECT_THAT(Ids(), ElementsAre(1, 7, 2, 3));
  At(2).mTime = 27;
  mIndex.Insert(Timer(26, 8));
  EXPECT_THAT(Ids(), ElementsAre(1, 7, 8, 2, 3));
  At(4).mTime = 28;  // Earlier than the index knows.
  mIndex.Insert(Timer(29, 9));
  EXPECT_THAT(Ids(), ElementsAre(1, 7, 8, 2, 3, 9));
}

TEST_F(TimerIndexTest, AMovedTimerGoesAheadOfOneThatIsDueThenByNow) {
  Fill(4);
  At(1).mTime = 25;
  mIndex.RestartSingle(25, 4);
  EXPECT_THAT(Ids(), ElementsAre(1, 4, 2, 3));
  mIndex.Clear();
  Fill(4);
  At(2).mTime = 22;
  mIndex.RestartSingle(24, 1);
  EXPECT_THAT(Ids(), ElementsAre(2, 3, 1, 4));
}

// One look at the list is enough for the others.
TEST_F(TimerIndexTest, AfterAPlaceThatDoesNotFitTheIndexKnowsTheTimesOfAll) {
  Fill(50);
  for (KZTimerData& timer : mList) timer.mTime += 1000;
  mIndex.Insert(Timer(1255, 1000));
  EXPECT_EQ(At(25).mId, 1000u);
  const BufferAllocation::CountNew news;
  mIndex.RestartSingle(1345, 20);
  EXPECT_EQ(news.Count(), 0);
  EXPECT_EQ(At(34).mId, 20u);
}

TEST_F(TimerIndexTest, WhatWasTakenAwayIsUnknownOnceAllAreErased) {
  Fill(1);
  KZTimerList taken;
  taken.swap(mList);
  mIndex.Clear();
  mList.push_back(Timer(10, 5));
  EXPECT_TRUE(mIndex.HasId(5));
  EXPECT_FALSE(mIndex.HasId(1));
}

TEST_F(TimerIndexTest, ATimerOfAnotherListMayBeTakenOver) {
  KZTimerList otherList;
  dorn::TimerIndex other(otherList);
  other.Insert(Timer(10, 1));
  mList.splice(mList.end(), otherList);
  EXPECT_TRUE(mIndex.HasId(1));
  EXPECT_FALSE(other.HasId(1));
  mList.clear();
  mList.push_back(Timer(10, 5));
  EXPECT_TRUE(mIndex.HasId(5));
}

// --- What has fired ---

TEST_F(TimerIndexTest, WhatIsTakenIsNotFoundAnyMore) {
  Fill(3);
  KZTimerList fired;
  mIndex.MoveFirstTo(fired);
  mIndex.MoveFirstTo(fired);
  ASSERT_EQ(fired.size(), 2u);
  EXPECT_EQ(fired.front().mId, 1u);
  EXPECT_EQ(fired.back().mId, 2u);
  // As long as the list as before, but not the same.
  mList.push_back(Timer(40, 8));
  mList.push_back(Timer(50, 9));
  EXPECT_FALSE(mIndex.HasId(1));
  EXPECT_FALSE(mIndex.HasId(2));
  EXPECT_TRUE(mIndex.HasId(9));
}

TEST_F(TimerIndexTest, TakingTimersBuildsNothingAnew) {
  Fill(50);
  KZTimerList fired;
  const BufferAllocation::CountNew news;
  for (int i = 0; i < 10; ++i) mIndex.MoveFirstTo(fired);
  EXPECT_TRUE(mIndex.HasId(50));
  EXPECT_EQ(news.Count(), 0);
}

TEST_F(TimerIndexTest, WhatDidNotFireIsPutBackInItsOrderAndFiresOnce) {
  mIndex.Insert(Timer(20, 4));
  KZTimerList unfired = {Timer(10, 1), Timer(20, 2), Timer(20, 3)};
  unfired.back().mInterval = 7;
  mIndex.InsertDue(unfired);
  EXPECT_THAT(unfired, IsEmpty());
  EXPECT_THAT(Ids(), ElementsAre(1, 2, 3, 4));
  for (const KZTimerData& timer : mList) EXPECT_EQ(timer.mInterval, 0u) << timer.mId;
}

TEST_F(TimerIndexTest, ATimerOutlivesItsIndex) {
  KZTimerList list;
  {
    dorn::TimerIndex index(list);
    index.Insert(Timer(10, 1));
  }
  list.clear();
  EXPECT_THAT(list, IsEmpty());
}

}  // namespace
