// What the loop knows of idle connections without looking at them.
#include "dorn/loop/SettledRecords.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "dorn/loop/KZApplication.h"
#include "dorn/loop/KZFdDataList.h"
#include "tests/support/CapturedStdout.h"
#include "tests/support/TestApplication.h"

namespace {

constexpr int kFirstFd = 300;  // Numbers only: nothing is read from them.
constexpr int kFds = 6;
constexpr int kFirstId = 100;

class Settling : public KZFdData {
 public:
  Settling(int fd, int id, KZFdDataList* list) : KZFdData(kTypeClient, fd, id, list) {
    dorn::LetRecordSettle(*this);
    SetFDStatus(kStatusActive);
    EXPECT_TRUE(CreateBuffer(64));
  }
};

class Served : public Settling {
 public:
  using Settling::Settling;
  int OnReceive() override {
    ++mServed;
    ClearData();
    return 0;
  }

  int mServed = 0;
};

int PipeOf(const KZFdDataList& list) { return list.front()->mFD; }

void Fill(KZFdData& record) {
  char byte = 'x';
  record.SetDataToBuffer(&byte, 1);
}

// What one pass of the loop gets to know.
struct Pass {
  explicit Pass(KZFdDataList& list) { mResult = list.FdSet(&mReads, &mWrites); }
  bool Reads(int fd) const { return FD_ISSET(fd, &mReads); }
  bool Writes(int fd) const { return FD_ISSET(fd, &mWrites); }

  fd_set mReads;
  fd_set mWrites;
  int mResult;
};

FdDataList Ready(KZFdDataList& list, const std::vector<int>& fds) {
  fd_set reads;
  fd_set writes;
  FD_ZERO(&reads);
  FD_ZERO(&writes);
  for (const int fd : fds) FD_SET(fd, &reads);
  FdDataList ready;
  list.FdIsSet(&reads, &writes, &ready);
  return ready;
}

void Apply(KZFdDataList& list) { Ready(list, {PipeOf(list)}); }

class SettledRecordsTest : public testing::Test {
 protected:
  SettledRecordsTest() {
    for (int i = 0; i < kFds; ++i) {
      mRecords.push_back(std::make_unique<Settling>(kFirstFd + i, kFirstId + i, &mList));
      mRecords.back()->AddEvent();
    }
    Apply(mList);
    Pass settling(mList);
  }

  TestList mList;
  std::vector<std::unique_ptr<Settling>> mRecords;
};

TEST_F(SettledRecordsTest, StayWatchedWithoutBeingLookedAt) {
  mRecords[2]->mFD = -1;  // Not by the operation: nobody notices.
  const Pass pass(mList);
  EXPECT_EQ(pass.mResult, kFds + 1);
  for (int i = 0; i < kFds; ++i) {
    EXPECT_TRUE(pass.Reads(kFirstFd + i)) << i;
    EXPECT_FALSE(pass.Writes(kFirstFd + i)) << i;
  }
  EXPECT_TRUE(pass.Reads(PipeOf(mList)));
}

TEST_F(SettledRecordsTest, OfAClassThatMayNotSettleAreLookedAt) {
  KZFdData other(KZFdData::kTypeClient, kFirstFd + 50, 1, &mList);
  other.SetFDStatus(KZFdData::kStatusActive);
  other.AddEvent();
  Apply(mList);
  EXPECT_TRUE(Pass(mList).Reads(kFirstFd + 50));
  EXPECT_TRUE(Pass(mList).Reads(kFirstFd + 50));
  other.mFD = -1;
  EXPECT_FALSE(Pass(mList).Reads(kFirstFd + 50));
}

TEST_F(SettledRecordsTest, OnDescriptorsThatSelectHasNoPlaceForAreLookedAt) {
  for (const int fd : {-1, FD_SETSIZE, FD_SETSIZE + 64}) {
    Settling other(fd, 1, &mList);
    other.AddEvent();
    Apply(mList);
    Pass settling(mList);
    EXPECT_FALSE(dorn::SettledRecords::Has(other)) << fd;
  }
}

TEST_F(SettledRecordsTest, ANewDescriptorIsSeen) {
  mRecords[1]->SetFD(kFirstFd + 40);
  const Pass pass(mList);
  EXPECT_FALSE(pass.Reads(kFirstFd + 1));
  EXPECT_TRUE(pass.Reads(kFirstFd + 40));
  mRecords[1]->SetFD(-1);
  EXPECT_FALSE(Pass(mList).Reads(kFirstFd + 40));
}

TEST_F(SettledRecordsTest, ANewStatusAndANewTypeAreSeen) {
  mRecords[0]->SetFDStatus(KZFdData::kStatusRemove);
  mRecords[1]->SetFDStatus(KZFdData::kStatusOpen);
  mRecords[2]->SetType(KZFdData::kTypeListener);
  const Pass pass(mList);
  EXPECT_FALSE(pass.Reads(kFirstFd));
  EXPECT_FALSE(pass.Reads(kFirstFd + 1));
  EXPECT_TRUE(pass.Writes(kFirstFd + 1));
  EXPECT_TRUE(pass.Reads(kFirstFd + 2));
}

TEST_F(SettledRecordsTest, BytesInTheBufferAreSeenAtOnce) {
  Fill(*mRecords[4]);
  Fill(*mRecords[3]);
  // Between the two halves of a pass, as another thread may do it.
  EXPECT_EQ(Ready(mList, {}), (FdDataList{mRecords[3].get(), mRecords[4].get()}));
  EXPECT_EQ(mRecords[3]->IsSelect(), 0);
  EXPECT_EQ(Pass(mList).mResult, 0);
  mRecords[3]->ClearData();
  mRecords[4]->ClearData();
  EXPECT_EQ(Pass(mList).mResult, kFds + 1);
}

TEST_F(SettledRecordsTest, ReadyOnesComeInTheOrderOfTheList) {
  KZFdData other(KZFdData::kTypeClient, kFirstFd - 1, 1, &mList);
  other.SetFDStatus(KZFdData::kStatusActive);
  other.AddEvent();
  mRecords[1]->SetFD(kFirstFd + 40);
  Apply(mList);
  Pass settling(mList);
  EXPECT_EQ(Ready(mList, {kFirstFd - 1, kFirstFd, kFirstFd + 40, kFirstFd + 5}),
            (FdDataList{mRecords[0].get(), mRecords[1].get(), mRecords[5].get(), &other}));
  EXPECT_EQ(mRecords[1]->IsSelect(), 1);
  EXPECT_EQ(mRecords[2]->IsSelect(), 0);
  Pass next(mList);
  EXPECT_EQ(mRecords[1]->IsSelect(), 0);
}

// The list is as long as before then, and ends with the same one.
TEST_F(SettledRecordsTest, TheLastOneStaysWatchedWhenItIsAddedAgain) {
  mRecords.back()->AddEvent();
  Apply(mList);
  const Pass pass(mList);
  EXPECT_EQ(pass.mResult, kFds + 1);
  EXPECT_TRUE(pass.Reads(kFirstFd + kFds - 1));
  EXPECT_EQ(Ready(mList, {kFirstFd + kFds - 1}), FdDataList{mRecords.back().get()});
}

TEST_F(SettledRecordsTest, ADestroyedOneIsForgotten) {
  mRecords.erase(mRecords.begin() + 2);
  EXPECT_EQ(Ready(mList, {kFirstFd + 2, kFirstFd + 3}), FdDataList{mRecords[2].get()});
  EXPECT_FALSE(Pass(mList).Reads(kFirstFd + 2));
  mRecords[0]->SetFD(kFirstFd + 60);  // Touched, and destroyed before anybody looks.
  mRecords.erase(mRecords.begin());
  EXPECT_EQ(Pass(mList).mResult, kFds - 1);
}

TEST_F(SettledRecordsTest, AnUnlinkedOneMayBeTouchedAndDestroyed) {
  mRecords[2]->RemoveEvent();
  Apply(mList);
  mRecords[2]->SetFD(kFirstFd + 60);
  mRecords.erase(mRecords.begin() + 2);
  const Pass pass(mList);
  EXPECT_EQ(pass.mResult, kFds);
  EXPECT_FALSE(pass.Reads(kFirstFd + 2));
  EXPECT_FALSE(pass.Reads(kFirstFd + 60));
}

TEST_F(SettledRecordsTest, OneThatIsTakenOutByHandIsForgotten) {
  mList.remove(mRecords[2].get());
  const Pass pass(mList);
  EXPECT_EQ(pass.mResult, kFds);
  EXPECT_FALSE(pass.Reads(kFirstFd + 2));
  EXPECT_TRUE(pass.Reads(kFirstFd + 3));
  mList.push_back(mRecords[2].get());
  EXPECT_TRUE(Pass(mList).Reads(kFirstFd + 2));
}

TEST_F(SettledRecordsTest, OneThatIsPutByHandWhereOneWasDestroyedIsSeen) {
  mRecords.erase(mRecords.begin() + 2);
  KZFdData other(KZFdData::kTypeListener, kFirstFd + 50, 1, &mList);
  mList.insert(std::next(mList.begin()), &other);
  const Pass pass(mList);
  EXPECT_EQ(pass.mResult, kFds + 1);
  EXPECT_TRUE(pass.Reads(kFirstFd + 50));
  EXPECT_FALSE(pass.Reads(kFirstFd + 2));
  mList.remove(&other);
}

TEST_F(SettledRecordsTest, OneThatTakesAnothersPlaceByHandIsSeen) {
  mList.remove(mRecords[2].get());
  Pass without(mList);
  mList.remove(mRecords[3].get());
  mList.push_back(mRecords[2].get());
  const Pass pass(mList);
  EXPECT_TRUE(pass.Reads(kFirstFd + 2));
  EXPECT_FALSE(pass.Reads(kFirstFd + 3));
}

TEST_F(SettledRecordsTest, TwoOnOneDescriptorAreBothServed) {
  mRecords[1]->SetFD(kFirstFd);
  Pass first(mList);
  Pass second(mList);
  EXPECT_EQ(Ready(mList, {kFirstFd}), (FdDataList{mRecords[0].get(), mRecords[1].get()}));
}

TEST(SettledRecordsLifeTest, ARecordOutlivesItsList) {
  auto list = std::make_unique<TestList>();
  Settling record(kFirstFd, kFirstId, list.get());
  record.AddEvent();
  Apply(*list);
  Pass settling(*list);
  list.reset();
  record.SetFD(-1);
  EXPECT_EQ(record.GetFD(), -1);
}

TEST_F(SettledRecordsTest, OtherThreadsMayChangeThem) {
  std::atomic<bool> isOver{false};
  std::thread other([this, &isOver] {
    for (int i = 0; i < 2000; ++i) {
      Settling& record = *mRecords[static_cast<std::size_t>(i % kFds)];
      record.SetFDStatus(i % 3 == 0 ? KZFdData::kStatusGone : KZFdData::kStatusActive);
      Fill(record);
      record.SetFD(kFirstFd + i % kFds);
      record.ClearData();
      record.SetFDStatus(KZFdData::kStatusActive);
    }
    isOver = true;
  });
  while (!isOver) {
    Pass pass(mList);
    mList.FdIsSet(&pass.mReads, &pass.mWrites, std::make_unique<FdDataList>().get());
  }
  other.join();
  const Pass pass(mList);
  for (int i = 0; i < kFds; ++i) EXPECT_TRUE(pass.Reads(kFirstFd + i)) << i;
}

// A field that is written by hand is not seen, and closing the descriptor then makes every select
// fail: the loop must not fail with it.
TEST(SettledRecordsLoopTest, ADescriptorThatIsClosedBehindItsRecordStopsNobody) {
  const auto takeAway = {
      +[](KZFdData& record) { record.mFD = -1; },
      +[](KZFdData& record) { record.mStatus = KZFdData::kStatusGone; },
  };
  for (const auto take : takeAway) {
    KZApplication app;
    int ends[2];
    int others[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(pipe(others), 0);
    Settling taken(ends[0], kFirstId, app.GetFdDataList());
    Served other(others[0], kFirstId + 1, app.GetFdDataList());
    taken.AddEvent();
    other.AddEvent();
    app.SetApplicationTimerInterval(1, 1);
    CapturedStdout captured;
    for (int i = 0; i < 3; ++i) app.RunPass();
    take(taken);
    close(ends[0]);
    ASSERT_EQ(write(others[1], "x", 1), 1);
    for (int i = 0; i < 5; ++i) app.RunPass();
    EXPECT_EQ(other.mServed, 1);
    for (const int fd : {ends[1], others[0], others[1]}) close(fd);
  }
}

// A list whose records may settle, beside one whose records are looked at in every pass: whatever
// is done to both, they tell the loop the same.
class TwinLists {
 public:
  TwinLists() {
    for (int i = 0; i < kFds; ++i) Make(i);
  }

  void Do(std::mt19937& random) {
    const auto pick = [&random](int count) { return static_cast<int>(random() % count); };
    const int i = pick(kFds);
    const int number = pick(8);
    switch (pick(13)) {
      case 0:
        return Both(i,
                    [=](KZFdData& record) { record.SetFD(number == 7 ? -1 : kFirstFd + number); });
      case 1:
        return Both(i, [=](KZFdData& record) { record.SetFDStatus(number % 5); });
      case 2:
        return Both(i, [=](KZFdData& record) { record.SetFDStatus(KZFdData::kStatusActive); });
      case 3:
        return Both(i, [=](KZFdData& record) { record.SetType(number < 6 ? 3 : number - 6); });
      case 4:
        return Both(i, [=](KZFdData& record) { record.SetSelect(number % 2); });
      case 5:
        return Both(i, Fill);
      case 6:
        return Both(i, [](KZFdData& record) { record.ClearData(); });
      case 7:
        return Both(i, [](KZFdData& record) { record.CreateBuffer(64); });
      case 8:
        return Both(i, [](KZFdData& record) { record.AddEvent(); });
      case 9:
        return Both(i, [](KZFdData& record) { record.RemoveEvent(); });
      case 10:
        mOne.mRecords[static_cast<std::size_t>(i)].reset();
        mOther.mRecords[static_cast<std::size_t>(i)].reset();
        return Make(i);
      default:
        return Compare(random);
    }
  }

 private:
  struct Side {
    TestList mList;
    std::vector<std::unique_ptr<KZFdData>> mRecords{kFds};
  };

  void Make(int i) {
    for (Side* side : {&mOne, &mOther}) {
      auto record = std::make_unique<KZFdData>(KZFdData::kTypeClient, kFirstFd + i, kFirstId + i,
                                               &side->mList);
      if (side == &mOne) dorn::LetRecordSettle(*record);
      record->SetFDStatus(KZFdData::kStatusActive);
      EXPECT_TRUE(record->CreateBuffer(64));
      record->AddEvent();
      side->mRecords[static_cast<std::size_t>(i)] = std::move(record);
    }
  }

  template <class Change>
  void Both(int i, Change change) {
    for (Side* side : {&mOne, &mOther}) change(*side->mRecords[static_cast<std::size_t>(i)]);
  }

  void Compare(std::mt19937& random) {
    const unsigned seed = random();
    EXPECT_EQ(Told(mOne, seed), Told(mOther, seed));
  }

  // A pass, perhaps without its first half, with made-up answers of select.
  static std::string Told(Side& side, unsigned seed) {
    std::mt19937 random(seed);
    std::string told;
    if (random() % 4 != 0) {
      const Pass pass(side.mList);
      told += std::to_string(pass.mResult) + ':';
      for (int fd = kFirstFd; fd < kFirstFd + 8; ++fd) {
        told += pass.Reads(fd) ? 'r' : '-';
        told += pass.Writes(fd) ? 'w' : '-';
      }
      told += ' ' + Selects(side);
    }
    if (random() % 4 == 0) return told;
    fd_set reads;
    fd_set writes;
    FD_ZERO(&reads);
    FD_ZERO(&writes);
    for (int fd = kFirstFd; fd < kFirstFd + 8; ++fd) {
      if (random() % 3 == 0) FD_SET(fd, &reads);
      if (random() % 6 == 0) FD_SET(fd, &writes);
    }
    if (random() % 2 == 0) FD_SET(PipeOf(side.mList), &reads);
    FdDataList ready;
    side.mList.FdIsSet(&reads, &writes, &ready);
    for (const KZFdData* record : ready) told += ' ' + std::to_string(record->GetId());
    return told + ' ' + Selects(side);
  }

  static std::string Selects(const Side& side) {
    std::string selects;
    for (const auto& record : side.mRecords) selects += std::to_string(record->IsSelect());
    return selects;
  }

  Side mOne;
  Side mOther;
};

TEST(SettledRecordsRandomTest, TellTheLoopTheSameAsRecordsThatAreLookedAt) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    std::mt19937 random(seed);
    TwinLists lists;
    for (int i = 0; i < 400 && !testing::Test::HasFailure(); ++i) lists.Do(random);
    ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
  }
}

}  // namespace
