#include "station/Reader.h"

#include <gtest/gtest.h>

#include <ctime>
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

// Milliseconds of this thread, which do not count what else the machine does.
double CpuMs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double MsToRead(const std::string& start, const std::string& piece, std::size_t length) {
  std::string text = start;
  while (text.size() < length) text += piece;
  const double before = CpuMs();
  static_cast<void>(Reader().Read(text));
  static_cast<void>(Reader().Read(text + "\"}"));
  return CpuMs() - before;
}

// Eight times as long a text takes eight times as long, and 64 times if time is not linear. What is
// over in a moment says nothing, and is fast enough.
TEST(ReaderTest, TakesLinearTime) {
  constexpr double kMomentMs = 200;
  std::vector<std::string> pieces{
      "\"",       "\" ",         "\",",        "\",\"",    "\",'",    "\"}",           "\"]",
      "\\\"",     "\",1",        "\",{",       "\",[",     "\"}  ",   "\" } , ",       "'",
      "\\",       "\",\"a",      "\"},{\"a",   "\"},",     "\"],[\"", "\",11111",      "\\\",1",
      "{\"a\":[", "[\"x\",[\"y", "{'a':\"x\\", "{\"a\":'", "\"    ,", ",\"k\":\"v\\\""};
  for (const std::string& piece : pieces) {
    for (const std::string start : {"{'a':\"", "{'a':[\"", "{'a':[[{'b':\"", "{'", "["}) {
      const double longMs = MsToRead(start, piece, 100000);
      if (longMs < kMomentMs) continue;
      EXPECT_LT(longMs, 20 * MsToRead(start, piece, 12500)) << start << piece;
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
