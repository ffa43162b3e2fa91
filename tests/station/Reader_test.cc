#include "station/Reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace dorn::station {
namespace {

std::string Read(const std::string& text, Reader::Strings strings = Reader::Strings::kStrictFirst) {
  const ReadText read = Reader(strings).Read(text);
  return read.mReading == Reading::kUnreadable ? "" : read.mJson.Written();
}

std::string Update(const std::string& value) {
  return "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"" + value + "\",\"Name\":\"b1\"}]}\n";
}

std::string ValueOf(const ReadText& read) {
  const Json* objects = read.mJson.Find("Objects");
  if (objects == nullptr || objects->mElements.size() != 1) return "<no object>";
  return std::string(objects->mElements[0].TextOf("Value"));
}

TEST(ReaderTest, SaysHowATextWasRead) {
  const Reader reader;
  EXPECT_EQ(reader.Read("{\"a\":\"b\"}").mReading, Reading::kStrict);
  EXPECT_EQ(reader.Read("{'a':\"b\"}").mReading, Reading::kTolerant);
  EXPECT_EQ(reader.Read("{\"a\":\"b\xFF\"}").mReading, Reading::kTolerant);
  EXPECT_EQ(reader.Read("{\"a\":\"b\"").mReading, Reading::kUnreadable);
  EXPECT_TRUE(reader.Read("{\"a\":\"b\"").mJson.IsNull());
}

TEST(ReaderTest, RemembersThatDataHadNoValue) {
  EXPECT_TRUE(Reader().Read(R"({"Data":,"Name":"g"})").mJson.mHadEmptyData);
  EXPECT_FALSE(Reader().Read(R"({"Value":,"Name":"g"})").mJson.mHadEmptyData);
}

std::string Nested(int depth, const std::string& open, const std::string& close) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += open;
  text += '1';
  for (int i = 0; i < depth; ++i) text += close;
  return text;
}

TEST(ReaderTest, ReadsOneThousandAndTwentyFourLevels) {
  EXPECT_NE(Read(Nested(1024, "[", "]")), "");
  EXPECT_EQ(Read(Nested(1025, "[", "]")), "");
  EXPECT_NE(Read(Nested(1024, "{'a':", "}")), "");
  EXPECT_EQ(Read(Nested(1025, "{'a':", "}")), "");
  EXPECT_EQ(Read(std::string(1000000, '[')), "");
}

TEST(ReaderTest, ReadsSixteenMebibytes) {
  const std::string frame = "{\"a\":\"\"}";
  const std::string text(Reader::kMaxLength - frame.size(), 'x');
  EXPECT_EQ(Reader().Read("{\"a\":\"" + text + "\"}").mReading, Reading::kStrict);
  EXPECT_EQ(Reader().Read("{\"a\":\"x" + text + "\"}").mReading, Reading::kUnreadable);
}

// Milliseconds for each when time is linear, and many seconds when it is not.
TEST(ReaderTest, TakesLinearTime) {
  std::vector<std::string> pieces{
      "\"",       "\" ",         "\",",        "\",\"",    "\",'",    "\"}",           "\"]",
      "\\\"",     "\",1",        "\",{",       "\",[",     "\"}  ",   "\" } , ",       "'",
      "\\",       "\",\"a",      "\"},{\"a",   "\"},",     "\"],[\"", "\",11111",      "\\\",1",
      "{\"a\":[", "[\"x\",[\"y", "{'a':\"x\\", "{\"a\":'", "\"    ,", ",\"k\":\"v\\\""};
  for (const std::string& piece : pieces) {
    for (const std::string start : {"{'a':\"", "{'a':[\"", "{'a':[[{'b':\"", "{'", "["}) {
      std::string text = start;
      while (text.size() < 100000) text += piece;
      const auto before = std::chrono::steady_clock::now();
      static_cast<void>(Reader().Read(text));
      static_cast<void>(Reader().Read(text + "\"}"));
      EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2))
          << start << piece;
    }
  }
}

TEST(ReaderTest, KeepsTheValueAroundEveryKindOfProse) {
  for (const std::string value : {"",
                                  "\"",
                                  "\"\"",
                                  "a\"b",
                                  "say \"so\", he said",
                                  "3/4\"",
                                  "5\" x 3/4\", steel",
                                  "{x}",
                                  "{\"x\"}",
                                  "[\"x\"]",
                                  "a, b; c",
                                  "it's",
                                  "l1\nl2",
                                  "\"\n\"",
                                  "C:\\dir\\x",
                                  "\\",
                                  "a\\\"b\\q",
                                  "100 % \"ok\"!",
                                  "}",
                                  "]",
                                  "},",
                                  "],[",
                                  "{\"a\":",
                                  "\",",
                                  "\" ,\"",
                                  "日本語\"の\"",
                                  ": \"x\":"}) {
    EXPECT_EQ(ValueOf(Reader(Reader::Strings::kLiteral).Read(Update(value))), value);
  }
}

}  // namespace
}  // namespace dorn::station
