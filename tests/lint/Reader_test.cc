#include "tools/dorn-lint/Reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "tests/lint/SameValue.h"

namespace dorn::lint {
namespace {

std::string TextOf(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// What JSON is made of, so that random texts get somewhere.
std::string RandomText(std::mt19937& random) {
  static const char* const kPieces[] = {
      "{",    "}",    "[",     "]",    ",",       ":",  "\"",          "'",       "\"a\"",
      "'b'",  "1",    "-",     "12.5", "1e3",     ".",  "e",           "+",       "null",
      "true", "fals", "false", " ",    "\n",      "\t", "\\n",         "\\u00e9", "\\ud83d\\ude00",
      "\\u",  "\\",   "\x01",  "\xff", "\"k\":1", "あ", "99999999999", "1-2",     "\"a\":[1,{}]"};
  std::string text;
  const unsigned pieces = random() % 12;
  if (random() % 2 == 0) text = random() % 2 == 0 ? "{\"x\":" : "[";
  for (unsigned i = 0; i < pieces; ++i) text += kPieces[random() % std::size(kPieces)];
  if (random() % 2 == 0) text += random() % 2 == 0 ? "}" : "]";
  return text;
}

TEST(LintReaderTest, AgreesWithTheLibraryOnTextsByHand) {
  for (const char* text : {"{}",
                           "[]",
                           "{'a':'x'}",
                           "{'a\"b':1}",
                           "[1,2,]",
                           "[,]",
                           "{,}",
                           "{\"a\":1,}",
                           "10",
                           "10.0",
                           "-",
                           "1-2",
                           "1.5x",
                           "+1",
                           ".5",
                           "-.5",
                           "-.",
                           "1.",
                           "1.e5",
                           "1e",
                           "1e+",
                           "1e+5",
                           "1.2.3",
                           "00",
                           "--1",
                           "nul",
                           "nulll",
                           "tru",
                           "true false",
                           "\"a",
                           "'a\"",
                           "\"\t\"",
                           "\"\\'\"",
                           "\"\\x\"",
                           "\"\\u12\"",
                           "\"\\ud800\"",
                           "\"\\udc00\"",
                           "\"\\ud83d\\ude00\"",
                           "\"\\ud83dx\"",
                           "\"\\ud83d\\u0041\"",
                           "\"\\u0000\"",
                           "{\"a\":1,\"a\":2}",
                           "{\"a\" 1}",
                           "{a:1}",
                           "{\"a\":}",
                           "[1 2]",
                           "{\"a\":1 \"b\":2}",
                           "",
                           " ",
                           "\n\n",
                           "// x",
                           "{} x",
                           "99999999999",
                           "-99999999999",
                           "99999999999999999999"}) {
    std::string why;
    EXPECT_TRUE(AgreeOn(text, why)) << text << ": " << why;
  }
}

TEST(LintReaderTest, AgreesWithTheLibraryOnTheTextsOfItsFuzzers) {
  int texts = 0;
  for (const char* corpus : {"json_text", "json_document", "resource_file"}) {
    for (const auto& each : std::filesystem::directory_iterator(DORN_SOURCE_DIR "/fuzz/corpus/" +
                                                                std::string(corpus))) {
      std::string why;
      EXPECT_TRUE(AgreeOn(TextOf(each.path()), why)) << each.path() << ": " << why;
      ++texts;
    }
  }
  EXPECT_GT(texts, 80);
}

TEST(LintReaderTest, AgreesWithTheLibraryOnRandomTexts) {
  std::mt19937 random(20);
  int accepted = 0;
  for (int i = 0; i < 100000; ++i) {
    const std::string text = RandomText(random);
    std::string why;
    ASSERT_TRUE(AgreeOn(text, why)) << text << ": " << why;
    accepted += ReadDocument(text).IsRead() ? 1 : 0;
  }
  EXPECT_GT(accepted, 5000);
}

TEST(LintReaderTest, ReadsAsDeepAsTheLibrary) {
  for (const int depth : {kMaxDepth - 1, kMaxDepth, kMaxDepth + 1, 100000}) {
    const std::string text = std::string(static_cast<std::size_t>(depth), '[') +
                             std::string(static_cast<std::size_t>(depth), ']');
    std::string why;
    EXPECT_TRUE(AgreeOn(text, why)) << depth << ": " << why;
    EXPECT_EQ(ReadDocument(text).mIsTooDeep, depth > kMaxDepth) << depth;
    EXPECT_EQ(ReadDocument(text).mDepth, std::min(depth, kMaxDepth));
  }
}

TEST(LintReaderTest, RemembersWhereEverythingStands) {
  const std::string text = "{ \"a\": [1, 'x'],\n  'b': {\"c\": true} } rest";
  const Document read = ReadDocument(text);
  ASSERT_TRUE(read.IsRead());
  EXPECT_EQ(text.substr(read.mEnd), " rest");
  ASSERT_EQ(read.mRoot.mMembers.size(), 2U);
  const Member& a = read.mRoot.mMembers[0];
  const Member& b = read.mRoot.mMembers[1];
  EXPECT_EQ(text.substr(a.mAt, 4), "\"a\":");
  EXPECT_EQ(text.substr(a.mValue.mAt, 2), "[1");
  EXPECT_EQ(text.substr(a.mValue.mElements[1].mAt, 3), "'x'");
  EXPECT_EQ(text.substr(b.mAt, 4), "'b':");
  EXPECT_EQ(text.substr(b.mValue.mMembers[0].mValue.mAt, 4), "true");
}

TEST(LintReaderTest, SaysWhatCannotBeReadWhere) {
  const struct {
    const char* text;
    std::size_t at;
    const char* reason;
  } cases[] = {
      {"{\"a\":1", 6, "the file ends where a comma or } must stand"},
      {"{\"a\":1 \"b\":2}", 7, "here must stand a comma or }"},
      {"{\"a\":1,}", 7, "a member is missing: take out the comma before the }"},
      {"[1,]", 3, "a value is missing: write one, or take out the comma or colon before it"},
      {"{a:1}", 1, "here must stand a key in quotes"},
      {"{\"a\"=1}", 4, "here must stand a colon"},
      {"{\"a\":yes}", 5, "here must stand a value: \"text\", a number, true, false, [ or {"},
      {"{\"a\":none}", 5, "here must stand a value: a text needs quotes"},
      {"{\"a\":1.2.3}", 5, "this is no number: put it in quotes"},
      {"{\"a\":+1}", 5, "a number begins with a digit or a minus sign"},
      {"{\"a\":\"b\n\"}", 5, "this text does not end on its line: close its quote"},
      {"{\"a\":\"b\t\"}", 7, "a control character in a text: take it out"},
      {"{\"a\":\"b", 7, "the file ends inside a text: close its quote"},
      {"{\"a\":\"C:\\x\"}", 8,
       "no escape: a backslash itself is written \\\\, and ' and others need none"},
      {"{\"a\":\"\\u12\"}", 6, "\\u needs four hexadecimal digits"},
      {"{\"a\":\"\\ud800\"}", 6, "half of a character: write the character itself"},
      {"{ // x\n}", 2, "a comment: resource files have none, take it out"},
      {"\xef\xbb\xbf{}", 0, "a byte order mark: save the file as UTF-8 without one"},
  };
  for (const auto& each : cases) {
    const Document read = ReadDocument(each.text);
    EXPECT_EQ(read.mReason, each.reason) << each.text;
    EXPECT_EQ(read.mEnd, each.at) << each.text;
  }
}

TEST(LintReaderTest, TakesTimeThatGrowsWithTheLengthAlone) {
  const auto secondsFor = [](std::size_t length) {
    std::string text = "[";
    while (text.size() < length) text += "{\"a\":\"\\u00e9x\"},";
    text += "1]";
    const auto started = std::chrono::steady_clock::now();
    EXPECT_TRUE(ReadDocument(text).IsRead());
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  };
  secondsFor(100000);
  const double small = secondsFor(500000);
  EXPECT_LT(secondsFor(4000000), small * 8 * 8 + 1);
}

}  // namespace
}  // namespace dorn::lint
