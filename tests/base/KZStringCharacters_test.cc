// The operations of the string that walk UTF-8 characters: decoding, counting, cutting, upper case.
#include <climits>
#include <clocale>
#include <string>
#include <type_traits>
#include <utility>

#include "dorn/base/KZString.h"
#include "gtest/gtest.h"
#include "tests/support/Allocations.h"

namespace {

using namespace std::string_literals;

static_assert(std::is_same_v<decltype(std::declval<const KZString&>().GetCharLength()), int>);
static_assert(std::is_same_v<decltype(std::declval<KZString&>().GetChar(0, 0)), KZString>);

struct Decoded {
  int length;
  unsigned int code;
};

// What is put into the out-parameter before each call, to see whether it was written.
constexpr unsigned int kUntouched = 0xABCDEF;

Decoded Decode(const std::string& bytes, int offset = 0) {
  const KZString text;
  unsigned int code = kUntouched;
  const int length =
      text.GetUTF8Code(reinterpret_cast<const unsigned char*>(bytes.c_str()), offset, &code);
  return {length, code};
}

TEST(KZStringCharactersTest, EveryLeadByteHasItsLengthAndMask) {
  struct Row {
    unsigned int first;
    unsigned int last;
    int length;
    unsigned int mask;
  };
  const Row rows[] = {
      {0x01, 0xBF, 1, 0xFF}, {0xC0, 0xDF, 2, 0x1F}, {0xE0, 0xEF, 3, 0x0F},
      {0xF0, 0xF7, 4, 0x07}, {0xF8, 0xFB, 5, 0x03}, {0xFC, 0xFD, 6, 0x01},
  };
  for (const Row& row : rows) {
    for (unsigned int lead = row.first; lead <= row.last; ++lead) {
      std::string bytes(1, static_cast<char>(lead));
      unsigned int code = lead & row.mask;
      for (int i = 1; i < row.length; ++i) {
        bytes += static_cast<char>(0x80 | i);
        code = (code << 6) | static_cast<unsigned int>(i);
      }
      bytes += "\x81\x82";
      const Decoded decoded = Decode(bytes);
      EXPECT_EQ(decoded.length, row.length) << std::hex << lead;
      EXPECT_EQ(decoded.code, code) << std::hex << lead;
    }
  }
}

TEST(KZStringCharactersTest, DecodesKnownCharacters) {
  struct Row {
    const char* bytes;
    int length;
    unsigned int code;
  };
  const Row rows[] = {
      {"A", 1, 0x41},
      {"\x7F", 1, 0x7F},
      {"é", 2, 0xE9},
      {"あ", 3, 0x3042},
      {"\xF0\x9F\x98\x80", 4, 0x1F600},
      {"\xFB\xBF\xBF\xBF\xBF", 5, 0x3FFFFFF},
      {"\xFD\xBF\xBF\xBF\xBF\xBF", 6, 0x7FFFFFFF},
  };
  for (const Row& row : rows) {
    const Decoded decoded = Decode(row.bytes);
    EXPECT_EQ(decoded.length, row.length) << row.bytes;
    EXPECT_EQ(decoded.code, row.code) << row.bytes;
  }
}

TEST(KZStringCharactersTest, ChecksNeitherOverlongFormsNorRanges) {
  struct Row {
    const char* name;
    const char* bytes;
    int length;
    unsigned int code;
  };
  const Row rows[] = {
      {"overlong zero", "\xC0\x80", 2, 0},
      {"overlong A", "\xC1\x81", 2, 0x41},
      {"surrogate", "\xED\xA0\x80", 3, 0xD800},
      {"above U+10FFFF", "\xF4\x90\x80\x80", 4, 0x110000},
      {"largest of four bytes", "\xF7\xBF\xBF\xBF", 4, 0x1FFFFF},
  };
  for (const Row& row : rows) {
    const Decoded decoded = Decode(row.bytes);
    EXPECT_EQ(decoded.length, row.length) << row.name;
    EXPECT_EQ(decoded.code, row.code) << row.name;
  }
}

TEST(KZStringCharactersTest, StrayContinuationBytesAreCharacters) {
  EXPECT_EQ(Decode("\x80").length, 1);
  EXPECT_EQ(Decode("\x80").code, 0x80u);
  EXPECT_EQ(Decode("\xBF").code, 0xBFu);
}

TEST(KZStringCharactersTest, EndAndInvalidLeadBytesGiveZeroAndNoCode) {
  for (const char* bytes : {"", "\xFE", "\xFF"}) {
    const Decoded decoded = Decode(bytes);
    EXPECT_EQ(decoded.length, 0);
    EXPECT_EQ(decoded.code, kUntouched);
  }
}

TEST(KZStringCharactersTest, IncompleteSequencesGiveZero) {
  struct Row {
    const char* name;
    const char* bytes;
    unsigned int code;  // The bits collected before the fault.
  };
  const Row rows[] = {
      {"two bytes, a letter instead",
       "\xC3"
       "A",
       0x03},
      {"two bytes, ended", "\xC3", 0x03},
      {"three bytes, a letter in place of the last",
       "\xE3\x81"
       "A",
       0xC1},
      {"three bytes, ended", "\xE3\x81", 0xC1},
      {"four bytes, a lead byte in place of the second", "\xF0\xC3\x80\x80", 0x00},
      {"six bytes, five of them there", "\xFD\xBF\xBF\xBF\xBF", 0x1FFFFFF},
  };
  for (const Row& row : rows) {
    const Decoded decoded = Decode(row.bytes);
    EXPECT_EQ(decoded.length, 0) << row.name;
    EXPECT_EQ(decoded.code, row.code) << row.name;
  }
}

TEST(KZStringCharactersTest, DecodesAtAByteOffset) {
  const std::string bytes = "aあb";
  EXPECT_EQ(Decode(bytes, 0).code, 0x61u);
  EXPECT_EQ(Decode(bytes, 1).code, 0x3042u);
  EXPECT_EQ(Decode(bytes, 2).length, 1) << "inside a character: a stray continuation byte";
  EXPECT_EQ(Decode(bytes, 4).code, 0x62u);
  EXPECT_EQ(Decode(bytes, 5).length, 0);
}

TEST(KZStringCharactersTest, CharLengthCountsCharactersUpToTheFirstFault) {
  struct Row {
    const char* name;
    std::string input;
    int expected;
  };
  const Row rows[] = {
      {"empty", "", 0},
      {"ASCII", "abc", 3},
      {"three-byte character", "aあb", 3},
      {"only Japanese", "認証中", 3},
      {"five and six bytes", "\xF8\x88\x80\x80\x80\xFC\x84\x80\x80\x80\x80", 2},
      {"stray continuation bytes", "\x80\xBF", 2},
      {"overlong zero does not end the text",
       "a\xC0\x80"
       "b",
       3},
      {"lead byte without continuation",
       "x\xC3"
       "A",
       1},
      {"truncated at the end", "ab\xE3\x81", 2},
      {"invalid byte",
       "ab\xFE"
       "cd",
       2},
      {"zero byte", "ab\0cd"s, 2},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(KZString(row.input).GetCharLength(), row.expected) << row.name;
  }
}

TEST(KZStringCharactersTest, GetCharCutsByCharacterIndex) {
  struct Row {
    const char* name;
    std::string input;
    int start;
    int length;
    std::string expected;
  };
  const Row rows[] = {
      {"the three-byte character", "aあb", 1, 1, "あ"},
      {"to the end", "aあb", 1, -1, "あb"},
      {"start past the last", "aあb", 3, 1, ""},
      {"start past the last, to the end", "aあb", 3, -1, ""},
      {"start far past the last", "aあb", INT_MAX, INT_MAX, ""},
      {"negative start", "aあb", -1, 2, ""},
      {"negative start to the end", "aあb", -1, -1, ""},
      {"most negative start", "aあb", INT_MIN, 3, ""},
      {"more than there is", "aあb", 0, 10, "aあb"},
      {"more than there is from within", "aあb", 2, 10, "b"},
      {"as many as an int holds", "aあb", 1, INT_MAX, "あb"},
      {"exactly all", "aあb", 0, 3, "aあb"},
      {"the first two", "aあb", 0, 2, "aあ"},
      {"nothing asked for", "aあb", 0, 0, ""},
      {"nothing asked for at a bad start", "aあb", -5, 0, ""},
      {"most negative length", "aあb", 0, INT_MIN, "aあb"},
      {"empty string", "", 0, 1, ""},
      {"empty string to the end", "", 0, -1, ""},
      {"up to an invalid byte",
       "xy\xFE"
       "z",
       0, 5, "xy"},
      {"from a start before an invalid byte to the end",
       "xy\xFE"
       "z",
       1, -1,
       "y\xFE"
       "z"},
      {"start at an invalid byte",
       "xy\xFE"
       "z",
       2, 1, ""},
      {"start at an invalid byte to the end",
       "xy\xFE"
       "z",
       2, -1, ""},
      {"truncated character is not counted", "x\xE3\x81", 0, 2, "x"},
      {"truncated character is part of the rest", "x\xE3\x81", 0, -1, "x\xE3\x81"},
      {"zero byte ends the walk", "xy\0z"s, 0, 4, "xy"},
      {"zero byte is part of the rest", "xy\0z"s, 1, -1, "y\0z"s},
      {"stray continuation byte",
       "\x80"
       "a",
       0, 1, "\x80"},
  };
  for (const Row& row : rows) {
    KZString text(row.input);
    EXPECT_TRUE(text.GetChar(row.start, row.length) == row.expected) << row.name;
    EXPECT_TRUE(text == row.input) << row.name;
  }
}

TEST(KZStringCharactersTest, MakeUpperReturnsAnUpperCasedCopy) {
  struct Row {
    const char* name;
    std::string input;
    std::string expected;
  };
  const Row rows[] = {
      {"ASCII", "abz AZ 09_", "ABZ AZ 09_"},
      {"empty", "", ""},
      {"multi-byte characters stay", "aあb", "AあB"},
      {"full-width and accented letters stay", "éａ", "éａ"},
      {"invalid sequence ends the copy",
       "x\xC3"
       "A",
       "X"},
      {"invalid byte ends the copy",
       "ab\xFF"
       "cd",
       "AB"},
      {"zero byte ends the copy", "ab\0cd"s, "AB"},
      {"stray continuation bytes stay",
       "a\x80\xBF"
       "b",
       "A\x80\xBF"
       "B"},
  };
  for (const Row& row : rows) {
    KZString text(row.input);
    EXPECT_TRUE(text.MakeUpper() == row.expected) << row.name;
    EXPECT_TRUE(text == row.input) << row.name;
  }
}

TEST(KZStringCharactersTest, MakeUpperAsksForMemoryOnce) {
  const KZString text(std::string(100, 'x'));
  const Allocations asked;
  const KZString upper = text.MakeUpper();
  EXPECT_EQ(asked.Count(), 1U);
  EXPECT_TRUE(upper == std::string(100, 'X'));
}

TEST(KZStringCharactersTest, MakeUpperKeepsMultiByteCharactersInAUtf8Locale) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.utf8"), nullptr);
  const KZString upper = KZString("aéあ\x80z").MakeUpper();
  std::setlocale(LC_ALL, "C");
  EXPECT_TRUE(upper == "Aéあ\x80Z");
}

}  // namespace
