// How bytes become texts, with bytes alone.
#include "dorn/server/MessageCutter.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using dorn::MessageCutter;

std::string Frame(const std::string& text) { return "\x02" + text + "\x03"; }

TEST(MessageCutterTest, FindsTheEndOfTheFirstMessage) {
  MessageCutter cutter;
  EXPECT_EQ(5U, cutter.FindMessage(Frame("abc") + Frame("d")));
}

TEST(MessageCutterTest, AnIncompleteMessageHasNoLength) {
  MessageCutter cutter;
  EXPECT_EQ(0U, cutter.FindMessage("\x02"
                                   "abc"));
  EXPECT_EQ(0U, cutter.FindMessage(""));
}

TEST(MessageCutterTest, FindsAnEndThatArrivesLater) {
  const std::string bytes = Frame("abc");
  MessageCutter cutter;
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_EQ(0U, cutter.FindMessage(bytes.substr(0, length))) << length;
  }
  EXPECT_EQ(bytes.size(), cutter.FindMessage(bytes));
}

TEST(MessageCutterTest, SaysTheSameWhenAskedTwice) {
  MessageCutter cutter;
  const std::string bytes = "xy" + Frame("abc");
  EXPECT_EQ(2U, cutter.CountGarbage(bytes));
  EXPECT_EQ(bytes.size(), cutter.FindMessage(bytes));
  EXPECT_EQ(bytes.size(), cutter.FindMessage(bytes));
}

TEST(MessageCutterTest, CountsWhatPrecedesTheFirstStart) {
  EXPECT_EQ(3U, MessageCutter().CountGarbage("xyz" + Frame("a")));
  EXPECT_EQ(0U, MessageCutter().CountGarbage(Frame("a")));
  EXPECT_EQ(3U, MessageCutter().CountGarbage("\x03\x03\x03\x02"));
}

TEST(MessageCutterTest, WithoutAnyStartNothingIsGarbage) {
  MessageCutter cutter;
  EXPECT_EQ(0U, cutter.CountGarbage("xyz"));
  EXPECT_EQ(0U, cutter.CountGarbage("xyz\x03"));
  EXPECT_EQ(4U, cutter.CountGarbage("xyz\x03\x02"));
}

// What was searched before is not looked at again: bytes that are changed without a word are lost.
TEST(MessageCutterTest, SearchesEachByteOnce) {
  MessageCutter cutter;
  EXPECT_EQ(0U, cutter.FindMessage("\x02"
                                   "abc"));
  EXPECT_EQ(0U, cutter.FindMessage(Frame("ab")));
  EXPECT_EQ(0U, cutter.CountGarbage("abcd"));
  EXPECT_EQ(0U, cutter.CountGarbage("ab\x02"
                                    "d"));
}

TEST(MessageCutterTest, LooksAtEverythingAgainAfterForget) {
  MessageCutter cutter;
  EXPECT_EQ(0U, cutter.FindMessage("abcd"));
  EXPECT_EQ(0U, cutter.CountGarbage("abcd"));
  cutter.Forget();
  EXPECT_EQ(2U, cutter.CountGarbage("ab\x02\x03"));
  EXPECT_EQ(4U, cutter.FindMessage("ab\x02\x03"));
  cutter.Forget();
  EXPECT_EQ(1U, cutter.FindMessage("\x03"));
}

TEST(MessageCutterTest, SearchesEachByteOnceBehindForgetToo) {
  MessageCutter cutter;
  cutter.Forget();
  EXPECT_EQ(0U, cutter.FindMessage("\x02"
                                   "abc"));
  EXPECT_EQ(0U, cutter.FindMessage(Frame("ab")));
}

struct Text {
  std::string_view message;
  const char* text;
};

TEST(MessageCutterTest, TheTextLiesBetweenTheFirstAndTheLastByte) {
  using namespace std::string_view_literals;
  constexpr Text kTexts[] = {
      {"\x02"
       "abc\x03"sv,
       "abc"},
      {"\x02\x03"sv, ""},
      {"\x03"sv, ""},
      {"xabc\x03"sv, "abc"},
      {"\x02"
       "a\0b\x03"sv,
       "a"},
      {"\x02"
       "a\x02"
       "b\x03"sv,
       "a\x02"
       "b"},
      {"\x02\0\x03"sv, ""},
  };
  for (const Text& row : kTexts) EXPECT_EQ(row.text, MessageCutter::TextOf(row.message));
}

// The rules, read off the whole stream at once: garbage goes once for each delivery, then every
// message up to its ETX.
std::vector<std::string> CutPlainly(const std::vector<std::string>& pieces) {
  std::string held;
  std::vector<std::string> texts;
  for (const std::string& piece : pieces) {
    held += piece;
    const std::size_t start = held.find('\x02');
    if (start != std::string::npos) held.erase(0, start);
    for (std::size_t end = held.find('\x03'); end != std::string::npos; end = held.find('\x03')) {
      const std::string text = end > 0 ? held.substr(1, end - 1) : "";
      texts.push_back(text.substr(0, text.find('\0')));
      held.erase(0, end + 1);
    }
  }
  return texts;
}

std::vector<std::string> CutByCutter(const std::vector<std::string>& pieces) {
  MessageCutter cutter;
  std::string held;
  std::vector<std::string> texts;
  for (const std::string& piece : pieces) {
    held += piece;
    if (const std::size_t garbage = cutter.CountGarbage(held); garbage > 0) {
      held.erase(0, garbage);
      cutter.Forget();
    }
    while (const std::size_t length = cutter.FindMessage(held)) {
      texts.emplace_back(MessageCutter::TextOf(std::string_view(held).substr(0, length)));
      held.erase(0, length);
      cutter.Forget();
    }
  }
  return texts;
}

TEST(MessageCutterTest, CutsRandomPiecesAsTheRulesSay) {
  std::mt19937 random(20261122);
  const std::string alphabet("\x02\x03\0ab", 5);
  for (int round = 0; round < 20000; ++round) {
    std::vector<std::string> pieces(random() % 6);
    for (std::string& piece : pieces) {
      for (std::size_t left = random() % 8; left > 0; --left) piece += alphabet[random() % 5];
    }
    ASSERT_EQ(CutPlainly(pieces), CutByCutter(pieces)) << round;
  }
}

}  // namespace
