// Where the public members of the loop's classes lie. Hosts read and write them, and their inline
// code has these numbers in it.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>

#include "dorn/loop/KZApplication.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/TestApplication.h"

namespace {

// On a 64-bit machine, as every host uses it.
static_assert(sizeof(void*) == 8 && sizeof(sem_t) == 32);

template <class Object, class Member>
std::size_t OffsetOf(const Object& object, const volatile Member& member) {
  return MemberAddress(member) - MemberAddress(object);
}

TEST(PublicOffsetsTest, OfADescriptorRecord) {
  const KZFdData record(nullptr);
  EXPECT_EQ(OffsetOf(record, record.mStatus), 8u);
  EXPECT_EQ(OffsetOf(record, record.mType), 12u);
  EXPECT_EQ(OffsetOf(record, record.mId), 16u);
  EXPECT_EQ(OffsetOf(record, record.mFD), 20u);
  EXPECT_EQ(OffsetOf(record, record.mAutoDelete), 24u);
  EXPECT_EQ(OffsetOf(record, record.mIsSelect), 28u);
  EXPECT_EQ(OffsetOf(record, record.mList), 32u);
  EXPECT_EQ(OffsetOf(record, record.mSemData), 40u);
  EXPECT_EQ(OffsetOf(record, record.mDataBuffer), 88u);
  EXPECT_EQ(OffsetOf(record, record.mBufferSize), 96u);
  EXPECT_EQ(OffsetOf(record, record.mBufferPos), 100u);
  EXPECT_EQ(sizeof record, 152u);
}

TEST(PublicOffsetsTest, OfTheListOfRecords) {
  const TestList list;
  const KZFdDataList& plain = list;
  EXPECT_EQ(OffsetOf(plain, plain.mPipeFd), 32u);
  EXPECT_EQ(OffsetOf(plain, plain.mRequest), 36u);
  EXPECT_EQ(OffsetOf(plain, plain.mUniqueId), 40u);
  EXPECT_EQ(OffsetOf(plain, plain.mSemFdList), 48u);
  EXPECT_EQ(OffsetOf(plain, plain.mAddRequest), 96u);
  EXPECT_EQ(sizeof plain, 240u);
}

TEST(PublicOffsetsTest, OfTheApplication) {
  const TestApplication app;
  const KZApplication& plain = app;
  EXPECT_EQ(OffsetOf(plain, plain.mTimerList), 8u);
  EXPECT_EQ(OffsetOf(plain, plain.mFdList), 32u);
  EXPECT_EQ(OffsetOf(plain, plain.mTimerListLock), 272u);
  EXPECT_EQ(sizeof plain, 328u);
}

TEST(PublicOffsetsTest, OfATimer) {
  const KZTimerData timer;
  EXPECT_EQ(OffsetOf(timer, timer.mTime), 0u);
  EXPECT_EQ(OffsetOf(timer, timer.mId), 8u);
  EXPECT_EQ(OffsetOf(timer, timer.mName), 16u);
  EXPECT_EQ(OffsetOf(timer, timer.mInterval), 56u);
  EXPECT_EQ(sizeof timer, 72u);
}

// Their SetType() and SetSelect() call into the library only when this word is not null.
TEST(PublicOffsetsTest, HostsOfTheFirstReleaseStillSayWhatTheyChange) {
  const KZFdData record(nullptr);
  const void* word = nullptr;
  std::memcpy(&word, reinterpret_cast<const char*>(&record) + 120, sizeof word);
  EXPECT_NE(word, nullptr);
}

}  // namespace
