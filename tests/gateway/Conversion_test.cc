#include "tools/dorn-gateway/Conversion.h"

#include <gtest/gtest.h>

#include "station/Reader.h"

namespace {

using dorn::gateway::Conversion;
using dorn::gateway::Converted;
using dorn::gateway::Frame;
using dorn::station::Json;
using dorn::station::Reader;
using dorn::station::Reading;

std::vector<std::string> Texts(const Converted& converted) {
  std::vector<std::string> texts;
  for (const Frame& frame : converted.mFrames) texts.push_back(*frame);
  return texts;
}

using Frames = std::vector<std::string>;

class ConversionTest : public testing::Test {
 protected:
  Frames FramesOf(std::string_view text) { return Texts(*mConversion.Text(text)); }
  // So many commands without members; `n` tells one text from another.
  static std::string ManyCommands(std::size_t count, int n) {
    std::string text = R"({"N":)" + std::to_string(n) + R"(,"Commands":[{})";
    for (std::size_t i = 1; i < count; ++i) text += ",{}";
    return text + "]}";
  }
  static Json Head(const std::string& text) { return Reader().Read(text).mJson; }

  Conversion mConversion{Reader::Strings::kStrictFirst};
};

TEST_F(ConversionTest, PassesOnStrictTextsAsTheyCame) {
  const std::string text = R"({ "Command":"UPDATE", "Objects":[{"Value":1,"Name":"a","Value":2}]})";
  EXPECT_EQ(FramesOf(text), Frames{R"({"t":"cmd","c":)" + text + "}"});
}

TEST_F(ConversionTest, WritesWhatWasNotStrictAsJson) {
  const auto converted =
      mConversion.Text("{'Command':\"UPDATE\",\"Objects\":[{\"Value\":\"a\nb\",\"Name\":\"n\"}]}");
  EXPECT_EQ(converted->mReading, Reading::kTolerant);
  EXPECT_EQ(
      Texts(*converted),
      Frames{R"({"t":"cmd","c":{"Command":"UPDATE","Objects":[{"Name":"n","Value":"a\nb"}]}})"});
}

TEST_F(ConversionTest, RepairsBytesThatAreNoCharacters) {
  EXPECT_EQ(FramesOf("{\"Command\":\"UPDATE\",\"V\":\"a\xFF\"}"),
            Frames{"{\"t\":\"cmd\",\"c\":{\"Command\":\"UPDATE\",\"V\":\"a\uFFFD\"}}"});
}

TEST_F(ConversionTest, GivesEachOfSeveralCommandsItsFrame) {
  EXPECT_EQ(FramesOf("{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
                     ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b\"}]}"),
            (Frames{R"({"t":"cmd","c":{"Command":"UPDATE","Objects":[]}})",
                    R"({"t":"cmd","c":{"Command":"DELETE","Delete":"THIS","Name":"b"}})"}));
}

// A short command makes a frame that costs fifty times as much.
TEST_F(ConversionTest, DoesNotTakeMoreCommandsInOneTextThanItCanAfford) {
  EXPECT_EQ(mConversion.Text(ManyCommands(10'000, 1))->mFrames.size(), 10'000u);
  const auto tooMany = mConversion.Text(ManyCommands(10'001, 1));
  EXPECT_EQ(tooMany->mReading, Reading::kUnreadable);
  EXPECT_TRUE(tooMany->mFrames.empty());
}

TEST_F(ConversionTest, RemembersNoMoreThanItsFramesMayWeigh) {
  for (int i = 1; i <= 100; ++i) mConversion.Text(ManyCommands(1'000, i));
  EXPECT_EQ(mConversion.Conversions(), 100u);
  mConversion.Text(ManyCommands(1'000, 100));
  EXPECT_EQ(mConversion.Conversions(), 100u);
  mConversion.Text(ManyCommands(1'000, 1));
  EXPECT_EQ(mConversion.Conversions(), 101u) << "the first one is forgotten";
}

TEST_F(ConversionTest, TellsOfATableThatWasNotSent) {
  EXPECT_EQ(FramesOf(R"({"Command":"UPDATE","Objects":[{"Data":,"Title":,"Name":"g"}]})"),
            Frames{R"({"t":"cmd","c":{"Command":"UPDATE","Objects":[{"Data":null,"Name":"g"}]}})"});
}

TEST_F(ConversionTest, KeepsKeepaliveForItself) {
  const auto converted = mConversion.Text(R"({"Command":"KEEPALIVE"})");
  EXPECT_TRUE(converted->mAsksAlive);
  EXPECT_TRUE(converted->mFrames.empty());
  const auto two = mConversion.Text(R"({"Commands":[{"Command":"KEEPALIVE"},{"Command":"OPEN"}]})");
  EXPECT_TRUE(two->mAsksAlive);
  EXPECT_EQ(Texts(*two), Frames{R"({"t":"cmd","c":{"Command":"OPEN"}})"});
}

TEST_F(ConversionTest, NotesLogInsAndFences) {
  EXPECT_TRUE(mConversion.Text(R"({"Command":"OPEN","File":"d.json"})")->mOpens);
  EXPECT_TRUE(mConversion.Text(R"({"Command":"ERROR","Status":"Authentication"})")->mRefusesLogIn);
  EXPECT_FALSE(
      mConversion.Text(R"({"Command":"ERROR","Status":"InvalidSessionId"})")->mRefusesLogIn);
  const auto fence = mConversion.Text(
      R"({"Command":"PUTFILE","File":"?f17","Info":"FILE NOT FOUND","Status":"ERROR"})");
  EXPECT_EQ(fence->mFences, std::vector<std::string>{"?f17"});
  EXPECT_EQ(fence->mFrames.size(), 1u);
  EXPECT_FALSE(fence->mFile);
}

TEST_F(ConversionTest, HoldsBackTheHeadOfAFile) {
  const auto converted = mConversion.Text(R"({"Command":"PUTFILE","File":"a.txt","Length":3})");
  EXPECT_TRUE(converted->mFrames.empty());
  ASSERT_TRUE(converted->mFile);
  EXPECT_EQ(converted->mFile->TextOf("File"), "a.txt");
  EXPECT_FALSE(
      mConversion.Text(R"({"Command":"PUTFILE","File":"a.txt","Length":3,"Status":"LATEST"})")
          ->mFile);
  EXPECT_FALSE(mConversion.Text(R"({"Command":"PUTFILE","File":"a.txt","Length":"3"})")->mFile);
}

TEST_F(ConversionTest, SaysWhatCannotBeRead) {
  for (const char* text : {"", "x", "{\"a\":", "[1]", "17"}) {
    const auto converted = mConversion.Text(text);
    EXPECT_EQ(converted->mReading, Reading::kUnreadable) << text;
    EXPECT_TRUE(converted->mFrames.empty()) << text;
  }
}

TEST_F(ConversionTest, SendsADialogsFileAsATree) {
  const Json live =
      Head(R"({"Command":"PUTFILE","Date":"26-11-22 04:40:04","File":"d.json","Length":9})");
  const auto file = mConversion.File(live, R"({"Name":"d", "Title":1})");
  EXPECT_EQ(
      *file->mHead,
      R"({"t":"file","head":{"Command":"PUTFILE","Date":"26-11-22 04:40:04","File":"d.json","Length":9},"live":true,"tree":{"Name":"d", "Title":1}})");
  EXPECT_EQ(file->mBytes, nullptr);
  const Json disk =
      Head(R"({"Command":"PUTFILE","Date":"2026-11-22 04:40:04","File":"d.json","Length":9})");
  EXPECT_EQ(
      *mConversion.File(disk, "{'Name':\"d\",\"Data\":}")->mHead,
      R"({"t":"file","head":{"Command":"PUTFILE","Date":"2026-11-22 04:40:04","File":"d.json","Length":9},"live":false,"tree":{"Data":null,"Name":"d"}})");
}

TEST_F(ConversionTest, SendsAnyOtherFileAsBytes) {
  const Json head = Head(R"({"Command":"PUTFILE","File":"a.png","Length":3})");
  const auto file = mConversion.File(head, std::string("\xFF\x00\x02", 3));
  EXPECT_EQ(
      *file->mHead,
      R"({"t":"file","head":{"Command":"PUTFILE","File":"a.png","Length":3},"live":false,"bytes":3})");
  ASSERT_NE(file->mBytes, nullptr);
  EXPECT_EQ(*file->mBytes, std::string("\xFF\x00\x02", 3));
  EXPECT_TRUE(file->mIsReadable);
  EXPECT_EQ(
      *Conversion::Missing(head),
      R"({"t":"file","head":{"Command":"PUTFILE","File":"a.png","Length":3},"live":false,"bytes":0,"missing":true})");
}

TEST_F(ConversionTest, SendsADialogThatCannotBeReadAsBytes) {
  const Json head = Head(R"({"Command":"PUTFILE","File":"d.json","Length":1})");
  for (const char* bytes : {"{", "[]", ""}) {
    const auto file = mConversion.File(head, bytes);
    EXPECT_FALSE(file->mIsReadable);
    ASSERT_NE(file->mBytes, nullptr);
    EXPECT_EQ(*file->mBytes, bytes);
  }
}

TEST_F(ConversionTest, ReadsEqualTextsOnce) {
  const std::string text = "{'Command':\"UPDATE\",\"Objects\":[]}";
  const Json head = Head(R"({"Command":"PUTFILE","File":"d.json","Length":12})");
  const auto first = mConversion.Text(text);
  const auto tree = mConversion.File(head, R"({"Name":"d"})");
  EXPECT_EQ(mConversion.Conversions(), 2u);
  EXPECT_EQ(mConversion.Text(text), first);
  EXPECT_EQ(mConversion.File(head, R"({"Name":"d"})"), tree);
  EXPECT_EQ(mConversion.Conversions(), 2u);
  mConversion.Text(text + " ");
  EXPECT_EQ(mConversion.Conversions(), 3u);
}

TEST_F(ConversionTest, ReadsLiterallyWhereItIsTold) {
  Conversion literal(Reader::Strings::kLiteral);
  EXPECT_EQ(Texts(*literal.Text(R"({"Command":"UPDATE","V":"C:\new"})")),
            Frames{R"({"t":"cmd","c":{"Command":"UPDATE","V":"C:\\new"}})"});
}

TEST_F(ConversionTest, WritesItsOwnFrames) {
  EXPECT_EQ(*dorn::gateway::HelloFrame({"a", "b\"c"}, true),
            R"({"t":"hello","menu":["a","b\"c"],"version":"1.8.7","local":true})");
  EXPECT_EQ(*dorn::gateway::UpFrame(), R"({"t":"up"})");
  EXPECT_EQ(*dorn::gateway::DownFrame("why"), R"({"t":"down","why":"why"})");
  EXPECT_EQ(*dorn::gateway::RefusedFrame("a\"b", 7), R"({"t":"refused","why":"a\"b","n":7})");
  EXPECT_EQ(*dorn::gateway::BadFrame(3), R"({"t":"bad","n":3})");
}

}  // namespace
