// The character reader `input`: push-back, line count, matching.
#include <signal.h>

#include <string>
#include <type_traits>
#include <utility>

#include "dorn/json/JsonParser.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace {

using namespace std::string_literals;

static_assert(std::is_same_v<decltype(input::last_ch_), int>);
static_assert(std::is_same_v<decltype(input::ungot_), bool>);
static_assert(std::is_same_v<decltype(input::line_), int>);
static_assert(std::is_same_v<decltype(input::end_), const char*>);
static_assert(std::is_convertible_v<decltype(input::cur_), const char*>);

// An input over the bytes of a string that lives as long.
struct Reader {
  explicit Reader(std::string bytes)
      : text(std::move(bytes)), in(text.data(), text.data() + text.size()) {}
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  std::string text;
  input in;
};

TEST(JsonInputTest, StartsBeforeTheFirstByteOnLineOne) {
  Reader reader("abc");
  EXPECT_EQ(reader.in.cur_, reader.text.data());
  EXPECT_EQ(reader.in.end_, reader.text.data() + 3);
  EXPECT_EQ(reader.in.last_ch_, -1);
  EXPECT_FALSE(reader.in.ungot_);
  EXPECT_EQ(reader.in.line_, 1);
  EXPECT_EQ(reader.in.cur(), reader.text.data());
  EXPECT_EQ(reader.in.lastc(), -1);
  EXPECT_EQ(reader.in.line(), 1);
}

TEST(JsonInputTest, KeepsItsMembersInTheirOrder) {
  Reader reader("abc");
  const auto* object = reinterpret_cast<const char*>(&reader.in);
  EXPECT_EQ(reinterpret_cast<const char*>(&reader.in.cur_) - object, 0);
  EXPECT_EQ(reinterpret_cast<const char*>(&reader.in.end_) - object, 8);
  EXPECT_EQ(reinterpret_cast<const char*>(&reader.in.last_ch_) - object, 16);
  EXPECT_EQ(reinterpret_cast<const char*>(&reader.in.ungot_) - object, 20);
  EXPECT_EQ(reinterpret_cast<const char*>(&reader.in.line_) - object, 24);
}

TEST(JsonInputTest, GetcReadsEachByteAndThenTheEnd) {
  Reader reader("ab");
  EXPECT_EQ(reader.in.getc(), 'a');
  EXPECT_EQ(reader.in.lastc(), 'a');
  EXPECT_EQ(reader.in.cur(), reader.text.data() + 1);
  EXPECT_EQ(reader.in.getc(), 'b');
  EXPECT_EQ(reader.in.getc(), -1);
  EXPECT_EQ(reader.in.lastc(), -1);
  EXPECT_EQ(reader.in.getc(), -1);
  EXPECT_EQ(reader.in.cur(), reader.in.end_);
}

TEST(JsonInputTest, GetcDeliversUnsignedBytes) {
  Reader reader("\xFF\x80\x00\x7F"s);
  EXPECT_EQ(reader.in.getc(), 0xFF);
  EXPECT_EQ(reader.in.getc(), 0x80);
  EXPECT_EQ(reader.in.getc(), 0);
  EXPECT_EQ(reader.in.getc(), 0x7F);
  EXPECT_EQ(reader.in.getc(), -1);
}

TEST(JsonInputTest, EmptyRangeIsAtItsEnd) {
  Reader reader("");
  EXPECT_EQ(reader.in.getc(), -1);
  input none(nullptr, nullptr);
  EXPECT_EQ(none.getc(), -1);
}

TEST(JsonInputTest, UngetcReturnsTheCharacterOnceMore) {
  Reader reader("ab");
  reader.in.getc();
  reader.in.ungetc();
  EXPECT_TRUE(reader.in.ungot_);
  EXPECT_EQ(reader.in.cur(), reader.text.data() + 1) << "the position stays";
  EXPECT_EQ(reader.in.getc(), 'a');
  EXPECT_FALSE(reader.in.ungot_);
  EXPECT_EQ(reader.in.getc(), 'b');
}

TEST(JsonInputTest, UngetcAfterTheByte255PushesItBack) {
  Reader reader("\xFFz");
  reader.in.getc();
  reader.in.ungetc();
  EXPECT_TRUE(reader.in.ungot_);
  EXPECT_EQ(reader.in.getc(), 0xFF);
}

TEST(JsonInputTest, UngetcOfTheEndIsHarmless) {
  Reader reader("a");
  reader.in.ungetc();
  EXPECT_FALSE(reader.in.ungot_) << "nothing was read yet";
  reader.in.getc();
  reader.in.getc();
  reader.in.ungetc();
  reader.in.ungetc();
  EXPECT_FALSE(reader.in.ungot_);
  EXPECT_EQ(reader.in.getc(), -1);
}

TEST(JsonInputTest, UngetcIsPossibleAgainAfterAGetc) {
  Reader reader("ab");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(reader.in.getc(), 'a');
    reader.in.ungetc();
  }
  EXPECT_EQ(reader.in.getc(), 'a');
  EXPECT_EQ(reader.in.getc(), 'b');
}

TEST(JsonInputTest, LineAdvancesWithTheCharacterAfterTheLineFeed) {
  Reader reader("\n\na");
  reader.in.getc();
  EXPECT_EQ(reader.in.line(), 1);
  reader.in.getc();
  EXPECT_EQ(reader.in.line(), 2);
  reader.in.getc();
  EXPECT_EQ(reader.in.line(), 3);
}

TEST(JsonInputTest, LineStaysWhenAPushedBackCharacterReturns) {
  Reader reader("\na");
  reader.in.getc();
  reader.in.ungetc();
  EXPECT_EQ(reader.in.getc(), '\n');
  EXPECT_EQ(reader.in.line(), 1);
  reader.in.getc();
  EXPECT_EQ(reader.in.line(), 2);
  reader.in.ungetc();
  EXPECT_EQ(reader.in.getc(), 'a');
  EXPECT_EQ(reader.in.line(), 2);
}

TEST(JsonInputTest, LineStaysAtTheEndOfTheInput) {
  Reader reader("\n");
  reader.in.getc();
  EXPECT_EQ(reader.in.getc(), -1);
  EXPECT_EQ(reader.in.getc(), -1);
  EXPECT_EQ(reader.in.line(), 1);
}

TEST(JsonInputTest, SkipWsLeavesTheFirstOtherCharacter) {
  Reader reader(" \t\r\n x");
  reader.in.skip_ws();
  EXPECT_EQ(reader.in.line(), 2);
  EXPECT_EQ(reader.in.getc(), 'x');
  reader.in.skip_ws();
  EXPECT_EQ(reader.in.getc(), -1);
}

TEST(JsonInputTest, SkipWsSkipsNoOtherControlOrBlank) {
  for (const std::string& text : {"\v"s, "\f"s, "\0"s, "\xA0"s, "\xE3\x80\x80"s, "\x1F"s}) {
    Reader reader(text);
    reader.in.skip_ws();
    EXPECT_EQ(reader.in.getc(), static_cast<unsigned char>(text[0]));
  }
}

TEST(JsonInputTest, SkipWsAfterAPushBackStartsWithThatCharacter) {
  Reader reader(" x");
  reader.in.getc();
  reader.in.ungetc();
  reader.in.skip_ws();
  EXPECT_EQ(reader.in.getc(), 'x');
}

TEST(JsonInputTest, IsgetTakesTheCharacterOrLeavesIt) {
  Reader reader(" \n:x");
  EXPECT_FALSE(reader.in.isget(','));
  EXPECT_TRUE(reader.in.isget(':'));
  EXPECT_FALSE(reader.in.isget(':'));
  EXPECT_FALSE(reader.in.isget('y'));
  EXPECT_EQ(reader.in.getc(), 'x');
  EXPECT_FALSE(reader.in.isget('x')) << "at the end";
}

TEST(JsonInputTest, EveryWayToReadCountsALineFeedReadBefore) {
  const std::string text = "\n1\n";
  Reader isget(text);
  isget.in.getc();
  EXPECT_TRUE(isget.in.isget('1'));
  EXPECT_EQ(isget.in.line(), 2);
  Reader skipped(text);
  skipped.in.getc();
  skipped.in.skip_ws();
  EXPECT_EQ(skipped.in.line(), 2);
  Reader matched(text);
  matched.in.getc();
  EXPECT_TRUE(matched.in.match("1"));
  EXPECT_EQ(matched.in.line(), 2);
  Reader parsed(text);
  parsed.in.getc();
  value v;
  EXPECT_TRUE(value::_parse(v, parsed.in));
  EXPECT_EQ(parsed.in.line(), 2);
  Reader number(text);
  number.in.getc();
  EXPECT_TRUE(value::_parse_number(v, number.in));
  EXPECT_EQ(number.in.line(), 2);
  Reader list("\n1]");
  list.in.getc();
  EXPECT_TRUE(value::_parse_array(v, list.in));
  EXPECT_EQ(list.in.line(), 2);
  Reader quoted("\nab\n");
  quoted.in.getc();
  std::string read;
  EXPECT_FALSE(value::_parse_string(read, quoted.in))
      << "the line feed is the closing character, but a control";
  EXPECT_EQ(read, "ab");
  EXPECT_EQ(quoted.in.line(), 2);
}

TEST(JsonInputTest, MatchReadsThePattern) {
  Reader reader("ull,");
  EXPECT_TRUE(reader.in.match("ull"));
  EXPECT_EQ(reader.in.getc(), ',');
}

TEST(JsonInputTest, MatchLeavesTheFirstOtherCharacter) {
  Reader reader("uxl");
  EXPECT_FALSE(reader.in.match("ull"));
  EXPECT_EQ(reader.in.getc(), 'x');
}

TEST(JsonInputTest, MatchSkipsNoWhiteSpaceAndFailsAtTheEnd) {
  Reader spaced(" ull");
  EXPECT_FALSE(spaced.in.match("ull"));
  EXPECT_EQ(spaced.in.getc(), ' ');
  Reader ended("ul");
  EXPECT_FALSE(ended.in.match("ull"));
  EXPECT_EQ(ended.in.getc(), -1);
}

TEST(JsonInputTest, MatchOfAnEmptyPatternReadsNothing) {
  Reader reader("a");
  EXPECT_TRUE(reader.in.match(""));
  EXPECT_EQ(reader.in.getc(), 'a');
}

TEST(JsonInputTest, MatchComparesBytesAbove127) {
  Reader reader("\xE3\x81\x82");
  EXPECT_TRUE(reader.in.match("\xE3\x81\x82"));
}

TEST(JsonInputDeathTest, ASecondPushBackEndsTheProcess) {
  Reader reader("ab");
  reader.in.getc();
  reader.in.ungetc();
  EXPECT_EXIT(reader.in.ungetc(), testing::KilledBySignal(SIGABRT),
              testing::HasSubstr(": Assertion `!ungot_' failed.\n"));
}

}  // namespace
