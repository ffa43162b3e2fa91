#include "tools/dorn-load/Marks.h"

#include <gtest/gtest.h>

namespace dorn::load {
namespace {

constexpr Us kMemory = 5 * kSecond;

TEST(MarksTest, CountsEachOtherStationOnce) {
  Marks marks(3, kMemory);
  marks.Set(0, 0, "17", 1000);
  EXPECT_EQ(marks.Told(1, 0, "17", 2000), 1000);
  EXPECT_EQ(marks.Told(2, 0, "17", 2500), 1000);
  EXPECT_EQ(marks.Told(1, 0, "17", 3000), std::nullopt);
}

TEST(MarksTest, DoesNotCountTheStationThatSetIt) {
  Marks marks(2, kMemory);
  marks.Set(0, 0, "17", 1000);
  EXPECT_EQ(marks.Told(0, 0, "17", 2000), std::nullopt);
}

TEST(MarksTest, DoesNotKnowWhatNobodySet) {
  Marks marks(2, kMemory);
  marks.Set(0, 0, "17", 1000);
  EXPECT_EQ(marks.Told(1, 0, "18", 2000), std::nullopt);
  EXPECT_EQ(marks.Told(1, 1, "17", 2000), std::nullopt);
}

// Of ON, OFF, ON in a short time, ON may be the first one that is late or the third.
TEST(MarksTest, DoesNotCountAValueThatComesAgain) {
  Marks marks(2, kMemory);
  marks.Set(0, 0, "ON", 1000);
  marks.Set(0, 0, "OFF", 2000);
  marks.Set(0, 0, "ON", 3000);
  EXPECT_EQ(marks.Told(1, 0, "ON", 4000), std::nullopt);
  EXPECT_EQ(marks.Told(1, 0, "OFF", 4000), 2000);
}

TEST(MarksTest, CountsItAgainWhenTheFirstOneCannotBeUnderWay) {
  Marks marks(2, kMemory);
  marks.Set(0, 0, "ON", 1000);
  marks.Set(0, 0, "ON", 2000 + kMemory);
  EXPECT_EQ(marks.Told(1, 0, "ON", 3000 + kMemory), 2000 + kMemory);
}

// What is too old is forgotten now and then, all of it together.
TEST(MarksTest, CountsItAgainThoughTheFirstOneIsNotForgottenYet) {
  Marks marks(2, kMemory);
  marks.Set(0, 0, "ON", kSecond);
  marks.Set(0, 1, "1", kMemory + kSecond / 2);
  marks.Set(0, 0, "ON", kMemory + 2 * kSecond);
  EXPECT_EQ(marks.Told(1, 0, "ON", kMemory + 3 * kSecond), kMemory + 2 * kSecond);
}

// What a station is told of an older change once it knows the newer one is a repetition.
TEST(MarksTest, DoesNotCountWhatIsOlderThanWhatWasSeen) {
  Marks marks(2, kMemory);
  marks.Set(0, 0, "1", 1000);
  marks.Set(0, 0, "2", 2000);
  EXPECT_EQ(marks.Told(1, 0, "2", 3000), 2000);
  EXPECT_EQ(marks.Told(1, 0, "1", 3000), std::nullopt);
}

TEST(MarksTest, ForgetsWhatIsTooOld) {
  Marks marks(2, kMemory);
  marks.Set(0, 0, "1", 1000);
  EXPECT_EQ(marks.Told(1, 0, "1", 1001 + kMemory), std::nullopt);
  marks.Set(0, 0, "2", 3000 + 2 * kMemory);
  EXPECT_EQ(marks.Told(1, 0, "2", 4000 + 2 * kMemory), 3000 + 2 * kMemory);
}

// A host has as many objects as it likes.
TEST(MarksTest, TakesNoMemoryForWhatWasNotTouched) {
  constexpr std::size_t kFar = std::size_t{1} << 40;
  Marks marks(60'000, kMemory);
  marks.Set(0, kFar, "1", 1000);
  EXPECT_EQ(marks.Told(1, kFar, "1", 2000), 1000);
  EXPECT_EQ(marks.Told(1, kFar - 1, "1", 2000), std::nullopt);
}

}  // namespace
}  // namespace dorn::load
