#include "station/Framing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace dorn::station {
namespace {

using std::string_literals::operator""s;

// What arrived, in short: "T:text", "P:bytes" (joined), "P." at the end of a file, "none", "long".
class Record : public Framing::Sink {
 public:
  void OnText(std::string_view text) override { mEvents.push_back("T:" + std::string(text)); }
  void OnPayload(std::string_view piece, bool last) override {
    if (mEvents.empty() || mEvents.back().substr(0, 2) != "P:") mEvents.emplace_back("P:");
    mEvents.back() += piece;
    if (last) mEvents.emplace_back("P.");
  }
  void OnNoPayload() override { mEvents.emplace_back("none"); }
  void OnTooLong() override { mEvents.emplace_back("long"); }

  std::vector<std::string> mEvents;
};

using Events = std::vector<std::string>;

Events Cut(const std::string& bytes, std::size_t step) {
  Record record;
  Framing framing(record);
  for (std::size_t at = 0; at < bytes.size(); at += step) {
    EXPECT_TRUE(framing.Feed(std::string_view(bytes).substr(at, step)));
  }
  return record.mEvents;
}

void ExpectHoweverSplit(const std::string& bytes, const Events& expected) {
  for (std::size_t step = 1; step <= bytes.size(); ++step) {
    EXPECT_EQ(Cut(bytes, step), expected) << "in pieces of " << step;
  }
}

const std::string kFile =
    "\x02{\"Command\":\"PUTFILE\",\"Date\":\"d\",\"File\":\"f\",\"Length\":5}\x03";
const std::string kFileText =
    "T:{\"Command\":\"PUTFILE\",\"Date\":\"d\",\"File\":\"f\",\"Length\":5}";
const std::string kFence =
    "\x02{\"Command\":\"PUTFILE\",\"File\":\"?f1\",\"Info\":\"FILE NOT FOUND\",\"Status\":\"ERROR\"}\x03";
const std::string kFenceText =
    "T:{\"Command\":\"PUTFILE\",\"File\":\"?f1\",\"Info\":\"FILE NOT FOUND\",\"Status\":\"ERROR\"}";

TEST(FramingTest, FramesATextBetweenTwoBytes) {
  EXPECT_EQ(Framed("{}"), "\x02{}\x03");
  EXPECT_EQ(Framed(""), "\x02\x03");
}

TEST(FramingTest, CutsTextsHoweverTheyAreSplit) {
  ExpectHoweverSplit("\x02one\x03\x02two\x03\x02\x03", {"T:one", "T:two", "T:"});
}

TEST(FramingTest, DropsWhatLiesBetweenTexts) {
  ExpectHoweverSplit("x\x03\x02one\x03yy\x02two\x03zz", {"T:one", "T:two"});
}

TEST(FramingTest, CountsWhatItDrops) {
  Record record;
  Framing framing(record);
  ASSERT_TRUE(framing.Feed("ab\x02one\x03"));
  EXPECT_EQ(framing.Dropped(), 2u);
  ASSERT_TRUE(framing.Feed("c\x03"));
  ASSERT_TRUE(framing.Feed("\x02two\x03"));
  EXPECT_EQ(framing.Dropped(), 4u);
}

TEST(FramingTest, TakesExactlyTheAnnouncedBytesAsTheFile) {
  ExpectHoweverSplit(kFile + "a\x03\x02" + "cd" + "\x02next\x03", {kFileText,
                                                                   "P:a\x03\x02"
                                                                   "cd",
                                                                   "P.", "T:next"});
}

TEST(FramingTest, AFileMayBeginWithAnSTX) {
  ExpectHoweverSplit(kFile +
                         "\x02"
                         "abcd" +
                         kFence,
                     {kFileText,
                      "P:\x02"
                      "abcd",
                      "P.", kFenceText});
  ExpectHoweverSplit(kFile +
                         "\x02"
                         "a\x02"
                         "cd" +
                         kFence,
                     {kFileText,
                      "P:\x02"
                      "a\x02"
                      "cd",
                      "P.", kFenceText});
  ExpectHoweverSplit(kFile + "\x02{}\x03x" + kFence,
                     {kFileText, "P:\x02{}\x03x", "P.", kFenceText});
  ExpectHoweverSplit(kFile + "\x02\x00"s + "bcd" + kFence,
                     {kFileText, "P:\x02\x00"s + "bcd", "P.", kFenceText});
}

TEST(FramingTest, ATextInPlaceOfTheFileMeansThatThereIsNone) {
  ExpectHoweverSplit(kFile + kFence, {kFileText, "none", kFenceText});
  ExpectHoweverSplit(
      kFile + "\x02{'Commands':[{\"Command\":\"UPDATE\",\"Objects\":[]}]}\x03",
      {kFileText, "none", "T:{'Commands':[{\"Command\":\"UPDATE\",\"Objects\":[]}]}"});
}

TEST(FramingTest, TheTextInPlaceOfAFileMayAnnounceAnother) {
  ExpectHoweverSplit(kFile + kFile + "abcde" + "\x02x\x03",
                     {kFileText, "none", kFileText, "P:abcde", "P.", "T:x"});
}

TEST(FramingTest, AnEmptyFileEndsAtOnce) {
  const std::string text = R"({"Command":"PUTFILE","File":"f","Length":0})";
  ExpectHoweverSplit(Framed(text) + "\x02x\x03", {"T:" + text, "P:", "P.", "T:x"});
}

TEST(FramingTest, OnlyAPutfileWithoutStatusBringsAFile) {
  for (const std::string text : {R"({"Command":"PUTFILE","File":"f","Length":5,"Status":"ERROR"})",
                                 R"({"Command":"PUTFILE","Date":"d","File":"f","Status":"LATEST"})",
                                 R"({"Command":"UPDATE","Length":5,"x":"PUTFILE"})",
                                 R"({"Command":"PUTFILE","File":"f","Length":"5"})",
                                 R"({"Command":"PUTFILE","File":"f","Length":-5})"}) {
    const Events events = Cut(Framed(text) + "\x02x\x03", 3);
    ASSERT_GE(events.size(), 2u) << text;
    EXPECT_EQ(events.front(), "T:" + text);
    EXPECT_EQ(events.back(), "T:x") << text;
  }
}

TEST(FramingTest, ReadsAnAnnouncementThatIsNotQuiteJson) {
  const std::string text = R"({"Command":"PUTFILE","File":"a"b","Length":2})";
  ExpectHoweverSplit(Framed(text) + "xy\x02z\x03", {"T:" + text, "P:xy", "P.", "T:z"});
}

TEST(FramingTest, BreaksAtAFileBeyondSixtyFourMebibytes) {
  Record record;
  Framing framing(record);
  EXPECT_TRUE(framing.Feed(Framed(R"({"Command":"PUTFILE","File":"f","Length":67108864})")));
  Record other;
  Framing broken(other);
  EXPECT_FALSE(
      broken.Feed(Framed(R"({"Command":"PUTFILE","File":"f","Length":67108865})") + "\x02x\x03"));
  EXPECT_EQ(other.mEvents.size(), 1u);
  EXPECT_FALSE(broken.Feed("\x02x\x03"));
}

TEST(FramingTest, DropsATextBeyondSixteenMebibytes) {
  Record record;
  Framing framing(record);
  const std::string piece(1024 * 1024, 'x');
  EXPECT_TRUE(framing.Feed("\x02"));
  for (int i = 0; i < 17; ++i) EXPECT_TRUE(framing.Feed(piece));
  EXPECT_TRUE(framing.Feed("\x03\x02y\x03"));
  EXPECT_EQ(record.mEvents, (Events{"long", "T:y"}));
}

TEST(FramingTest, TakesATextOfSixteenMebibytesAndNoByteMoreHoweverItIsSplit) {
  for (const std::size_t over : {0u, 1u}) {
    const std::string text(Framing::kMaxText + over, 'x');
    for (const std::size_t first : {text.size() + 2, text.size() + 1, std::size_t{1000}}) {
      Record record;
      Framing framing(record);
      const std::string bytes = Framed(text);
      ASSERT_TRUE(framing.Feed(std::string_view(bytes).substr(0, first)));
      ASSERT_TRUE(framing.Feed(std::string_view(bytes).substr(first)));
      ASSERT_EQ(record.mEvents.size(), 1u);
      EXPECT_EQ(record.mEvents[0] == "long", over == 1) << first;
    }
  }
}

TEST(FramingTest, TellsWhatItWaitsFor) {
  Record record;
  Framing framing(record);
  EXPECT_TRUE(framing.IsAtRest());
  ASSERT_TRUE(framing.Feed("\x02{"));
  EXPECT_FALSE(framing.IsAtRest());
  ASSERT_TRUE(framing.Feed("}\x03"));
  EXPECT_TRUE(framing.IsAtRest());
  ASSERT_TRUE(framing.Feed(kFile));
  EXPECT_TRUE(framing.IsAwaitingPayload());
  EXPECT_FALSE(framing.IsAtRest());
  ASSERT_TRUE(framing.Feed("abcd"));
  EXPECT_TRUE(framing.IsAwaitingPayload());
  ASSERT_TRUE(framing.Feed("e"));
  EXPECT_FALSE(framing.IsAwaitingPayload());
  EXPECT_TRUE(framing.IsAtRest());
}

// Asks twice what each text says, and spoils it after that.
class Asking : public Framing::Sink {
 public:
  void OnText(std::string_view) override {
    const ReadText* const first = &mFraming.Read();
    ReadText& second = mFraming.Read();
    EXPECT_EQ(first, &second);
    mFiles.emplace_back(second.mJson.TextOf("File"));
    second = ReadText();
  }
  void OnPayload(std::string_view, bool last) override { mWhole += last ? 1 : 0; }

  Framing mFraming{*this};
  std::vector<std::string> mFiles;
  int mWhole = 0;
};

TEST(FramingTest, TellsWhatEachTextSays) {
  Asking asking;
  ASSERT_TRUE(
      asking.mFraming.Feed(kFile + "abcde" + kFence + "\x02{\"File\":\"g\"}\x03\x02no\x03"));
  EXPECT_EQ(asking.mFiles, (std::vector<std::string>{"f", "?f1", "g", ""}));
  EXPECT_EQ(asking.mWhole, 1);
}

TEST(FramingTest, TellsWhatATextInPlaceOfAFileSays) {
  Asking asking;
  ASSERT_TRUE(asking.mFraming.Feed(kFile + kFile + "\x02x\x03zz" + kFence));
  EXPECT_EQ(asking.mFiles, (std::vector<std::string>{"f", "f", "?f1"}));
  EXPECT_EQ(asking.mWhole, 1);
}

// A backslash in a file's name belongs to it, or not: as those read who are told of the text.
TEST(FramingTest, ReadsAsItIsTold) {
  class Names : public Framing::Sink {
   public:
    void OnText(std::string_view) override { mFile = mFraming.Read().mJson.TextOf("File"); }
    void OnPayload(std::string_view, bool) override {}

    Framing mFraming{*this, Reader(Reader::Strings::kLiteral)};
    std::string mFile;
  };
  Names names;
  ASSERT_TRUE(names.mFraming.Feed("\x02{\"Command\":\"PUTFILE\",\"File\":\"a\\\\b\"}\x03"));
  EXPECT_EQ(names.mFile, "a\\\\b");
}

}  // namespace
}  // namespace dorn::station
