#include "tools/dorn-gateway/PageText.h"

#include <gtest/gtest.h>

namespace {

using dorn::gateway::PageText;
using dorn::gateway::ReadPageText;
using dorn::station::Quotes;

PageText Read(std::string_view text) { return ReadPageText(text, Quotes::kEscape); }

TEST(PageTextTest, TakesCommands) {
  EXPECT_EQ(Read(R"( {"Command" : "KEEPALIVE"} )").mText, R"({"Command":"KEEPALIVE"})");
  EXPECT_EQ(
      ReadPageText(R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":"\"\\"}]})",
                   Quotes::kReplace)
          .mText,
      "{\"Command\":\"CONDITION\",\"Objects\":[{\"Name\":\"a\",\"Value\":\"\u201C\uFF3C\"}]}");
}

TEST(PageTextTest, TakesStrictJsonAlone) {
  for (const std::string text :
       {"", "x", "{'Command':\"KEEPALIVE\"}", "{\"Command\":\"KEEPALIVE\",}",
        "{\"Command\":\"KEEPALIVE\"} x", "{\"Command\":\"GETFILE\",\"File\":\"\xFF\"}"}) {
    EXPECT_EQ(Read(text).mText, "") << text;
    EXPECT_EQ(Read(text).mReason, "the text is no JSON") << text;
  }
}

TEST(PageTextTest, SaysWhyItIsRefused) {
  EXPECT_EQ(Read("[]").mReason, "the text is no object");
  EXPECT_EQ(Read(R"({"Command":"UPDATE"})").mReason, "unknown Command");
}

// The longest text that a host takes.
TEST(PageTextTest, CountsTheBytesThatAreWritten) {
  const auto condition = [](std::size_t length) {
    return R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":")" + std::string(length, 'x') +
           "\"}]}";
  };
  const std::size_t around = condition(0).size();
  EXPECT_EQ(Read(condition(524286 - around)).mText.size(), 524286u);
  EXPECT_EQ(Read(condition(524287 - around)).mText, "");
  EXPECT_EQ(Read(condition(524287 - around)).mReason, "the text is longer than 524286 bytes");
  // Typed as one character, written as several.
  std::string quotes;
  for (int i = 0; i < 150000; ++i) quotes += "\\\"";
  EXPECT_EQ(
      Read(R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":")" + quotes + "\"}]}").mText,
      "");
}

TEST(PageTextTest, NotesLogInsSessionsAndFences) {
  const PageText logIn = Read(R"({"Command":"HELLO","Id":"u","Pass":"p"})");
  EXPECT_TRUE(logIn.mLogsIn);
  EXPECT_FALSE(logIn.mAttaches);
  const PageText again = Read(
      R"({"Commands":[{"Command":"CHANGE","SessionId":"s","DialogName":"d"},{"Command":"GETFILE","File":"?f3"},{"Command":"GETFILE","File":"d.json"}]})");
  EXPECT_FALSE(again.mLogsIn);
  EXPECT_TRUE(again.mAttaches);
  EXPECT_EQ(again.mFences, std::vector<std::string>{"?f3"});
  EXPECT_FALSE(Read(R"({"Command":"HELLO","DialogName":"d"})").mLogsIn);
  EXPECT_FALSE(Read(R"({"Command":"CHANGE","SessionId":""})").mAttaches);
}

}  // namespace
