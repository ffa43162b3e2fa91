// Copies and comparisons of short texts, at every length at which another way is taken.
#include "dorn/base/ShortCopy.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr std::size_t kLongest = 40;

// No two bytes alike.
std::string TextOf(std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += static_cast<char>('0' + i);
  return text;
}

TEST(ShortCopyTest, ACopyHasEveryByteAndNoOther) {
  for (std::size_t size = 0; size <= kLongest; ++size) {
    std::string to(size + 2, '#');
    EXPECT_EQ(dorn::Put(to.data() + 1, TextOf(size)), to.data() + 1 + size);
    EXPECT_EQ(to, "#" + TextOf(size) + "#");
  }
}

TEST(ShortCopyTest, TextsAreTheSameIfEachByteIs) {
  for (std::size_t size = 0; size <= kLongest; ++size) {
    const std::string text = TextOf(size);
    EXPECT_TRUE(dorn::IsSame(text, TextOf(size))) << size;
    EXPECT_FALSE(dorn::IsSame(text, TextOf(size + 1))) << size;
    for (std::size_t i = 0; i < size; ++i) {
      std::string other = text;
      other[i] = '#';
      EXPECT_FALSE(dorn::IsSame(text, other)) << size << ' ' << i;
      EXPECT_FALSE(dorn::IsSame(other, text)) << size << ' ' << i;
    }
  }
}

TEST(ShortCopyTest, AssignedTextsReplaceThoseOfAnyLength) {
  for (std::size_t before = 0; before <= kLongest; ++before) {
    for (std::size_t size = 0; size <= kLongest; ++size) {
      std::string to(before, '#');
      dorn::Assign(to, TextOf(size));
      ASSERT_EQ(to, TextOf(size));
    }
  }
}

TEST(ShortCopyTest, RoomIsBehindWhatIsThere) {
  for (const std::size_t size : {0, 1, 15, 16, 255, 256, 257, 5000}) {
    std::string out = "before";
    char* const room = dorn::AppendRoom(out, size);
    EXPECT_EQ(room, out.data() + 6);
    ASSERT_EQ(out, "before" + std::string(size, '\0'));
  }
}

}  // namespace
