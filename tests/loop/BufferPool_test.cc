#include "dorn/loop/BufferPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/TestApplication.h"

namespace {

constexpr std::size_t kSize = 0x80000;

// What earlier tests have left in the pool is taken out.
class BufferPoolTest : public ::testing::Test {
 protected:
  BufferPoolTest() {
    for (const std::size_t size : {kSize, dorn::kPooledSize}) {
      while (char* buffer = dorn::TakeKeptBuffer(size)) delete[] buffer;
    }
  }
};

TEST_F(BufferPoolTest, GivesBackWhatItKeptAndNothingOfWhatWasInIt) {
  char* const buffer = new char[kSize];
  std::memset(buffer, 'x', 4096);
  ASSERT_TRUE(dorn::KeepBuffer(buffer, kSize, 4096));
  EXPECT_EQ(dorn::TakeKeptBuffer(kSize - 1), nullptr);
  ASSERT_EQ(dorn::TakeKeptBuffer(kSize), buffer);
  EXPECT_EQ(std::count(buffer, buffer + 4096, '\0'), 4096);
  EXPECT_EQ(dorn::TakeKeptBuffer(kSize), nullptr);
  delete[] buffer;
}

TEST_F(BufferPoolTest, KeepsNoSmallOneAndNoneThatHasUsedMoreThanAPage) {
  const std::unique_ptr<char[]> buffer(new char[kSize]);
  EXPECT_FALSE(dorn::KeepBuffer(buffer.get(), kSize, 4097));
  EXPECT_FALSE(dorn::KeepBuffer(buffer.get(), dorn::kPooledSize - 1, 1));
}

TEST_F(BufferPoolTest, KeepsSixteen) {
  std::vector<char*> refused;
  for (int i = 0; i < 20; ++i) {
    char* const buffer = new char[dorn::kPooledSize];
    if (!dorn::KeepBuffer(buffer, dorn::kPooledSize, 0)) refused.push_back(buffer);
  }
  EXPECT_EQ(refused.size(), 4u);
  for (const char* buffer : refused) delete[] buffer;
}

TEST_F(BufferPoolTest, ARecordLeavesItsBufferToTheNextOneEmpty) {
  auto record = std::make_unique<TestRecord>(nullptr);
  ASSERT_TRUE(record->CreateBuffer(static_cast<int>(kSize)));
  record->Put("secret");
  record->Take(6);
  const char* const buffer = record->mDataBuffer;
  record.reset();
  TestRecord next(nullptr);
  ASSERT_TRUE(next.CreateBuffer(static_cast<int>(kSize)));
  EXPECT_EQ(next.mDataBuffer, buffer);
  EXPECT_EQ(next.GetDataLength(), 0);
  EXPECT_EQ(std::count(buffer, buffer + 6, '\0'), 6);
}

TEST_F(BufferPoolTest, ARecordThatHasUsedMoreThanAPageLeavesNothing) {
  auto record = std::make_unique<TestRecord>(nullptr);
  ASSERT_TRUE(record->CreateBuffer(static_cast<int>(kSize)));
  record->Put(std::string(5000, 'x'));
  record->Take(5000);
  record.reset();
  EXPECT_EQ(dorn::TakeKeptBuffer(kSize), nullptr);
}

TEST_F(BufferPoolTest, ABufferThatTheHostHasPutThereIsFreed) {
  auto record = std::make_unique<TestRecord>(nullptr);
  ASSERT_TRUE(record->CreateBuffer(static_cast<int>(kSize)));
  delete[] record->mDataBuffer;
  record->mDataBuffer = new char[10];
  record->mBufferSize = 10;
  record.reset();
  EXPECT_EQ(dorn::TakeKeptBuffer(kSize), nullptr);
}

// What a host frees, it may get again for a buffer of another size.
TEST_F(BufferPoolTest, ASmallerBufferThatTheHostHasPutAtTheSamePlaceIsFreed) {
  auto record = std::make_unique<TestRecord>(nullptr);
  ASSERT_TRUE(record->CreateBuffer(static_cast<int>(kSize)));
  const char* const made = record->mDataBuffer;
  record->mBufferSize = 10;  // As if the host had got that place for ten bytes.
  record.reset();
  char* const kept = dorn::TakeKeptBuffer(kSize);
  EXPECT_NE(kept, made);
  delete[] kept;
}

}  // namespace
