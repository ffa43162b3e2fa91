#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "dorn/loop/KZFdData.h"
#include "tests/loop/SystemCallSpy.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Deadline.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kPipeId = 0x7FFFFFFF;
constexpr int kFirstUniqueId = 0x10000000;

// The bytes waiting in a wake-up pipe.
int PendingWakeUps(const TestList& list) {
  int count = -1;
  ioctl(list.PipeRecord()->GetFD(), FIONREAD, &count);
  return count;
}

// Takes all bytes out of a wake-up pipe behind the list's back.
std::string DrainPipe(const TestList& list) {
  std::string bytes(100000, '\0');
  const ssize_t got = read(list.PipeRecord()->GetFD(), bytes.data(), bytes.size());
  bytes.resize(got < 0 ? 0 : static_cast<size_t>(got));
  return bytes;
}

rlimit gLimitBefore;

// Until the process ends: what runs then (a sanitizer, say) may need descriptors.
void AllowDescriptorsBelow(rlim_t limit) {
  getrlimit(RLIMIT_NOFILE, &gLimitBefore);
  std::atexit([] { setrlimit(RLIMIT_NOFILE, &gLimitBefore); });
  const rlimit lowered{limit, gLimitBefore.rlim_max};
  setrlimit(RLIMIT_NOFILE, &lowered);
}

// --- Construction ---

TEST(KZFdDataListTest, StartsWithTheRecordOfItsPipeAlone) {
  TestList list;
  ASSERT_EQ(list.size(), 1u);
  KZFdData* const pipe = list.PipeRecord();
  EXPECT_EQ(pipe->GetType(), 1);
  EXPECT_EQ(pipe->GetId(), kPipeId);
  EXPECT_EQ(pipe->GetFDStatus(), 1);
  EXPECT_EQ(pipe->GetAutoDelete(), 1);
  EXPECT_EQ(list.mRequest, 0);
  EXPECT_EQ(list.mUniqueId, 268435456);
  EXPECT_TRUE(list.mAddRequest.empty());
}

TEST(KZFdDataListTest, WatchesItsPipeFromTheFirstPass) {
  TestList list;
  fd_set reads;
  fd_set writes;
  EXPECT_EQ(list.FdSet(&reads, &writes), 1);
  EXPECT_TRUE(FD_ISSET(list.PipeRecord()->GetFD(), &reads));
}

TEST(KZFdDataListTest, ConstructionIgnoresSigpipe) {
  std::signal(SIGPIPE, SIG_DFL);
  const TestList list;
  struct sigaction action {};
  sigaction(SIGPIPE, nullptr, &action);
  EXPECT_EQ(action.sa_handler, SIG_IGN);
}

TEST(KZFdDataListTest, BothEndsOfThePipeAreNonBlockingAndNotInherited) {
  const TestList list;
  for (const int fd : {list.mPipeFd, list.PipeRecord()->GetFD()}) {
    EXPECT_TRUE(fcntl(fd, F_GETFL) & O_NONBLOCK);
    EXPECT_TRUE(fcntl(fd, F_GETFD) & FD_CLOEXEC);
  }
}

TEST(KZFdDataListTest, ExitsWithAMessageWhenThePipeCannotBeCreated) {
  const ChildResult child = RunChild([] {
    AllowDescriptorsBelow(3);
    new KZFdDataList;
    return 0;
  });
  EXPECT_EQ(child.mExitCode, 1);
  EXPECT_EQ(child.mOutput, "エラー！通知用パイプがオープンできませんでした。");
}

// Whatever they do then: the text is out.
TEST(KZFdDataListTest, TheMessageIsOutBeforeTheExitHandlersOfTheHostRun) {
  const ChildResult child = RunChild([] {
    AllowDescriptorsBelow(3);
    std::atexit([] { _exit(4); });
    new KZFdDataList;
    return 0;
  });
  EXPECT_EQ(child.mExitCode, 4);
  EXPECT_EQ(child.mOutput, "エラー！通知用パイプがオープンできませんでした。");
}

TEST(KZFdDataListTest, ThePipeTakesNoStandardDescriptor) {
  const ChildResult child = RunChild([] {
    close(0);
    close(1);
    close(2);
    const auto* const list = new KZFdDataList;
    const bool above = list->mPipeFd > 2 && list->front()->GetFD() > 2;
    // The standard descriptors lead to something harmless.
    const bool open = fcntl(0, F_GETFD) != -1 && fcntl(1, F_GETFD) != -1 && fcntl(2, F_GETFD) != -1;
    return above && open && write(1, "x", 1) == 1 && write(2, "x", 1) == 1 ? 0 : 3;
  });
  EXPECT_EQ(child.mExitCode, 0);
}

TEST(KZFdDataListTest, ClosedStandardDescriptorsUnderATightLimitStillEndTheProcess) {
  const ChildResult child = RunChild([] {
    close(0);
    close(1);
    close(2);
    AllowDescriptorsBelow(1);
    new KZFdDataList;
    return 0;
  });
  EXPECT_EQ(child.mExitCode, 1);
}

TEST(KZFdDataListTest, DestructionLeavesRecordsAndPipeAlone) {
  const TestPipe pipe;
  TestRecord active(0, pipe.ReadEnd(), 1);
  TestRecord pending(0, pipe.ReadEnd() + 100, 2);
  active.SetAutoDelete(1);
  pending.SetAutoDelete(1);
  auto list = std::make_unique<KZFdDataList>();
  KZFdData* const pipeRecord = list->front();
  const int readEnd = pipeRecord->GetFD();
  const int writeEnd = list->mPipeFd;
  list->push_back(&active);
  list->Add(&pending);
  list.reset();
  // Both would be double frees had the list deleted them.
  EXPECT_EQ(active.GetFDStatus(), 1);
  EXPECT_EQ(pending.GetFDStatus(), 1);
  EXPECT_NE(fcntl(readEnd, F_GETFD), -1);
  EXPECT_NE(fcntl(writeEnd, F_GETFD), -1);
  close(readEnd);
  close(writeEnd);
  delete pipeRecord;
}

TEST(KZFdDataListTest, ARecordMayOutliveItsList) {
  auto list = std::make_unique<TestList>();
  TestRecord linked(0, 900, 1, list.get());
  TestRecord pending(0, 901, 2, list.get());
  linked.AddEvent();
  list->Pass();
  pending.AddEvent();
  list.reset();
  EXPECT_EQ(linked.GetFDStatus(), 1);
  EXPECT_EQ(pending.GetFDStatus(), 1);
}

TEST(KZFdDataListTest, MembersLieInTheirPublishedOrderAndTypes) {
  const TestList list;
  const KZFdDataList& base = list;
  EXPECT_TRUE(AreInOrder({MemberAddress(base), MemberAddress(list.mPipeFd),
                          MemberAddress(list.mRequest), MemberAddress(list.mUniqueId),
                          MemberAddress(list.mSemFdList), MemberAddress(list.mAddRequest)}));
  static_assert(std::is_same_v<decltype(KZFdDataList::mPipeFd), int>);
  static_assert(std::is_same_v<decltype(KZFdDataList::mRequest), volatile int>);
  static_assert(std::is_same_v<decltype(KZFdDataList::mUniqueId), int>);
  static_assert(std::is_same_v<decltype(KZFdDataList::mSemFdList), KZSemaphore>);
  static_assert(std::is_same_v<decltype(KZFdDataList::mAddRequest), FdDataList>);
  static_assert(std::is_base_of_v<FdDataList, KZFdDataList>);
  static_assert(std::has_virtual_destructor_v<KZFdDataList>);
}

// --- Waking up ---

TEST(KZFdDataListTest, WakeUpWritesOneExclamationMark) {
  TestList list;
  list.WakeUp();
  EXPECT_EQ(DrainPipe(list), "!");
}

TEST(KZFdDataListTest, AWakeUpThatIsLostIsWrittenOnceMore) {
  for (const std::vector<int>& errors : {std::vector<int>{EINTR}, {EINTR, EINTR}}) {
    TestList list;
    {
      const FailedWriteSpy spy(errors);
      list.WakeUp();
      EXPECT_EQ(spy.mCalls, 2u);
    }
    EXPECT_EQ(DrainPipe(list), errors.size() == 1 ? "!" : "");
  }
}

TEST(KZFdDataListTest, AWakeUpThatAFullPipeRefusesIsNotWrittenAgain) {
  TestList list;
  const FailedWriteSpy spy({EAGAIN});
  list.WakeUp();
  EXPECT_EQ(spy.mCalls, 1u);
}

TEST(KZFdDataListTest, SeventyThousandWakeUpsDoNotBlock) {
  const HangGuard guard;
  TestList list;
  for (int i = 0; i < 70000; ++i) list.WakeUp();
  EXPECT_GT(PendingWakeUps(list), 60000);
  // And a full pipe still wakes the loop.
  TestRecord record(0, 900, 1);
  list.Add(&record);
  list.Pass();
  EXPECT_EQ(list.Count(&record), 1);
}

TEST(KZFdDataListTest, OnePassDrainsUpTo100WakeUps) {
  TestList list;
  for (int i = 0; i < 250; ++i) list.WakeUp();
  list.Pass();
  EXPECT_EQ(PendingWakeUps(list), 150);
  list.Pass();
  EXPECT_EQ(PendingWakeUps(list), 50);
  list.Pass();
  EXPECT_EQ(PendingWakeUps(list), 0);
}

TEST(KZFdDataListTest, ThePipeRecordIsNeverReady) {
  TestList list;
  list.WakeUp();
  EXPECT_THAT(list.Pass(), IsEmpty());
}

// --- Identifiers ---

TEST(KZFdDataListTest, UniqueIdsCountUpFrom0x10000000) {
  TestList list;
  EXPECT_EQ(list.CreateUniqueId(), kFirstUniqueId);
  EXPECT_EQ(list.CreateUniqueId(), kFirstUniqueId + 1);
  EXPECT_EQ(list.mUniqueId, kFirstUniqueId + 2);
}

TEST(KZFdDataListTest, AddGivesARecordWithoutIdTheNextUniqueOne) {
  TestList list;
  TestRecord first(0, 900, -1);
  TestRecord own(0, 901, 77);
  TestRecord second(0, 902, -1);
  EXPECT_EQ(list.Add(&first), kFirstUniqueId);
  EXPECT_EQ(list.Add(&own), 77);
  EXPECT_EQ(list.Add(&second), kFirstUniqueId + 1);
  EXPECT_EQ(first.GetId(), kFirstUniqueId);
  EXPECT_EQ(own.GetId(), 77);
  EXPECT_EQ(second.GetId(), kFirstUniqueId + 1);
  EXPECT_EQ(list.CreateUniqueId(), kFirstUniqueId + 2);
}

TEST(KZFdDataListTest, ARecordThatIsAddedAgainKeepsTheIdItWasGiven) {
  TestList list;
  TestRecord record(0, 900, -1);
  list.Add(&record);
  list.Pass();
  list.Remove(&record);
  list.Pass();
  EXPECT_EQ(list.Add(&record), kFirstUniqueId);
}

// --- Requesting ---

TEST(KZFdDataListTest, AddQueuesTheRecordAndWakesTheLoopOnce) {
  TestList list;
  TestRecord record(0, 900, 5);
  list.Add(&record);
  EXPECT_EQ(list.size(), 1u);
  EXPECT_THAT(list.mAddRequest, ElementsAre(&record));
  EXPECT_EQ(list.mRequest, 1);
  EXPECT_EQ(DrainPipe(list), "!");
}

TEST(KZFdDataListTest, RemoveMarksTheRecordAndWakesTheLoopOnce) {
  TestList list;
  TestRecord record(0, 900, 5);
  list.push_back(&record);
  list.Remove(&record);
  EXPECT_EQ(record.GetFDStatus(), 4);
  EXPECT_EQ(list.mRequest, 1);
  EXPECT_EQ(list.Count(&record), 1);
  EXPECT_TRUE(list.mAddRequest.empty());
  EXPECT_EQ(DrainPipe(list), "!");
}

TEST(KZFdDataListTest, AddingABareDescriptorMakesAnAutoDeletedRecordOfType0AndWakesTwice) {
  TestList list;
  const TestPipe pipe;
  EXPECT_EQ(list.Add(pipe.ReadEnd(), 4711), 4711);
  EXPECT_EQ(DrainPipe(list), "!!");
  ASSERT_EQ(list.mAddRequest.size(), 1u);
  KZFdData* const record = list.mAddRequest.front();
  EXPECT_EQ(record->GetType(), 0);
  EXPECT_EQ(record->GetFD(), pipe.ReadEnd());
  EXPECT_EQ(record->GetId(), 4711);
  EXPECT_EQ(record->GetFDStatus(), 1);
  EXPECT_EQ(record->GetAutoDelete(), 1);
  record->SetFDStatus(4);  // So that the next pass deletes it.
  list.WakeUp();
  list.Pass();
  EXPECT_EQ(list.size(), 1u);
}

TEST(KZFdDataListTest, AddingABareDescriptorWithoutIdReturnsAUniqueOne) {
  TestList list;
  EXPECT_EQ(list.Add(900, -1), kFirstUniqueId);
  list.Pass();
  ASSERT_EQ(list.size(), 2u);
  list.Remove(list.back());
  list.Pass();
}

// --- Building the sets ---

TEST(KZFdDataListTest, FdSetClearsBothSetsCompletely) {
  TestList list;
  fd_set reads;
  fd_set writes;
  std::memset(&reads, 0xFF, sizeof reads);
  std::memset(&writes, 0xFF, sizeof writes);
  list.FdSet(&reads, &writes);
  for (int fd = 0; fd < FD_SETSIZE; ++fd) {
    EXPECT_EQ(FD_ISSET(fd, &reads), fd == list.PipeRecord()->GetFD()) << fd;
    EXPECT_FALSE(FD_ISSET(fd, &writes)) << fd;
  }
}

TEST(KZFdDataListTest, FdSetWatchesByTypeAndStatus) {
  const struct {
    int type;
    int status;
    bool read;
    bool write;
  } rows[] = {
      {0, 0, false, false}, {0, 1, true, false},   {0, 2, true, false},  {0, 3, false, false},
      {0, 4, false, false}, {1, 1, true, false},   {2, 0, false, false}, {2, 1, true, false},
      {2, 2, true, false},  {2, 3, false, false},  {2, 4, false, false}, {3, 0, false, false},
      {3, 1, false, true},  {3, 2, true, false},   {3, 3, false, false}, {3, 4, false, false},
      {-1, 1, true, false}, {-1, 0, false, false}, {9, 2, true, false},
  };
  for (const auto& row : rows) {
    TestList list;
    TestRecord record(row.type, 900, 1);
    record.SetFDStatus(row.status);
    list.push_back(&record);
    fd_set reads;
    fd_set writes;
    EXPECT_EQ(list.FdSet(&reads, &writes), 2);
    EXPECT_EQ(FD_ISSET(900, &reads), row.read) << row.type << " " << row.status;
    EXPECT_EQ(FD_ISSET(900, &writes), row.write) << row.type << " " << row.status;
  }
}

TEST(KZFdDataListTest, FdSetUnselectsExactlyTheRecordsItWatchesForReading) {
  const struct {
    int type;
    int status;
    int selectAfterwards;
  } rows[] = {
      {0, 0, 1}, {0, 1, 0}, {0, 2, 0}, {0, 3, 1}, {0, 4, 1}, {2, 1, 0}, {2, 2, 0},
      {2, 4, 1}, {3, 0, 1}, {3, 1, 1}, {3, 2, 0}, {3, 3, 1}, {3, 4, 1},
  };
  for (const auto& row : rows) {
    TestList list;
    TestRecord record(row.type, 900, 1);
    record.SetFDStatus(row.status);
    record.SetSelect(1);
    list.push_back(&record);
    fd_set reads;
    fd_set writes;
    list.FdSet(&reads, &writes);
    EXPECT_EQ(record.IsSelect(), row.selectAfterwards) << row.type << " " << row.status;
  }
}

TEST(KZFdDataListTest, FdSetCountsEveryLinkedRecord) {
  TestList list;
  TestRecord watched(2, 900, 1);
  TestRecord gone(2, 901, 2);
  TestRecord negative(2, -1, 3);
  gone.SetFDStatus(3);
  list.push_back(&watched);
  list.push_back(&gone);
  list.push_back(&negative);
  fd_set reads;
  fd_set writes;
  EXPECT_EQ(list.FdSet(&reads, &writes), 4);
}

TEST(KZFdDataListTest, FdSetReturnsZeroWhenAnyRecordHoldsData) {
  for (const int status : {0, 1, 2, 3, 4}) {
    TestList list;
    TestRecord before(2, 900, 1);
    TestRecord holding(2, 901, 2);
    TestRecord after(2, 902, 3);
    holding.CreateBuffer(10);
    holding.Put("x");
    holding.SetFDStatus(status);
    for (TestRecord* record : {&before, &holding, &after}) list.push_back(record);
    fd_set reads;
    fd_set writes;
    EXPECT_EQ(list.FdSet(&reads, &writes), 0) << status;
    EXPECT_TRUE(FD_ISSET(902, &reads)) << status;
  }
}

TEST(KZFdDataListTest, FdSetPassesOverARecordWithANegativeDescriptor) {
  TestList list;
  TestRecord record(2, -1, 1);
  record.CreateBuffer(10);
  record.Put("x");
  record.SetSelect(1);
  list.push_back(&record);
  fd_set reads;
  fd_set writes;
  EXPECT_EQ(list.FdSet(&reads, &writes), 2);
  EXPECT_EQ(record.IsSelect(), 1);
}

TEST(KZFdDataListTest, ARecordOnDescriptor0IsWatchedAndReadyLikeAnyOther) {
  TestList list;
  TestRecord record(2, 0, 1);
  record.SetSelect(1);
  list.push_back(&record);
  fd_set reads;
  fd_set writes;
  EXPECT_EQ(list.FdSet(&reads, &writes), 2);
  EXPECT_TRUE(FD_ISSET(0, &reads));
  EXPECT_EQ(record.IsSelect(), 0);
  FdDataList ready;
  list.FdIsSet(&reads, &writes, &ready);
  EXPECT_THAT(ready, ElementsAre(&record));
  EXPECT_EQ(record.IsSelect(), 1);
  record.CreateBuffer(10);
  record.Put("x");
  EXPECT_EQ(list.FdSet(&reads, &writes), 0);
}

// A set with memory of ours behind it, where a descriptor of 1024 or more would leave its bit.
struct GuardedSet {
  fd_set mSet;
  unsigned char mGuard[1024];
};

TEST(KZFdDataListTest, DescriptorsOf1024AndMoreAreNeverWatched) {
  TestList list;
  TestRecord reading(2, 1024, 1);
  TestRecord writing(3, 2000, 2);
  TestRecord huge(2, 0x7FFFFFFF, 3);
  TestRecord last(2, 1023, 4);
  for (TestRecord* record : {&reading, &writing, &huge, &last}) list.push_back(record);
  GuardedSet reads{};
  GuardedSet writes{};
  list.FdSet(&reads.mSet, &writes.mSet);
  EXPECT_THAT(reads.mGuard, ::testing::Each(0));
  EXPECT_THAT(writes.mGuard, ::testing::Each(0));
  EXPECT_TRUE(FD_ISSET(1023, &reads.mSet));
}

TEST(KZFdDataListTest, DescriptorsOf1024AndMoreAreNeverReady) {
  TestList list;
  TestRecord reading(2, 1024, 1);
  TestRecord writing(3, 2000, 2);
  for (TestRecord* record : {&reading, &writing}) list.push_back(record);
  GuardedSet reads{};
  GuardedSet writes{};
  std::memset(reads.mGuard, 0xFF, sizeof reads.mGuard);
  std::memset(writes.mGuard, 0xFF, sizeof writes.mGuard);
  FdDataList ready;
  list.FdIsSet(&reads.mSet, &writes.mSet, &ready);
  EXPECT_THAT(ready, IsEmpty());
}

// --- Collecting the ready records ---

class KZFdDataListReadyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    FD_ZERO(&mReads);
    FD_ZERO(&mWrites);
  }
  FdDataList Collect() {
    FdDataList ready;
    mList.FdIsSet(&mReads, &mWrites, &ready);
    return ready;
  }
  // The pipe becomes readable and is reported so, whatever else the sets hold.
  void ReportWakeUp() {
    mList.WakeUp();
    FD_SET(mList.PipeRecord()->GetFD(), &mReads);
  }

  TestList mList;
  fd_set mReads;
  fd_set mWrites;
};

TEST_F(KZFdDataListReadyTest, ListsSignalledRecordsInListOrder) {
  TestRecord a(2, 902, 1);
  TestRecord b(3, 901, 2);
  TestRecord quiet(2, 903, 3);
  TestRecord c(0, 900, 4);
  for (TestRecord* record : {&a, &b, &quiet, &c}) mList.push_back(record);
  FD_SET(900, &mReads);
  FD_SET(901, &mWrites);
  FD_SET(902, &mReads);
  EXPECT_THAT(Collect(), ElementsAre(&a, &b, &c));
  EXPECT_EQ(a.IsSelect(), 1);
  EXPECT_EQ(b.IsSelect(), 1);
  EXPECT_EQ(c.IsSelect(), 1);
  EXPECT_EQ(quiet.IsSelect(), 0);
}

TEST_F(KZFdDataListReadyTest, ARecordInBothSetsIsListedOnce) {
  TestRecord record(3, 900, 1);
  mList.push_back(&record);
  FD_SET(900, &mReads);
  FD_SET(900, &mWrites);
  EXPECT_THAT(Collect(), ElementsAre(&record));
}

TEST_F(KZFdDataListReadyTest, ARecordThatHoldsDataIsListedUnselected) {
  for (const int status : {0, 1, 2, 3, 4}) {
    TestList list;
    TestRecord record(2, 900, 1);
    record.CreateBuffer(10);
    record.Put("x");
    record.SetFDStatus(status);
    list.push_back(&record);
    FdDataList ready;
    list.FdIsSet(&mReads, &mWrites, &ready);
    EXPECT_THAT(ready, ElementsAre(&record)) << status;
    EXPECT_EQ(record.IsSelect(), 0) << status;
  }
}

TEST_F(KZFdDataListReadyTest, ARecordWithANegativeDescriptorIsNeverListed) {
  TestRecord record(2, -1, 1);
  record.CreateBuffer(10);
  record.Put("x");
  mList.push_back(&record);
  EXPECT_THAT(Collect(), IsEmpty());
}

TEST_F(KZFdDataListReadyTest, AppendsToTheListItIsGiven) {
  TestRecord earlier(2, 899, 1);
  TestRecord record(2, 900, 2);
  mList.push_back(&record);
  FD_SET(900, &mReads);
  FdDataList ready{&earlier};
  mList.FdIsSet(&mReads, &mWrites, &ready);
  EXPECT_THAT(ready, ElementsAre(&earlier, &record));
}

TEST_F(KZFdDataListReadyTest, AddedRecordsTakePartFromTheNextPassOn) {
  const TestPipe pipe;
  pipe.Write("x");
  TestRecord record(2, pipe.ReadEnd(), 1);
  mList.Add(&record);
  fd_set reads;
  fd_set writes;
  mList.FdSet(&reads, &writes);
  EXPECT_FALSE(FD_ISSET(pipe.ReadEnd(), &reads));
  EXPECT_THAT(mList.Pass(), IsEmpty());
  EXPECT_EQ(mList.Count(&record), 1);
  EXPECT_THAT(mList.Pass(), ElementsAre(&record));
}

TEST_F(KZFdDataListReadyTest, NothingIsAppliedWithoutAWakeUp) {
  TestRecord added(2, 900, 1);
  TestRecord removed(2, 901, 2);
  mList.push_back(&removed);
  mList.Add(&added);
  mList.Remove(&removed);
  DrainPipe(mList);
  Collect();
  EXPECT_EQ(mList.Count(&added), 0);
  EXPECT_EQ(mList.Count(&removed), 1);
  EXPECT_EQ(mList.mRequest, 1);
  ReportWakeUp();
  Collect();
  EXPECT_EQ(mList.Count(&added), 1);
  EXPECT_EQ(mList.Count(&removed), 0);
  EXPECT_EQ(mList.mRequest, 0);
  EXPECT_TRUE(mList.mAddRequest.empty());
}

TEST_F(KZFdDataListReadyTest, AWakeUpWithoutARequestAppliesNothing) {
  TestRecord marked(2, 900, 1);
  marked.SetFDStatus(4);  // Without a request.
  mList.push_back(&marked);
  ReportWakeUp();
  Collect();
  EXPECT_EQ(mList.Count(&marked), 1);
}

}  // namespace
