// The settled records of a loop as the loop asks for them: what select is given in their place, and
// when they are asked for anew. Without a loop.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/select.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "dorn/loop/KZFdData.h"
#include "dorn/loop/SettledRecords.h"
#include "tests/loop/SystemCallSpy.h"
#include "tests/support/NoStandardInput.h"
#include "tests/support/TestPipe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// As a connection is when nothing happens on it.
class QuietRecord : public KZFdData {
 public:
  explicit QuietRecord(int fd) : KZFdData(kTypeClient, fd, 1, nullptr) {
    dorn::LetRecordSettle(*this);
    SetFDStatus(kStatusActive);
    EXPECT_TRUE(CreateBuffer(64));
  }
  void Put() {
    char byte = 'x';
    EXPECT_TRUE(SetDataToBuffer(&byte, 1));
  }
};

std::vector<int> DescriptorsIn(const fd_set& set) {
  std::vector<int> fds;
  for (int fd = 0; fd < FD_SETSIZE; ++fd) {
    if (FD_ISSET(fd, &set)) fds.push_back(fd);
  }
  return fds;
}

class SettledMembersTest : public ::testing::Test {
 protected:
  // Settles records on pipes; more than four of them become members.
  void Make(int count) {
    for (int i = 0; i < count; ++i) {
      mPipes.push_back(std::make_unique<TestPipe>());
      Settle(mPipes.back()->ReadEnd());
    }
  }
  void Settle(int fd) {
    mRecords.push_back(std::make_unique<QuietRecord>(fd));
    ASSERT_TRUE(mSettled.Settle(mRecords.back().get()));
  }
  QuietRecord& At(int i) { return *mRecords[static_cast<std::size_t>(i)]; }
  const TestPipe& PipeAt(int i) const { return *mPipes[static_cast<std::size_t>(i)]; }

  // What select is given.
  std::vector<int> Watched() {
    fd_set reads;
    FD_ZERO(&reads);
    mSettled.AddWithMembers(&reads);
    return DescriptorsIn(reads);
  }
  // What the loop takes select's answer for.
  std::vector<int> Taken(const std::vector<int>& answer) {
    fd_set reads;
    FD_ZERO(&reads);
    for (const int fd : answer) FD_SET(fd, &reads);
    mSettled.TakeMembers(&reads);
    return DescriptorsIn(reads);
  }
  std::vector<KZFdData*> Touched() {
    std::vector<KZFdData*> touched;
    mSettled.TakeTouched(touched);
    return touched;
  }
  std::vector<KZFdData*> Ready(int fd) {
    fd_set reads;
    fd_set writes;
    FD_ZERO(&reads);
    FD_ZERO(&writes);
    FD_SET(fd, &reads);
    std::vector<KZFdData*> ready;
    mSettled.TakeReady(reads, writes, ready);
    return ready;
  }

  std::vector<std::unique_ptr<TestPipe>> mPipes;
  std::vector<std::unique_ptr<QuietRecord>> mRecords;
  StillClockSpy mMachine;
  dorn::SettledRecords mSettled;
};

// --- Settling ---

TEST_F(SettledMembersTest, OnlyAConnectedRecordWithoutAnythingToDoSettles) {
  QuietRecord record(900);
  const auto isSettled = [&] {
    const bool settles = mSettled.Settle(&record);
    EXPECT_EQ(dorn::SettledRecords::Has(record), settles);
    mSettled.Forget(&record);
    return settles;
  };
  EXPECT_TRUE(isSettled());
  record.SetFDStatus(KZFdData::kStatusOpen);
  EXPECT_FALSE(isSettled());
  record.SetFDStatus(KZFdData::kStatusActive);
  record.SetType(KZFdData::kTypeListener);
  EXPECT_FALSE(isSettled());
  record.SetType(KZFdData::kTypeClient);
  record.SetSelect(1);
  EXPECT_FALSE(isSettled());
  record.SetSelect(0);
  record.Put();
  EXPECT_FALSE(isSettled());
  record.ClearData();
  record.SetFD(FD_SETSIZE);
  EXPECT_FALSE(isSettled());
  record.SetFD(FD_SETSIZE - 1);
  EXPECT_TRUE(isSettled());
  record.SetFD(-1);
  record.SetFDStatus(KZFdData::kStatusActive);
  EXPECT_FALSE(isSettled());
}

// Whoever has the lock changes it perhaps, and is not waited for.
TEST_F(SettledMembersTest, ARecordWhoseLockSomebodyHasDoesNotSettle) {
  QuietRecord record(900);
  record.mSemData.Lock();
  EXPECT_FALSE(mSettled.Settle(&record));
  EXPECT_FALSE(dorn::SettledRecords::Has(record));
  record.mSemData.Unlock();
  EXPECT_TRUE(mSettled.Settle(&record));
  EXPECT_EQ(record.mSemData.TryLock(), 1);
  record.mSemData.Unlock();
  mSettled.Forget(&record);
}

TEST_F(SettledMembersTest, SettleOnceAndOnePerDescriptor) {
  QuietRecord record(900);
  QuietRecord same(900);
  EXPECT_TRUE(mSettled.Settle(&record));
  EXPECT_FALSE(mSettled.Settle(&record));
  EXPECT_FALSE(mSettled.Settle(&same));
  EXPECT_EQ(mSettled.Count(), 1u);
  mSettled.Forget(&record);
  EXPECT_EQ(mSettled.Count(), 0u);
  EXPECT_TRUE(mSettled.Settle(&same));
  EXPECT_EQ(mSettled.Count(), 1u);
  mSettled.Forget(&same);
}

TEST_F(SettledMembersTest, BeginEmptyWhateverTheirMemoryHeld) {
  alignas(dorn::SettledRecords) unsigned char memory[sizeof(dorn::SettledRecords)];
  std::memset(memory, 0xFF, sizeof memory);
  auto* const settled = new (memory) dorn::SettledRecords;
  fd_set reads;
  FD_ZERO(&reads);
  settled->AddTo(&reads);
  EXPECT_THAT(DescriptorsIn(reads), IsEmpty());
  mMachine.mUs = 5000;
  settled->NoteHooks();
  EXPECT_EQ(settled->RefreshIfDue(), 0u);
  EXPECT_EQ(settled->Count(), 0u);
  settled->~SettledRecords();
}

// --- What was touched ---

TEST_F(SettledMembersTest, ATouchedRecordIsTakenOnceAndSettlesAgain) {
  Make(3);
  At(2).SetFDStatus(KZFdData::kStatusActive);
  At(0).SetFDStatus(KZFdData::kStatusActive);
  At(2).SetSelect(0);
  EXPECT_TRUE(dorn::SettledRecords::Has(At(2)));
  EXPECT_FALSE(mSettled.Settle(&At(2)));
  EXPECT_THAT(Touched(), ElementsAre(&At(2), &At(0)));
  EXPECT_THAT(Touched(), IsEmpty());
  EXPECT_FALSE(dorn::SettledRecords::Has(At(2)));
  EXPECT_EQ(mSettled.Count(), 1u);
  EXPECT_TRUE(mSettled.Settle(&At(2)));
  EXPECT_EQ(mSettled.Count(), 2u);
}

TEST_F(SettledMembersTest, ATouchedRecordThatIsForgottenIsNotTaken) {
  Make(3);
  for (int i = 0; i < 3; ++i) At(i).SetFDStatus(KZFdData::kStatusActive);
  mSettled.Forget(&At(1));
  EXPECT_THAT(Touched(), ElementsAre(&At(0), &At(2)));
  EXPECT_EQ(mSettled.Count(), 0u);
}

TEST_F(SettledMembersTest, WhatIsReadyIsTakenBehindWhatWasTouched) {
  Make(3);
  At(2).SetFDStatus(KZFdData::kStatusActive);
  EXPECT_THAT(Ready(At(0).mFD), ElementsAre(&At(2), &At(0)));
  EXPECT_THAT(Ready(At(0).mFD), IsEmpty());
  EXPECT_EQ(mSettled.Count(), 1u);
}

TEST_F(SettledMembersTest, AllAreForgottenAtOnce) {
  Make(6);
  ASSERT_EQ(Watched().size(), 1u);
  At(1).SetFDStatus(KZFdData::kStatusActive);
  mSettled.ForgetAll();
  EXPECT_EQ(mSettled.Count(), 0u);
  EXPECT_THAT(Touched(), IsEmpty());
  EXPECT_THAT(Watched(), IsEmpty());
  for (int i = 0; i < 6; ++i) {
    EXPECT_FALSE(dorn::SettledRecords::Has(At(i))) << i;
    EXPECT_TRUE(mSettled.Settle(&At(i))) << i;
  }
  EXPECT_EQ(Watched().size(), 1u);
}

// --- What select is given ---

TEST_F(SettledMembersTest, FourAreWatchedByThemselvesAndOneMoreMakesMembersOfAll) {
  const EpollSpy spy;
  Make(4);
  EXPECT_THAT(Watched(), ElementsAre(At(0).mFD, At(1).mFD, At(2).mFD, At(3).mFD));
  EXPECT_EQ(spy.mSetsMade, 0);
  Make(1);
  const std::vector<int> watched = Watched();
  ASSERT_EQ(watched.size(), 1u);
  for (const auto& record : mRecords) EXPECT_NE(record->mFD, watched[0]);
  EXPECT_EQ(spy.mChanges, 5);
  EXPECT_EQ(Watched(), watched);
  EXPECT_EQ(spy.mChanges, 5);
}

// Numbers at the ends of the words in which a set has them.
TEST_F(SettledMembersTest, FourAreWatchedByThemselvesWhateverTheirNumbers) {
  const EpollSpy spy;
  for (const int fd : {0, 63, 64, 1023}) Settle(fd);
  EXPECT_THAT(Watched(), ElementsAre(0, 63, 64, 1023));
  EXPECT_EQ(spy.mSetsMade, 0);
  for (const int fd : {0, 63, 64, 1023}) EXPECT_EQ(Ready(fd).size(), 1u) << fd;
}

TEST_F(SettledMembersTest, WhatIsGivenAlreadyStays) {
  Make(5);
  fd_set reads;
  FD_ZERO(&reads);
  FD_SET(1000, &reads);
  mSettled.AddWithMembers(&reads);
  EXPECT_EQ(DescriptorsIn(reads).size(), 2u);
  EXPECT_TRUE(FD_ISSET(1000, &reads));
  FD_ZERO(&reads);
  FD_SET(1000, &reads);
  mSettled.AddTo(&reads);
  EXPECT_EQ(DescriptorsIn(reads).size(), 6u);
}

TEST_F(SettledMembersTest, WhatCannotBeAMemberIsTriedOnce) {
  const EpollSpy spy;
  std::vector<int> files;
  for (int i = 0; i < 5; ++i) files.push_back(open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
  for (const int file : files) Settle(file);
  EXPECT_EQ(Watched(), files);
  EXPECT_EQ(spy.mChanges, 5);
  EXPECT_EQ(Watched(), files);
  EXPECT_EQ(spy.mChanges, 5);
  for (const int file : files) close(file);
}

TEST_F(SettledMembersTest, WhatWasRefusedIsTriedAnewWhenAllAreForgotten) {
  std::vector<int> files;
  for (int i = 0; i < 5; ++i) files.push_back(open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
  for (const int file : files) Settle(file);
  EXPECT_EQ(Watched(), files);
  mSettled.ForgetAll();
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(mSettled.Settle(&At(i)));
  const EpollSpy spy;
  EXPECT_EQ(Watched(), files);
  EXPECT_EQ(spy.mChanges, 5);
  for (const int file : files) close(file);
}

// --- What select found ---

TEST_F(SettledMembersTest, TheOneDescriptorIsReplacedByTheMembersThatCanBeRead) {
  Make(6);
  const std::vector<int> watched = Watched();
  ASSERT_EQ(watched.size(), 1u);
  PipeAt(4).Write("x");
  PipeAt(1).Write("x");
  EXPECT_THAT(Taken({watched[0]}), ElementsAre(At(1).mFD, At(4).mFD));
}

TEST_F(SettledMembersTest, TheOneDescriptorIsReplacedAlsoWhenItsNumberIs0) {
  Make(6);
  const NoStandardInput closed;
  ASSERT_THAT(Watched(), ElementsAre(0));
  PipeAt(1).Write("x");
  EXPECT_THAT(Taken({0}), ElementsAre(At(1).mFD));
  EXPECT_THAT(Watched(), ElementsAre(0));
}

TEST_F(SettledMembersTest, WhatElseSelectFoundStays) {
  Make(6);
  const std::vector<int> watched = Watched();
  ASSERT_EQ(watched.size(), 1u);
  PipeAt(1).Write("x");
  EXPECT_THAT(Taken({watched[0], 1000}), ElementsAre(At(1).mFD, 1000));
  EXPECT_THAT(Taken({1000}), ElementsAre(1000));
}

TEST_F(SettledMembersTest, TheSetIsNotAskedWhenSelectDidNotFindIt) {
  Make(6);
  ASSERT_EQ(Watched().size(), 1u);
  PipeAt(1).Write("x");
  const EpollSpy spy;
  EXPECT_THAT(Taken({}), IsEmpty());
  EXPECT_THAT(spy.mWaitsMs, IsEmpty());
}

// Nobody takes what it has to read.
TEST_F(SettledMembersTest, AMemberThatIsReportedWhileItsRecordIsRestlessIsTakenOut) {
  Make(6);
  const std::vector<int> watched = Watched();
  ASSERT_EQ(watched.size(), 1u);
  At(1).SetFDStatus(KZFdData::kStatusGone);
  EXPECT_THAT(Touched(), ElementsAre(&At(1)));
  PipeAt(1).Write("x");
  const EpollSpy spy;
  EXPECT_THAT(Taken(watched), IsEmpty());
  EXPECT_EQ(spy.mChanges, 1);
  PipeAt(2).Write("x");
  EXPECT_THAT(Taken(watched), ElementsAre(At(2).mFD));
}

// --- Members that leave ---

TEST_F(SettledMembersTest, ADescriptorThatIsTakenFromItsRecordLeavesAtOnce) {
  Make(6);
  ASSERT_EQ(Watched().size(), 1u);
  const EpollSpy spy;
  At(1).SetFD(1000);
  EXPECT_EQ(spy.mChanges, 1);
  At(1).SetFD(1001);
  EXPECT_EQ(spy.mChanges, 1);
  mSettled.Forget(&At(2));
  EXPECT_EQ(spy.mChanges, 2);
  mSettled.Forget(&At(2));
  EXPECT_EQ(spy.mChanges, 2);
}

// Its own was closed behind it.
TEST_F(SettledMembersTest, TheMemberOfAnotherRecordLeavesWhenOneSettlesOnItsNumber) {
  Make(6);
  ASSERT_EQ(Watched().size(), 1u);
  At(1).SetFDStatus(KZFdData::kStatusGone);
  EXPECT_THAT(Touched(), ElementsAre(&At(1)));
  const EpollSpy spy;
  Settle(At(1).mFD);
  EXPECT_EQ(spy.mChanges, 1);
  EXPECT_EQ(Watched().size(), 2u);
  // And is not to be taken out once more when the other one goes.
  mSettled.Forget(&At(1));
  EXPECT_EQ(spy.mChanges, 1);
}

TEST_F(SettledMembersTest, AMemberThatSettlesAgainStaysOne) {
  Make(6);
  ASSERT_EQ(Watched().size(), 1u);
  const EpollSpy spy;
  At(1).SetFDStatus(KZFdData::kStatusActive);
  EXPECT_THAT(Touched(), ElementsAre(&At(1)));
  EXPECT_TRUE(mSettled.Settle(&At(1)));
  EXPECT_EQ(Watched().size(), 1u);
  EXPECT_EQ(spy.mChanges, 0);
}

// --- Asking anew ---

TEST_F(SettledMembersTest, MembersAreAskedForAnewWhenHooksHaveRunAndTenTimesASecondAtMost) {
  for (const long long startUs : {1234000000, 1234950000}) {
    mMachine.mUs = startUs;
    dorn::SettledRecords settled;
    std::vector<std::unique_ptr<TestPipe>> pipes;
    std::vector<std::unique_ptr<QuietRecord>> records;
    for (int i = 0; i < 5; ++i) {
      pipes.push_back(std::make_unique<TestPipe>());
      records.push_back(std::make_unique<QuietRecord>(pipes.back()->ReadEnd()));
      ASSERT_TRUE(settled.Settle(records.back().get()));
    }
    fd_set reads;
    FD_ZERO(&reads);
    settled.AddWithMembers(&reads);
    const EpollSpy spy;
    EXPECT_EQ(settled.RefreshIfDue(), 0u);  // No hook has run.
    EXPECT_EQ(spy.mChanges, 0);
    settled.NoteHooks();
    EXPECT_EQ(settled.RefreshIfDue(), 0u);
    EXPECT_EQ(spy.mChanges, 5);
    settled.NoteHooks();
    EXPECT_EQ(settled.RefreshIfDue(), 100u);
    mMachine.AdvanceUs(30000);
    EXPECT_EQ(settled.RefreshIfDue(), 70u);
    mMachine.AdvanceUs(69000);
    EXPECT_EQ(settled.RefreshIfDue(), 1u);
    EXPECT_EQ(spy.mChanges, 5);
    mMachine.AdvanceUs(1000);
    EXPECT_EQ(settled.RefreshIfDue(), 0u);
    EXPECT_EQ(spy.mChanges, 10);
    mMachine.AdvanceUs(1000000);
    EXPECT_EQ(settled.RefreshIfDue(), 0u);
    EXPECT_EQ(spy.mChanges, 10);
    settled.ForgetAll();
  }
}

TEST_F(SettledMembersTest, WithoutMembersNothingIsAskedFor) {
  mMachine.mUs = 5000;
  Make(4);
  EXPECT_EQ(Watched().size(), 4u);
  mSettled.NoteHooks();
  EXPECT_EQ(mSettled.RefreshIfDue(), 0u);
}

TEST_F(SettledMembersTest, MembersAreAskedForAnewAlsoOverDescriptor0) {
  mMachine.mUs = 5000;
  Make(5);
  const NoStandardInput closed;
  ASSERT_THAT(Watched(), ElementsAre(0));
  mSettled.NoteHooks();
  EXPECT_EQ(mSettled.RefreshIfDue(), 95u);
}

// It may be another file by then.
TEST_F(SettledMembersTest, WhatWasRefusedIsTriedAgain) {
  mMachine.mUs = 5000;
  Make(4);
  const int file = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
  Settle(file);
  EXPECT_EQ(Watched().size(), 2u);
  for (int i = 0; i < 4; ++i) mSettled.Forget(&At(i));
  EXPECT_THAT(Watched(), ElementsAre(file));
  mSettled.NoteHooks();
  EXPECT_EQ(mSettled.RefreshIfDue(), 95u);
  mMachine.AdvanceUs(95000);
  EXPECT_EQ(mSettled.RefreshIfDue(), 0u);
  const TestPipe pipe;
  ASSERT_EQ(dup2(pipe.ReadEnd(), file), file);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(mSettled.Settle(&At(i))) << i;
  EXPECT_EQ(Watched().size(), 1u);
  close(file);
}

}  // namespace
