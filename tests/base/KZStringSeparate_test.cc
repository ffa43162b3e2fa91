// Splitting a string into a string array.
#include <string>
#include <vector>

#include "dorn/base/KZString.h"
#include "gtest/gtest.h"

namespace {

using namespace std::string_literals;

std::vector<std::string> Pieces(KZStringArray& array) {
  std::vector<std::string> pieces;
  for (int i = 0; i < array.Size(); ++i) pieces.push_back(array[i]);
  return pieces;
}

TEST(KZStringSeparateTest, SplitsAtEachSeparator) {
  struct Row {
    const char* name;
    std::string input;
    std::vector<std::string> expected;
  };
  const Row rows[] = {
      {"separator at the end", "a,b,", {"a", "b"}},
      {"separator at the start", ",a", {"", "a"}},
      {"empty string", "", {}},
      {"no separator", "abc", {"abc"}},
      {"only a separator", ",", {""}},
      {"two separators", ",,", {"", ""}},
      {"empty piece inside", "a,,b", {"a", "", "b"}},
      {"blanks stay", " a , b ", {" a ", " b "}},
      {"multi-byte pieces", "電圧,電流", {"電圧", "電流"}},
  };
  for (const Row& row : rows) {
    KZString text(row.input);
    KZStringArray array;
    text.Separate(',', array);
    EXPECT_EQ(Pieces(array), row.expected) << row.name;
    EXPECT_TRUE(text == row.input) << row.name;
  }
}

TEST(KZStringSeparateTest, AppendsToTheArray) {
  KZStringArray array;
  array += "kept";
  KZString("a,b").Separate(',', array);
  KZString("").Separate(',', array);
  EXPECT_EQ(Pieces(array), (std::vector<std::string>{"kept", "a", "b"}));
}

TEST(KZStringSeparateTest, TakesAtMostAHundredPiecesAndDropsTheRest) {
  KZStringArray commas;
  KZString(std::string(150, ',')).Separate(',', commas);
  EXPECT_EQ(Pieces(commas), std::vector<std::string>(100, ""));

  std::string numbers;
  for (int i = 0; i < 150; ++i) numbers += std::to_string(i) + ",";
  KZStringArray array;
  KZString(numbers + "a long remainder").Separate(',', array);
  ASSERT_EQ(array.Size(), 100);
  EXPECT_TRUE(array[0] == "0");
  EXPECT_TRUE(array[99] == "99");
}

TEST(KZStringSeparateTest, CountsTheLimitForEachCallAlone) {
  KZStringArray array;
  KZString(std::string(150, ',')).Separate(',', array);
  KZString("x").Separate(',', array);
  EXPECT_EQ(array.Size(), 101);
  EXPECT_TRUE(array[100] == "x");
}

TEST(KZStringSeparateTest, HoldsNearItsLimit) {
  struct Row {
    const char* name;
    std::string input;
    int expected;
  };
  const Row rows[] = {
      {"99 separators and a last piece", std::string(99, ',') + "x", 100},
      {"99 separators and nothing behind", std::string(99, ','), 99},
      {"100 separators and nothing behind", std::string(100, ','), 100},
      {"100 separators drop the last piece", std::string(100, ',') + "x", 100},
  };
  for (const Row& row : rows) {
    KZStringArray array;
    KZString(row.input).Separate(',', array);
    EXPECT_EQ(array.Size(), row.expected) << row.name;
  }
}

TEST(KZStringSeparateTest, MaySplitAnElementIntoItsOwnArray) {
  KZStringArray array;
  array += "first piece is a long text,second piece is a long text";
  array[0].Separate(',', array);
  EXPECT_EQ(Pieces(array), (std::vector<std::string>{
                               "first piece is a long text,second piece is a long text",
                               "first piece is a long text", "second piece is a long text"}));
}

TEST(KZStringSeparateTest, SplitsAtZeroBytesAndKeepsThemInPieces) {
  KZStringArray array;
  KZString("a\0b"s).Separate('\0', array);
  EXPECT_EQ(Pieces(array), (std::vector<std::string>{"a", "b"}));
  KZStringArray kept;
  KZString("a\0b,c"s).Separate(',', kept);
  EXPECT_EQ(Pieces(kept), (std::vector<std::string>{"a\0b"s, "c"}));
}

TEST(KZStringSeparateTest, TakesSeparatorsAboveAscii) {
  KZStringArray array;
  KZString(
      "a\xFF"
      "b")
      .Separate('\xFF', array);
  EXPECT_EQ(Pieces(array), (std::vector<std::string>{"a", "b"}));
}

}  // namespace
