#include "dorn/base/EscapeText.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/Allocations.h"

namespace {

using dorn::EscapeText;
using dorn::UnescapeText;

std::string Escaped(const std::string& text) { return EscapeText(KZString(text)); }
std::string Unescaped(const std::string& text) { return UnescapeText(KZString(text)); }

TEST(EscapeTextTest, WritesWhatWouldEndOrForgeAStringAsJsonDoes) {
  EXPECT_EQ("say \\\"hi\\\"", Escaped("say \"hi\""));
  EXPECT_EQ("c:\\\\new", Escaped("c:\\new"));
  EXPECT_EQ("\\b\\f\\n\\r\\t", Escaped("\b\f\n\r\t"));
  EXPECT_EQ("\\u0000\\u0002\\u0003\\u001f", Escaped(std::string("\0\x02\x03\x1f", 4)));
}

TEST(EscapeTextTest, LeavesEverythingElse) {
  for (const char* text : {"", "a/b 'c'", "ポンプ", "\x7f\xff\xc3"}) {
    EXPECT_EQ(text, Escaped(text));
  }
}

TEST(UnescapeTextTest, ReadsEveryEscapeOfJson) {
  EXPECT_EQ("\"\\/\b\f\n\r\t", Unescaped("\\\"\\\\\\/\\b\\f\\n\\r\\t"));
  EXPECT_EQ("A\xc3\xa9\xe3\x83\x9d", Unescaped("\\u0041\\u00e9\\u30DD"));
  EXPECT_EQ("\xf0\x9f\x98\x80", Unescaped("\\ud83d\\ude00"));
  EXPECT_EQ(std::string("\0", 1), Unescaped("\\u0000"));
}

TEST(UnescapeTextTest, ReadsTheFirstAndTheLastDigitOfEachKind) {
  EXPECT_EQ("\xea\xaf\x8d\xee\xbc\x8a", Unescaped("\\uABCD\\uEF0A"));
  EXPECT_EQ("\xea\xaf\x8d\xee\xbc\x89", Unescaped("\\uabcd\\uef09"));
  for (const char* text : {"\\u000/", "\\u000:", "\\u000@", "\\u000G", "\\u000`", "\\u000g"}) {
    EXPECT_EQ(text, Unescaped(text));
  }
}

TEST(UnescapeTextTest, LeavesWhatIsNoEscape) {
  for (const char* text : {"\\", "a\\", "\\x", "\\u", "\\u12", "\\u12g4", "\\u 123", "\\ud83d",
                           "\\ud83dx", "\\ud83dxxde00", "\\ud83d\\ud83d", "\\ude00", "\\U0041"}) {
    EXPECT_EQ(text, Unescaped(text));
  }
}

TEST(UnescapeTextTest, WritesTheFirstAndTheLastCharacterOfEachLength) {
  EXPECT_EQ("\x7f\xc2\x80", Unescaped("\\u007f\\u0080"));
  EXPECT_EQ("\xdf\xbf\xe0\xa0\x80", Unescaped("\\u07ff\\u0800"));
  EXPECT_EQ("\xef\xbf\xbf\xf0\x90\x80\x80", Unescaped("\\uffff\\ud800\\udc00"));
  EXPECT_EQ("\xf4\x8f\xbf\xbf", Unescaped("\\udbff\\udfff"));
}

TEST(UnescapeTextTest, TakesTheHalvesOfPairsAloneForNoCharacters) {
  EXPECT_EQ("\xed\x9f\xbf\xee\x80\x80", Unescaped("\\ud7ff\\ue000"));
  for (const char* text : {"\\ud800", "\\udbff", "\\udc00", "\\udfff", "\\udc00\\ud800"}) {
    EXPECT_EQ(text, Unescaped(text));
  }
  EXPECT_EQ("\\ud800\xed\x9f\xbf", Unescaped("\\ud800\\ud7ff"));
  EXPECT_EQ("\\ud800\xee\x80\x80", Unescaped("\\ud800\\ue000"));
}

TEST(UnescapeTextTest, ReadsWhatFollowsHalfAPair) {
  EXPECT_EQ("\\ud83dA", Unescaped("\\ud83d\\u0041"));
  EXPECT_EQ("\\ud83d\xf0\x9f\x98\x80", Unescaped("\\ud83d\\ud83d\\ude00"));
}

TEST(EscapeTextTest, AsksForMemoryOnceWhereNothingIsEscaped) {
  const KZString text(std::string(100, 'x'));
  const Allocations escaping;
  const KZString escaped = EscapeText(text);
  EXPECT_EQ(escaping.Count(), 1U);
  EXPECT_EQ(escaped, text);
  const Allocations unescaping;
  const KZString unescaped = UnescapeText(text);
  EXPECT_EQ(unescaping.Count(), 1U);
  EXPECT_EQ(unescaped, text);
}

TEST(UnescapeTextTest, GivesBackWhateverWasEscaped) {
  std::mt19937 random(1);
  const std::string likely = "\"\\/ubfnrt0123dD8\n\x02\x03";
  for (int round = 0; round < 5000; ++round) {
    std::string text;
    for (unsigned length = random() % 20; length > 0; --length) {
      text += random() % 2 == 0 ? likely[random() % likely.size()] : static_cast<char>(random());
    }
    const std::string escaped = Escaped(text);
    ASSERT_EQ(text, Unescaped(escaped));
    for (const char byte : escaped) ASSERT_GE(static_cast<unsigned char>(byte), 0x20);
  }
}

}  // namespace
