#include "dorn/loop/KZFdData.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "dorn/loop/BufferPool.h"
#include "dorn/loop/RecordState.h"
#include "tests/loop/BufferAllocation.h"
#include "tests/support/Deadline.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"
#include "tests/support/VirtualSlot.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kRoomForOneRead = 1500;

// A record with a buffer of `capacity` bytes that holds `held`.
void Fill(TestRecord& record, int capacity, const std::string& held) {
  ASSERT_TRUE(record.CreateBuffer(capacity));
  record.Put(held);
}

TEST(KZFdDataTest, ListConstructorLeavesStatusTypeIdAndDescriptorAtTheirFirstValues) {
  TestList list;
  const KZFdData record(&list);
  EXPECT_EQ(record.mStatus, 0);
  EXPECT_EQ(record.mType, -1);
  EXPECT_EQ(record.mId, -1);
  EXPECT_EQ(record.mFD, 0);
  EXPECT_EQ(record.mAutoDelete, 0);
  EXPECT_EQ(record.mList, &list);
  EXPECT_EQ(record.mDataBuffer, nullptr);
  EXPECT_EQ(record.mBufferSize, 0);
  EXPECT_EQ(record.mBufferPos, 0);
}

TEST(KZFdDataTest, FullConstructorIsOpenWithTheGivenTypeDescriptorAndId) {
  TestList list;
  const KZFdData record(2, 77, 4711, &list);
  EXPECT_EQ(record.mStatus, 1);
  EXPECT_EQ(record.mType, 2);
  EXPECT_EQ(record.mId, 4711);
  EXPECT_EQ(record.mFD, 77);
  EXPECT_EQ(record.mAutoDelete, 0);
  EXPECT_EQ(record.mList, &list);
  EXPECT_EQ(record.mDataBuffer, nullptr);
  EXPECT_EQ(record.mBufferSize, 0);
  EXPECT_EQ(record.mBufferPos, 0);
}

TEST(KZFdDataTest, BothConstructorsStartUnselected) {
  KZFdData fromList(nullptr);
  KZFdData full(2, 5, 6, nullptr);
  EXPECT_EQ(fromList.IsSelect(), 0);
  EXPECT_EQ(full.IsSelect(), 0);
}

TEST(KZFdDataTest, DestructorLeavesTheDescriptorOpen) {
  const TestPipe pipe;
  { const KZFdData record(0, pipe.ReadEnd(), 1, nullptr); }
  EXPECT_NE(fcntl(pipe.ReadEnd(), F_GETFD), -1);
}

TEST(KZFdDataTest, MembersLieInTheirPublishedOrder) {
  const KZFdData record(nullptr);
  EXPECT_TRUE(AreInOrder({MemberAddress(record.mStatus), MemberAddress(record.mType),
                          MemberAddress(record.mId), MemberAddress(record.mFD),
                          MemberAddress(record.mAutoDelete), MemberAddress(record.mIsSelect),
                          MemberAddress(record.mList), MemberAddress(record.mSemData),
                          MemberAddress(record.mDataBuffer), MemberAddress(record.mBufferSize),
                          MemberAddress(record.mBufferPos)}));
}

TEST(KZFdDataTest, MembersHaveTheirPublishedTypes) {
  static_assert(std::is_same_v<decltype(KZFdData::mStatus), int>);
  static_assert(std::is_same_v<decltype(KZFdData::mType), int>);
  static_assert(std::is_same_v<decltype(KZFdData::mId), int>);
  static_assert(std::is_same_v<decltype(KZFdData::mFD), int>);
  static_assert(std::is_same_v<decltype(KZFdData::mAutoDelete), int>);
  static_assert(std::is_same_v<decltype(KZFdData::mIsSelect), int>);
  static_assert(std::is_same_v<decltype(KZFdData::mList), KZFdDataList*>);
  static_assert(std::is_same_v<decltype(KZFdData::mSemData), KZSemaphore>);
  static_assert(std::is_same_v<decltype(KZFdData::mDataBuffer), char*>);
  static_assert(std::is_same_v<decltype(KZFdData::mBufferSize), volatile int>);
  static_assert(std::is_same_v<decltype(KZFdData::mBufferPos), volatile int>);
  static_assert(std::has_virtual_destructor_v<KZFdData>);
}

TEST(KZFdDataTest, VirtualFunctionsHaveTheirPublishedSlots) {
  EXPECT_EQ(VirtualSlot(&KZFdData::ReadyToRead), 2);
  EXPECT_EQ(VirtualSlot(&KZFdData::ReadyToWrite), 3);
  EXPECT_EQ(VirtualSlot<int (KZFdData::*)()>(&KZFdData::OnReceive), 4);
  EXPECT_EQ(VirtualSlot<int (KZFdData::*)(int, int)>(&KZFdData::OnNotice), 5);
  EXPECT_EQ(VirtualSlot(&KZFdData::SetFD), -1);
  EXPECT_EQ(VirtualSlot(&KZFdData::CheckBuffer), -1);
}

TEST(KZFdDataTest, AddEventQueuesTheRecordAndReturnsItsId) {
  TestList list;
  TestRecord record(0, 5, 4711, &list);
  EXPECT_EQ(record.AddEvent(), 4711);
  EXPECT_THAT(list.mAddRequest, ElementsAre(&record));
}

TEST(KZFdDataTest, AddEventWithoutAListReturnsZero) {
  TestRecord record(0, 5, 4711, nullptr);
  EXPECT_EQ(record.AddEvent(), 0);
  EXPECT_EQ(record.GetFDStatus(), 1);
}

TEST(KZFdDataTest, RemoveEventAsksTheListForRemoval) {
  TestList list;
  TestRecord record(0, 5, 4711, &list);
  record.RemoveEvent();
  EXPECT_EQ(record.GetFDStatus(), 4);
  EXPECT_EQ(list.mRequest, 1);
}

TEST(KZFdDataTest, RemoveEventWithoutAListDoesNothing) {
  TestRecord record(0, 5, 4711, nullptr);
  record.RemoveEvent();
  EXPECT_EQ(record.GetFDStatus(), 1);
}

TEST(KZFdDataTest, GetFdDataListReturnsTheListItWasGiven) {
  TestList list;
  KZFdData with(&list);
  KZFdData without(2, 5, 6, nullptr);
  EXPECT_EQ(with.GetFdDataList(), &list);
  EXPECT_EQ(without.GetFdDataList(), nullptr);
}

TEST(KZFdDataTest, SetFDReturnsThePreviousDescriptorAndKeepsTheStatus) {
  KZFdData record(2, 5, 6, nullptr);
  EXPECT_EQ(record.SetFD(9), 5);
  EXPECT_EQ(record.GetFD(), 9);
  EXPECT_EQ(record.GetFDStatus(), 1);
  EXPECT_EQ(record.SetFD(0), 9);
  EXPECT_EQ(record.GetFDStatus(), 1);
}

TEST(KZFdDataTest, SetFDWithANegativeDescriptorMarksItGone) {
  KZFdData record(2, 5, 6, nullptr);
  EXPECT_EQ(record.SetFD(-7), 5);
  EXPECT_EQ(record.GetFD(), -7);
  EXPECT_EQ(record.GetFDStatus(), 3);
}

TEST(KZFdDataTest, EachNewDescriptorIsCountedAlsoWithTheSameNumber) {
  KZFdData record(2, 5, 6, nullptr);
  const auto& count = dorn::RecordState::Of(record).mDescriptors;
  const unsigned int before = count;
  record.SetFD(5);
  EXPECT_EQ(count - before, 1u);
  record.SetFD(-1);
  EXPECT_EQ(count - before, 2u);
}

TEST(KZFdDataTest, SetFDStatusReturnsThePreviousStatus) {
  KZFdData record(2, 5, 6, nullptr);
  EXPECT_EQ(record.SetFDStatus(4), 1);
  EXPECT_EQ(record.SetFDStatus(2), 4);
  EXPECT_EQ(record.GetFDStatus(), 2);
}

TEST(KZFdDataTest, GetStatusCondensesStatusAndType) {
  const struct {
    int type;
    int status;
    int expected;
  } rows[] = {
      {0, 0, 0},   {0, 1, 1},  {0, 2, 1},  {0, 3, -1}, {0, 4, -1},  {0, 5, -1}, {0, -1, -1},
      {1, 0, 0},   {1, 1, 1},  {1, 2, 1},  {1, 3, -1}, {2, 0, 0},   {2, 1, 1},  {2, 2, 1},
      {2, 3, -1},  {2, 4, -1}, {3, 0, 0},  {3, 1, 0},  {3, 2, 1},   {3, 3, -1}, {3, 4, -1},
      {3, -1, -1}, {-1, 0, 0}, {-1, 1, 1}, {-1, 2, 1}, {-1, 4, -1}, {99, 1, 1}, {99, 3, -1},
  };
  for (const auto& row : rows) {
    KZFdData record(row.type, 5, 6, nullptr);
    record.SetFDStatus(row.status);
    EXPECT_EQ(record.GetStatus(), row.expected) << "type " << row.type << " status " << row.status;
  }
}

TEST(KZFdDataTest, PlainAccessorsStoreWhatTheyAreGiven) {
  KZFdData record(nullptr);
  record.SetId(42);
  record.SetType(3);
  record.SetSelect(1);
  record.SetAutoDelete(1);
  EXPECT_EQ(record.GetId(), 42);
  EXPECT_EQ(record.GetType(), 3);
  EXPECT_EQ(record.IsSelect(), 1);
  EXPECT_EQ(record.GetAutoDelete(), 1);
  EXPECT_EQ(record.mId, 42);
  EXPECT_EQ(record.mType, 3);
  EXPECT_EQ(record.mIsSelect, 1);
  EXPECT_EQ(record.mAutoDelete, 1);
}

TEST(KZFdDataTest, DefaultHooksReturnZero) {
  KZFdData record(nullptr);
  EXPECT_EQ(record.OnReceive(), 0);
  EXPECT_EQ(record.OnNotice(1000, 5), 0);
  record.ReadyToWrite();
  EXPECT_EQ(record.GetFDStatus(), 0);
}

TEST(KZFdDataTest, CreateBufferSetsTheCapacityAndEmptiesTheBuffer) {
  TestRecord record(nullptr);
  Fill(record, 10, "abc");
  EXPECT_TRUE(record.CreateBuffer(20));
  EXPECT_EQ(record.mBufferSize, 20);
  EXPECT_EQ(record.GetDataLength(), 0);
  EXPECT_NE(record.mDataBuffer, nullptr);
}

TEST(KZFdDataTest, CreateBufferWithZeroOnlyEmptiesTheBuffer) {
  TestRecord record(nullptr);
  Fill(record, 10, "abc");
  const char* const buffer = record.mDataBuffer;
  EXPECT_TRUE(record.CreateBuffer(0));
  EXPECT_EQ(record.mBufferSize, 10);
  EXPECT_EQ(record.mDataBuffer, buffer);
  EXPECT_EQ(record.GetDataLength(), 0);
}

TEST(KZFdDataTest, CreateBufferWithZeroOnAFreshRecordMakesNoBuffer) {
  TestRecord record(nullptr);
  EXPECT_TRUE(record.CreateBuffer(0));
  EXPECT_EQ(record.mBufferSize, 0);
  EXPECT_EQ(record.mDataBuffer, nullptr);
}

TEST(KZFdDataTest, ABufferOfOneByteHoldsOne) {
  TestRecord record(nullptr);
  Fill(record, 1, "");
  char bytes[] = "ab";
  EXPECT_TRUE(record.SetDataToBuffer(bytes, 1));
  EXPECT_FALSE(record.SetDataToBuffer(bytes + 1, 1));
  EXPECT_EQ(record.Take(1), "a");
  EXPECT_EQ(record.Take(1), "");
}

TEST(KZFdDataTest, ABufferThatIsReplacedIsFreedBefore) {
  TestRecord record(nullptr);
  constexpr int kKept = 0x80000;
  Fill(record, kKept, "secret");
  const char* const first = record.mDataBuffer;
  Fill(record, kKept, "");
  EXPECT_EQ(record.mDataBuffer, first);
  EXPECT_EQ(std::string(record.mDataBuffer, 6), std::string(6, '\0'));
}

// As a host may have it: 0 stands for no buffer.
TEST(KZFdDataTest, ABufferWithoutACapacityDropsWhatItIsGiven) {
  TestRecord record(nullptr);
  Fill(record, 10, "");
  record.mBufferSize = 0;
  char bytes[] = "abc";
  EXPECT_TRUE(record.SetDataToBuffer(bytes, 3));
  EXPECT_EQ(record.GetDataLength(), 0);
  EXPECT_EQ(record.CheckBuffer(1), 1);
}

TEST(KZFdDataTest, CreateBufferDoesNotInitialiseTheBuffer) {
  TestRecord record(nullptr);
  const BufferAllocation::FillNew fill('\x5A');
  ASSERT_TRUE(record.CreateBuffer(1000));
  EXPECT_EQ(record.mDataBuffer[0], '\x5A');
  EXPECT_EQ(record.mDataBuffer[999], '\x5A');
}

TEST(KZFdDataTest, ALargeBufferInUsedMemoryHoldsHardlyAnyPage) {
  for (const int capacity : {0x80000, 0x10000}) {
    // Kept ones may hold a page that an earlier test has used.
    while (char* const kept = dorn::TakeKeptBuffer(static_cast<size_t>(capacity))) delete[] kept;
    TestRecord record(nullptr);
    const BufferAllocation::FillNew fill('\x5A');
    ASSERT_TRUE(record.CreateBuffer(capacity));
    const auto pageSize = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* firstPage = record.mDataBuffer;
    auto size = static_cast<size_t>(capacity);
    ASSERT_NE(std::align(pageSize, pageSize, firstPage, size), nullptr);
    std::vector<unsigned char> resident(size / pageSize);
    ASSERT_EQ(mincore(firstPage, resident.size() * pageSize, resident.data()), 0);
    const auto isResident = [](unsigned char page) { return (page & 1) != 0; };
    EXPECT_EQ(std::count_if(resident.begin(), resident.end(), isResident), 0) << capacity;
  }
}

TEST(KZFdDataTest, CreateBufferWithoutMemoryFailsAndKeepsTheOldCapacity) {
  TestRecord record(nullptr);
  Fill(record, 10, "abc");
  {
    const BufferAllocation::FailNew fail;
    EXPECT_FALSE(record.CreateBuffer(20));
  }
  EXPECT_EQ(record.mBufferSize, 10);
  EXPECT_EQ(record.mDataBuffer, nullptr);
  EXPECT_EQ(record.GetDataLength(), 0);
}

TEST(KZFdDataTest, ARecordWhoseBufferCouldNotBeAllocatedDropsWhatItIsGiven) {
  TestRecord record(nullptr);
  Fill(record, 10, "abc");
  {
    const BufferAllocation::FailNew fail;
    EXPECT_FALSE(record.CreateBuffer(20));
  }
  record.Put("abc");
  EXPECT_EQ(record.GetDataLength(), 0);
  EXPECT_TRUE(record.CreateBuffer(30));
  record.Put("abc");
  EXPECT_EQ(record.Take(10), "abc");
}

TEST(KZFdDataTest, CreateBufferRefusesANegativeSize) {
  TestRecord record(nullptr);
  EXPECT_FALSE(record.CreateBuffer(-1));
  EXPECT_FALSE(record.CreateBuffer(INT_MIN));
  record.Put("abc");
  EXPECT_EQ(record.GetDataLength(), 0);
}

TEST(KZFdDataTest, SetDataToBufferWithoutBytesReturnsTrueAtOnce) {
  TestRecord record(nullptr);
  Fill(record, 3, "abc");
  char byte = 'x';
  EXPECT_TRUE(record.SetDataToBuffer(&byte, 0));
  EXPECT_TRUE(record.SetDataToBuffer(&byte, -1));
  EXPECT_TRUE(record.SetDataToBuffer(nullptr, 0));
  EXPECT_EQ(record.GetDataLength(), 3);
}

TEST(KZFdDataTest, SetDataToBufferWithoutABufferDropsTheBytesSilently) {
  TestRecord record(nullptr);
  char bytes[] = "abc";
  EXPECT_TRUE(record.SetDataToBuffer(bytes, 3));
  EXPECT_EQ(record.GetDataLength(), 0);
}

TEST(KZFdDataTest, SetDataToBufferAppends) {
  TestRecord record(nullptr);
  Fill(record, 10, "abc");
  char bytes[] = "defg";
  EXPECT_TRUE(record.SetDataToBuffer(bytes, 4));
  EXPECT_EQ(record.GetDataLength(), 7);
  EXPECT_EQ(record.Take(10), "abcdefg");
}

TEST(KZFdDataTest, SetDataToBufferAcceptsExactlyTheFreeRoom) {
  TestRecord record(nullptr);
  Fill(record, 6, "abc");
  char bytes[] = "def";
  EXPECT_TRUE(record.SetDataToBuffer(bytes, 3));
  EXPECT_EQ(record.Take(10), "abcdef");
}

TEST(KZFdDataTest, SetDataToBufferTruncatesWhatDoesNotFit) {
  TestRecord record(nullptr);
  Fill(record, 2000, std::string(500, 'a'));
  std::string bytes(3000, 'b');
  EXPECT_FALSE(record.SetDataToBuffer(bytes.data(), 3000));
  EXPECT_EQ(record.GetDataLength(), 2000);
  EXPECT_EQ(record.CheckBuffer(1), 0);
  EXPECT_THAT(record.TakeEvents(), ElementsAre("notice 1000 0"));
  EXPECT_EQ(record.Take(3000), std::string(500, 'a') + std::string(1500, 'b'));
}

TEST(KZFdDataTest, SetDataToAFullBufferCopiesNothingAndReturnsFalse) {
  TestRecord record(nullptr);
  Fill(record, 3, "abc");
  char byte = 'x';
  EXPECT_FALSE(record.SetDataToBuffer(&byte, 1));
  EXPECT_EQ(record.Take(3), "abc");
}

TEST(KZFdDataTest, GetDataOfAnEmptyBufferReturnsZero) {
  TestRecord record(nullptr);
  char area[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(record.GetData(area, 4), 0);
  Fill(record, 10, "");
  EXPECT_EQ(record.GetData(area, 4), 0);
  EXPECT_EQ(area[0], 'x');
}

TEST(KZFdDataTest, GetDataMovesTheRestToTheFront) {
  TestRecord record(nullptr);
  Fill(record, 10, "abcdefg");
  EXPECT_EQ(record.Take(3), "abc");
  EXPECT_EQ(record.GetDataLength(), 4);
  EXPECT_EQ(std::string(record.mDataBuffer, 4), "defg");
  EXPECT_EQ(record.Take(4), "defg");
  EXPECT_EQ(record.GetDataLength(), 0);
}

TEST(KZFdDataTest, GetDataOfMoreThanIsHeldReturnsWhatIsHeld) {
  TestRecord record(nullptr);
  Fill(record, 10, "abc");
  EXPECT_EQ(record.Take(100), "abc");
  EXPECT_EQ(record.GetDataLength(), 0);
}

TEST(KZFdDataTest, GetDataKeepsZeroBytes) {
  TestRecord record(nullptr);
  const std::string bytes("a\0b\0", 4);
  Fill(record, 10, bytes);
  EXPECT_EQ(record.Take(4), bytes);
}

TEST(KZFdDataTest, GetDataOfNothingOrLessTakesNothing) {
  TestRecord record(nullptr);
  Fill(record, 10, "abc");
  char area[4] = {};
  EXPECT_EQ(record.GetData(area, 0), 0);
  EXPECT_EQ(record.GetData(area, -1), 0);
  EXPECT_EQ(record.GetData(area, INT_MIN), 0);
  EXPECT_EQ(record.Take(10), "abc");
}

TEST(KZFdDataTest, CheckBufferCountsFewerThan1500FreeBytesAsNearlyFull) {
  const struct {
    const char* name;
    int capacity;
    int held;
    int expected;
  } rows[] = {
      {"no buffer", 0, 0, 1},
      {"room to spare", 5000, 0, 1},
      {"exactly 1500 free", 2000, 500, 1},
      {"1499 free", 2000, 501, 0},
      {"full", 2000, 2000, 0},
      {"smaller than one read, empty", 1499, 0, 0},
      {"as large as one read, empty", kRoomForOneRead, 0, 1},
      {"of one byte, empty", 1, 0, 0},
  };
  for (const auto& row : rows) {
    TestRecord record(nullptr);
    if (row.capacity > 0) Fill(record, row.capacity, std::string(row.held, 'x'));
    EXPECT_EQ(record.CheckBuffer(0), row.expected) << row.name;
    EXPECT_THAT(record.TakeEvents(), IsEmpty()) << row.name;
    EXPECT_EQ(record.CheckBuffer(1), row.expected) << row.name;
    EXPECT_EQ(record.TakeEvents().size(), row.expected == 0 ? 1u : 0u) << row.name;
  }
}

TEST(KZFdDataTest, CheckBufferGivesItsNoticeWithoutTheLock) {
  const HangGuard guard;
  TestRecord record(nullptr);
  Fill(record, 10, "abc");
  int held = -1;
  record.mOnNotice = [&] { held = record.GetDataLength(); };
  EXPECT_EQ(record.CheckBuffer(1), 0);
  EXPECT_EQ(held, 3);
}

TEST(KZFdDataTest, ClearDataEmptiesTheBufferThenGivesItsNoticeWithoutTheLock) {
  const HangGuard guard;
  TestRecord record(nullptr);
  Fill(record, 10, "abc");
  int held = -1;
  record.mOnNotice = [&] { held = record.GetDataLength(); };
  record.ClearData();
  EXPECT_EQ(held, 0);
  EXPECT_THAT(record.TakeEvents(), ElementsAre("notice 1004 0"));
  EXPECT_EQ(record.mBufferSize, 10);
}

TEST(KZFdDataTest, ClearDataWithoutABufferStillGivesItsNotice) {
  TestRecord record(nullptr);
  record.ClearData();
  EXPECT_THAT(record.TakeEvents(), ElementsAre("notice 1004 0"));
}

TEST(KZFdDataTest, ReadyToReadAppendsWhatArrivedThenCallsOnReceive) {
  const TestPipe pipe;
  TestRecord record(0, pipe.ReadEnd(), 1);
  Fill(record, 5000, "ab");
  pipe.Write("cd");
  record.SetSelect(1);
  record.ReadyToRead();
  EXPECT_THAT(record.TakeEvents(), ElementsAre("receive"));
  EXPECT_EQ(record.Take(10), "abcd");
}

TEST(KZFdDataTest, ReadyToReadReadsAtMost1500BytesAtOnce) {
  const TestPipe pipe;
  TestRecord record(0, pipe.ReadEnd(), 1);
  Fill(record, 5000, "");
  pipe.Write(std::string(1501, 'x'));
  record.SetSelect(1);
  record.ReadyToRead();
  EXPECT_EQ(record.GetDataLength(), 1500);
  record.ReadyToRead();
  EXPECT_EQ(record.GetDataLength(), 1501);
  EXPECT_THAT(record.TakeEvents(), ElementsAre("receive", "receive"));
}

TEST(KZFdDataTest, ReadyToReadGivesTheNearlyFullNoticeAfterOnReceive) {
  const TestPipe pipe;
  TestRecord record(0, pipe.ReadEnd(), 1);
  Fill(record, 1600, "");
  pipe.Write(std::string(101, 'x'));
  record.SetSelect(1);
  record.ReadyToRead();
  EXPECT_THAT(record.TakeEvents(), ElementsAre("receive", "notice 1000 0"));
}

TEST(KZFdDataTest, ReadyToReadGivesNoNoticeWhenOnReceiveMadeRoom) {
  const TestPipe pipe;
  TestRecord record(0, pipe.ReadEnd(), 1);
  Fill(record, 1600, "");
  pipe.Write(std::string(101, 'x'));
  record.mOnReceive = [&] { record.Take(101); };
  record.SetSelect(1);
  record.ReadyToRead();
  EXPECT_THAT(record.TakeEvents(), ElementsAre("receive"));
}

TEST(KZFdDataTest, ReadyToReadTruncatesWhatTheBufferCannotHold) {
  const TestPipe pipe;
  TestRecord record(0, pipe.ReadEnd(), 1);
  Fill(record, 4, "ab");
  pipe.Write("cdef");
  record.SetSelect(1);
  record.ReadyToRead();
  EXPECT_EQ(record.Take(10), "abcd");
}

TEST(KZFdDataTest, ReadyToReadOfAnUnselectedRecordOnlyCallsOnReceive) {
  const TestPipe pipe;
  TestRecord record(0, pipe.ReadEnd(), 1);
  Fill(record, 1400, "ab");
  pipe.Write("cd");
  record.SetSelect(0);
  record.ReadyToRead();
  EXPECT_THAT(record.TakeEvents(), ElementsAre("receive", "notice 1000 0"));
  EXPECT_EQ(record.Take(10), "ab");
}

TEST(KZFdDataTest, ReadyToReadWithoutADescriptorDoesNothing) {
  TestRecord record(0, -1, 1);
  Fill(record, 1400, "ab");
  record.SetSelect(1);
  record.ReadyToRead();
  EXPECT_THAT(record.TakeEvents(), IsEmpty());
}

TEST(KZFdDataTest, ReadyToReadReportsAReadFailureWithItsErrno) {
  const TestPipe pipe;
  TestRecord record(0, pipe.WriteEnd(), 1);  // Cannot be read.
  Fill(record, 1400, "ab");
  record.SetSelect(1);
  record.ReadyToRead();
  EXPECT_THAT(record.TakeEvents(), ElementsAre("notice 1002 " + std::to_string(EBADF)));
}

TEST(KZFdDataTest, ReadyToReadReportsAnEmptyNonBlockingDescriptorAsAFailure) {
  const TestPipe pipe;
  TestRecord record(0, pipe.ReadEnd(), 1);
  Fill(record, 5000, "");
  record.SetSelect(1);
  record.ReadyToRead();
  EXPECT_THAT(record.TakeEvents(), ElementsAre("notice 1002 " + std::to_string(EAGAIN)));
}

TEST(KZFdDataTest, ReadyToReadAtTheEndOfFileCallsNothing) {
  TestPipe pipe;
  TestRecord record(0, pipe.ReadEnd(), 1);
  Fill(record, 1400, "ab");
  pipe.CloseWriteEnd();
  record.SetSelect(1);
  record.ReadyToRead();
  EXPECT_THAT(record.TakeEvents(), IsEmpty());
  EXPECT_EQ(record.GetDataLength(), 2);
  EXPECT_EQ(record.GetFDStatus(), 1);
}

TEST(KZFdDataTest, AnotherThreadMayUseDescriptorStatusAndBufferMeanwhile) {
  TestRecord record(2, 5, 6);
  ASSERT_TRUE(record.CreateBuffer(1000));
  std::thread other([&] {
    for (int i = 0; i < 1000; ++i) {
      record.Put("x");
      record.SetFD(i);
      record.SetFDStatus(2);
      record.CheckBuffer(0);
    }
  });
  int taken = 0;
  for (int i = 0; i < 1000; ++i) {
    taken += static_cast<int>(record.Take(3).size());
    record.GetFD();
    record.GetFDStatus();
    record.GetStatus();
  }
  other.join();
  taken += static_cast<int>(record.Take(1000).size());
  EXPECT_EQ(taken, 1000);
}

}  // namespace
