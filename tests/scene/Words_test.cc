#include "tools/dorn-station/scene/Words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using dorn::scene::Nearest;
using dorn::scene::ReadDuration;
using dorn::scene::SplitWords;
using dorn::scene::WrittenWord;

namespace {

// Quoted words come back as <text>.
std::string Split(const char* line) {
  std::string error;
  const auto words = SplitWords(line, error);
  if (!words) return "refused: " + error;
  std::string all;
  for (const auto& word : *words) {
    all += (all.empty() ? "" : "|") + (word.mIsQuoted ? "<" + word.mText + ">" : word.mText);
  }
  return all;
}

}  // namespace

TEST(SceneWordsTest, AreSplitAtBlanks) {
  const struct {
    const char* line;
    const char* words;
  } rows[] = {{"", ""},
              {"  \t", ""},
              {" click  pump1\tnow ", "click|pump1|now"},
              {"set note \"two words\"", "set|note|<two words>"},
              {"set note \"\"", "set|note|<>"},
              {R"(a "say \"hi\" \\ \n\t.")", "a|<say \"hi\" \\ \n\t.>"},
              {"wait 1s # for the pump", "wait|1s"},
              {"# nothing", ""},
              {"click a#b", "click|a#b"},
              {"click \"#1\"", "click|<#1>"},
              {"label 揚水 \"ポンプ 場\"", "label|揚水|<ポンプ 場>"}};
  for (const auto& row : rows) EXPECT_EQ(Split(row.line), row.words) << row.line;
}

TEST(SceneWordsTest, RefuseHalfQuotedTexts) {
  EXPECT_EQ(Split("set a \"open"), "refused: the closing quote is missing");
  EXPECT_THAT(Split("set a \"b\"c"), testing::HasSubstr("a blank is missing"));
  EXPECT_THAT(Split(R"(set a "C:\new\q")"), testing::HasSubstr("a backslash is written \\\\"));
  EXPECT_THAT(Split("set a \"b\\"), testing::HasSubstr("a backslash is written"));
}

TEST(SceneWordsTest, AreWrittenSoThatTheyAreReadBack) {
  for (const char* text : {"plain", "two words", "", "#1", "a\"b", "C:\\new", "line\nline\t."}) {
    std::string error;
    const auto words = SplitWords(WrittenWord(text), error);
    ASSERT_TRUE(words && words->size() == 1) << text;
    EXPECT_EQ(words->front().mText, text);
  }
  EXPECT_EQ(WrittenWord("plain"), "plain");
}

TEST(SceneWordsTest, DurationsHaveAUnit) {
  EXPECT_EQ(ReadDuration("200ms"), 200);
  EXPECT_EQ(ReadDuration("1s"), 1000);
  EXPECT_EQ(ReadDuration("1.5s"), 1500);
  EXPECT_EQ(ReadDuration("2min"), 120000);
  EXPECT_EQ(ReadDuration("0s"), 0);
  for (const char* text : {"", "1", "s", "-1s", "1 s", "1h", "1e3s", "nan", "99999999s", "1ss"}) {
    EXPECT_FALSE(ReadDuration(text)) << text;
  }
}

TEST(SceneWordsTest, TheNearestIsWhatWasMeant) {
  const std::vector<std::string> known{"pump1_start", "pump1_stop", "level", "click"};
  EXPECT_EQ(Nearest("pump1_strat", known), "pump1_start");
  EXPECT_EQ(Nearest("clik", known), "click");
  EXPECT_EQ(Nearest("levle", known), "level");
  EXPECT_EQ(Nearest("temperature", known), "");
}
