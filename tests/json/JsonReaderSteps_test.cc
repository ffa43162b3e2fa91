// The single steps of the reader, which hosts may call on an input of their own.
#include <string>
#include <type_traits>
#include <utility>

#include "dorn/json/JsonParser.h"
#include "gtest/gtest.h"

namespace {

using namespace std::string_literals;

static_assert(std::is_same_v<decltype(value::_parse_quadhex(std::declval<input&>())), int>);

// An input over the bytes of a string that lives as long.
struct Reader {
  explicit Reader(std::string bytes)
      : text(std::move(bytes)), in(text.data(), text.data() + text.size()) {}
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  std::string text;
  input in;
};

TEST(JsonReaderStepsTest, ParseReadsOneValueAfterAnother) {
  Reader reader(" 12 true[1]'x'{}");
  value v;
  EXPECT_TRUE(value::_parse(v, reader.in));
  EXPECT_EQ(v.get<int>(), 12);
  EXPECT_TRUE(value::_parse(v, reader.in));
  EXPECT_EQ(v.get<bool>(), true);
  EXPECT_TRUE(value::_parse(v, reader.in));
  EXPECT_EQ(v.get<array>().size(), 1u);
  EXPECT_TRUE(value::_parse(v, reader.in));
  EXPECT_EQ(v.get<std::string>(), "x");
  EXPECT_TRUE(value::_parse(v, reader.in));
  EXPECT_TRUE(v.get<object>().empty());
  EXPECT_FALSE(value::_parse(v, reader.in)) << "the end of the input";
}

TEST(JsonReaderStepsTest, ParseLeavesACharacterThatBeginsNoValue) {
  Reader reader(" x");
  value v;
  EXPECT_FALSE(value::_parse(v, reader.in));
  EXPECT_EQ(reader.in.getc(), 'x');
}

TEST(JsonReaderStepsTest, StringEndsWithTheQuoteThatWasReadLast) {
  Reader reader("'a\"b'c");
  reader.in.getc();
  std::string text;
  EXPECT_TRUE(value::_parse_string(text, reader.in));
  EXPECT_EQ(text, "a\"b");
  EXPECT_EQ(reader.in.getc(), 'c');
}

TEST(JsonReaderStepsTest, StringAppendsToTheText) {
  Reader reader("\"b\"");
  reader.in.getc();
  std::string text = "a";
  EXPECT_TRUE(value::_parse_string(text, reader.in));
  EXPECT_EQ(text, "ab");
}

TEST(JsonReaderStepsTest, StringValueHoldsThePartReadBeforeAFailure) {
  Reader reader("\"ab\\q\"");
  reader.in.getc();
  value v(7);
  EXPECT_FALSE(value::_parse_string(v, reader.in));
  ASSERT_TRUE(v.is<std::string>());
  EXPECT_EQ(v.get<std::string>(), "ab");
}

TEST(JsonReaderStepsTest, StringLeavesTheControlCharacterThatEndedIt) {
  Reader reader("\"a\nb");
  reader.in.getc();
  std::string text;
  EXPECT_FALSE(value::_parse_string(text, reader.in));
  EXPECT_EQ(text, "a");
  EXPECT_EQ(reader.in.getc(), '\n');
}

TEST(JsonReaderStepsTest, ContainersAreReadBehindTheirBracket) {
  Reader list("1,2]x");
  value v;
  EXPECT_TRUE(value::_parse_array(v, list.in));
  EXPECT_EQ(v.get<array>().size(), 2u);
  EXPECT_EQ(list.in.getc(), 'x');

  Reader map("'a':1}x");
  EXPECT_TRUE(value::_parse_object(v, map.in));
  EXPECT_EQ(v.get("a").get<int>(), 1);
  EXPECT_EQ(map.in.getc(), 'x');
}

TEST(JsonReaderStepsTest, AContainerMayEndWhereItBegins) {
  Reader list(" ]x");
  value v(7);
  EXPECT_TRUE(value::_parse_array(v, list.in));
  ASSERT_TRUE(v.is<array>());
  EXPECT_TRUE(v.get<array>().empty());
  EXPECT_EQ(list.in.getc(), 'x');

  Reader map(" }x");
  EXPECT_TRUE(value::_parse_object(v, map.in));
  ASSERT_TRUE(v.is<object>());
  EXPECT_TRUE(v.get<object>().empty());
  EXPECT_EQ(map.in.getc(), 'x');
}

TEST(JsonReaderStepsTest, NumberLeavesTheCharacterThatEndedIt) {
  Reader reader("1.5e1x");
  value v;
  EXPECT_TRUE(value::_parse_number(v, reader.in));
  EXPECT_EQ(v.get<double>(), 15.0);
  EXPECT_EQ(reader.in.getc(), 'x');
}

TEST(JsonReaderStepsTest, NumberCollectsSignsAndPointsWhereverTheyStand) {
  Reader integer("+5,");
  value v;
  EXPECT_TRUE(value::_parse_number(v, integer.in));
  EXPECT_EQ(v.get<int>(), 5);
  Reader none("x");
  EXPECT_TRUE(value::_parse_number(v, none.in)) << "atoi of nothing";
  EXPECT_EQ(v.get<int>(), 0);
  Reader real(".5]");
  EXPECT_TRUE(value::_parse_number(v, real.in));
  EXPECT_EQ(v.get<double>(), 0.5);
}

TEST(JsonReaderStepsTest, QuadhexReadsFourDigits) {
  const std::pair<const char*, int> rows[] = {
      {"0123", 0x123},  {"4567", 0x4567}, {"89ab", 0x89AB},  {"cdef", 0xCDEF}, {"ABCD", 0xABCD},
      {"EF98", 0xEF98}, {"G000", -1},     {"g000", -1},      {"0000", 0},      {"00e9", 0xE9},
      {"FFFF", 0xFFFF}, {"ffff", 0xFFFF}, {"1a2B3", 0x1A2B}, {"8000", 0x8000}, {"12", -1},
      {"", -1},         {"12g4", -1},     {"-001", -1},      {"0x12", -1},     {"@123", -1},
      {"`123", -1},     {":123", -1},     {"/123", -1},
  };
  for (const auto& [text, expected] : rows) {
    Reader reader(text);
    EXPECT_EQ(value::_parse_quadhex(reader.in), expected) << text;
  }
}

TEST(JsonReaderStepsTest, QuadhexLeavesACharacterThatIsNoDigit) {
  Reader reader("12g4");
  EXPECT_EQ(value::_parse_quadhex(reader.in), -1);
  EXPECT_EQ(reader.in.getc(), 'g');
  Reader whole("12345");
  EXPECT_EQ(value::_parse_quadhex(whole.in), 0x1234);
  EXPECT_EQ(whole.in.getc(), '5');
}

TEST(JsonReaderStepsTest, CodepointAppendsUtf8) {
  Reader reader("D83D\\uDE00x");
  std::string text = "a";
  EXPECT_TRUE(value::_parse_codepoint(text, reader.in));
  EXPECT_EQ(text, "a\xF0\x9F\x98\x80");
  EXPECT_EQ(reader.in.getc(), 'x');
}

TEST(JsonReaderStepsTest, CodepointAppendsNothingWhenItFails) {
  for (const char* bytes : {"DC00", "D83D", "D83Dx", "D83D\\n", "D83D\\u0041", "12", ""}) {
    Reader reader(bytes);
    std::string text = "a";
    EXPECT_FALSE(value::_parse_codepoint(text, reader.in)) << bytes;
    EXPECT_EQ(text, "a") << bytes;
  }
}

}  // namespace
