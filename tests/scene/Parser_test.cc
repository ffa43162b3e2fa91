#include "tools/dorn-station/scene/Parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

using dorn::scene::Compare;
using dorn::scene::LoadScene;
using dorn::scene::ParseScene;
using dorn::scene::Step;
using dorn::scene::Verb;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

namespace {

// The one step that stands behind a log-in of `a`.
Step StepOf(const std::string& line) {
  const auto read = ParseScene("a: login u p\n" + line + "\n", "s.scene", true);
  EXPECT_TRUE(read.mMistakes.empty())
      << line << ": " << (read.mMistakes.empty() ? "" : read.mMistakes.front().mWhat);
  return read.mScene.mSteps.size() == 2 ? read.mScene.mSteps.back() : Step{};
}

std::string MistakeOf(const std::string& line, bool hasHost = true) {
  const auto read = ParseScene("a: login u p\n" + line + "\n", "s.scene", hasHost);
  if (read.mMistakes.size() != 1) return "mistakes: " + std::to_string(read.mMistakes.size());
  EXPECT_EQ(read.mMistakes.front().mLine, 2u);
  return read.mMistakes.front().mWhat;
}

}  // namespace

TEST(SceneParserTest, ReadsEveryVerb) {
  const struct {
    const char* line;
    Verb verb;
  } rows[] = {{"b: login u p", Verb::kLogin},
              {"b: login u p refused", Verb::kLoginRefused},
              {"b: login u p refused \"not you\" within 9s", Verb::kLoginRefused},
              {"b: connect", Verb::kConnect},
              {"a: enter page", Verb::kEnter},
              {"a: enter page nothing", Verb::kEnterNothing},
              {"a: click x", Verb::kClick},
              {"a: set x 1", Verb::kSet},
              {"a: ack alarms 3", Verb::kAck},
              {"a: send {\"Command\":\"X\"}", Verb::kSend},
              {"a: leave", Verb::kLeave},
              {"a: close", Verb::kClose},
              {"a: return", Verb::kReturn},
              {"a: return refused gone", Verb::kReturnRefused},
              {"a: get f.txt", Verb::kGet},
              {"a: get f.txt contains x", Verb::kGetContains},
              {"a: get f.txt missing", Verb::kGetMissing},
              {"a: expect x Value 1", Verb::kValue},
              {"a: expect x there", Verb::kThere},
              {"a: expect x gone within 1s", Verb::kGone},
              {"a: expect dialog page", Verb::kDialog},
              {"a: expect command OPEN", Verb::kCommand},
              {"a: expect message abc", Verb::kMessage},
              {"a: expect no update for 200ms", Verb::kNoUpdate},
              {"a: expect no update of x for 200ms", Verb::kNoUpdate},
              {"a: expect no command ADD for 1s", Verb::kNoCommand},
              {"a: expect no message abc for 1s", Verb::kNoMessage},
              {"a: expect closed", Verb::kClosed},
              {"a: expect session ended within 3s", Verb::kSessionEnded},
              {"host: stop", Verb::kHostStop},
              {"host: kill", Verb::kHostKill},
              {"host: restart within 20s", Verb::kHostRestart},
              {"host: expect line abc", Verb::kHostLine},
              {"host: expect no line abc for 1s", Verb::kHostNoLine},
              {"host: expect exit 3", Verb::kHostExit},
              {"wait 200ms", Verb::kWait}};
  for (const auto& row : rows) EXPECT_EQ(StepOf(row.line).mVerb, row.verb) << row.line;
}

TEST(SceneParserTest, ReadsWhatAValueIsComparedWith) {
  Step step = StepOf("a: expect x Value \"two words\" within 1.5s");
  EXPECT_EQ(step.mName, "x");
  EXPECT_EQ(step.mKey, "Value");
  EXPECT_EQ(step.mValue, "two words");
  EXPECT_EQ(step.mCompare, Compare::kIs);
  EXPECT_EQ(step.mWithin, 1500);
  EXPECT_EQ(StepOf("a: expect x Value not 1").mCompare, Compare::kIsNot);
  EXPECT_EQ(StepOf("a: expect x Value contains 1").mCompare, Compare::kContains);
  EXPECT_EQ(StepOf("a: expect x Value above -1.5").mCompare, Compare::kAbove);
  EXPECT_EQ(StepOf("a: expect x Value below 3").mCompare, Compare::kBelow);
  EXPECT_EQ(StepOf("a: expect x no Error").mCompare, Compare::kMissing);
  EXPECT_EQ(StepOf("a: expect x Value \"\"").mValue, "");
}

TEST(SceneParserTest, QuotedWordsAreNeverKeywords) {
  EXPECT_EQ(StepOf("a: expect \"dialog\" Value 1").mName, "dialog");
  EXPECT_EQ(StepOf("a: expect x Value \"not\"").mValue, "not");
  EXPECT_EQ(StepOf("a: set x \"anyway\"").mValue, "anyway");
  EXPECT_FALSE(StepOf("a: set x \"anyway\"").mAnyway);
  EXPECT_EQ(StepOf("a: click \"anyway\"").mName, "anyway");
}

TEST(SceneParserTest, ReadsTheRestOfWhatStandsInALine) {
  EXPECT_TRUE(StepOf("a: click x anyway").mAnyway);
  const Step set = StepOf("a: set x Limit 5 anyway");
  EXPECT_EQ(set.mKey, "Limit");
  EXPECT_EQ(set.mValue, "5");
  EXPECT_TRUE(set.mAnyway);
  EXPECT_EQ(StepOf("a: send   {\"a\": \"b # c\"}").mText, "{\"a\": \"b # c\"}");
  EXPECT_THAT(StepOf("a: expect command OPEN Menu \"[]\" File x").mMembers,
              ElementsAre(Pair("Menu", "[]"), Pair("File", "x")));
  EXPECT_EQ(StepOf("  a: click x   # why").mSource, "a: click x   # why");
  EXPECT_EQ(StepOf("a: click x\r").mName, "x");
}

TEST(SceneParserTest, FilesLieBesideTheScene) {
  const std::string folder = DORN_SCENE_FILES "/";
  const auto read =
      ParseScene("a: login u p\na: get f.txt is resources/lines.txt\n", folder + "s.scene", false);
  ASSERT_TRUE(read.mMistakes.empty());
  EXPECT_EQ(read.mScene.mSteps.back().mPath, folder + "resources/lines.txt");
}

TEST(SceneParserTest, RefusesEachMistakeAndTellsWhatIsRight) {
  const struct {
    const char* line;
    const char* told;
  } rows[] = {{"click x", "a line begins with who acts"},
              {"a click x", "a line begins with who acts"},
              {"1: click x", "a line begins with who acts"},
              {"a b: click x", "a line begins with who acts"},
              {"a:", "write: a: "},
              {"a: clik x", "unknown word \"clik\"; do you mean click?"},
              {"a: fly x", "unknown word \"fly\"; a may: expect login enter"},
              {"a: click", "write: a: click NAME [anyway]"},
              {"a: click x y", "write: a: click NAME [anyway]"},
              {"a: click \"x", "the closing quote is missing"},
              {"a: login u", "write: a: login USER PASSWORD"},
              {"a: login u p now", "write: a: login USER PASSWORD"},
              {"a: enter", "write: a: enter DIALOG"},
              {"a: set x", "write: a: set NAME [KEY] VALUE"},
              {"a: set x Value two words", "write: a: set NAME [KEY] VALUE"},
              {"a: ack alarms", "write: a: ack GRID ROW"},
              {"a: send", "write: a: send TEXT"},
              {"a: send \x02", "none of the bytes 00, 02 and 03"},
              {"a: get", "write: a: get FILE"},
              {"a: get f.txt is", "write: a: get FILE"},
              {"a: get f.txt is nowhere.txt", "cannot read nowhere.txt"},
              {"a: get f.txt like g", "write: a: get FILE"},
              {"a: leave now", "write: a: leave"},
              {"a: return soon", "write: a: return"},
              {"a: expect", "write: a: expect NAME KEY"},
              {"a: expect x", "write: a: expect NAME KEY"},
              {"a: expect x Value", "write: a: expect NAME KEY"},
              {"a: expect x Value two words", "a text with blanks stands between quotes"},
              {"a: expect x Value above high", "write: a: expect NAME KEY"},
              {"a: expect x Value 1 within 1", "a time is written as 200ms, 1.5s or 2min"},
              {"a: expect x Value 1 within 1 s", "write: a: expect NAME KEY"},
              {"a: expect command", "write: a: expect NAME KEY"},
              {"a: expect command OPEN Menu", "write: a: expect NAME KEY"},
              {"a: expect dialog", "write: a: expect NAME KEY"},
              {"a: expect no update", "write: a: expect no update [of NAME] for T"},
              {"a: expect no update for 200", "write: a: expect no update [of NAME] for T"},
              {"a: expect no x for 1s", "write: a: expect no update [of NAME] for T"},
              {"a: expect x = 1", "write: a: expect NAME KEY"},
              {"a: expect x is 1", "write: a: expect NAME KEY"},
              {"a: press x", "unknown word \"press\"; do you mean click?"},
              {"a: type x y", "do you mean set?"},
              {"a: logout", "do you mean leave?"},
              {"a: wait 1s", "write: wait T, without who before it"},
              {"host: sleep 1s", "write: wait T, without who before it"},
              {"b: click x", "there is no station b yet; write before: b: login USER PASSWORD"},
              {"aa: click x", "do you mean a?"},
              {"host: reboot", "unknown word \"reboot\""},
              {"host: restrat", "do you mean restart?"},
              {"host: start", "the host is running; write: host: restart"},
              {"host: expect", "write: host: expect line TEXT"},
              {"host: expect exit soon", "write: host: expect line TEXT"},
              {"host: expect no line x", "write: host: expect no line TEXT for T"},
              {"wait", "write: wait T"},
              {"wait soon", "write: wait T"},
              {"a: click \xff", "a scene is UTF-8"}};
  for (const auto& row : rows) EXPECT_THAT(MistakeOf(row.line), HasSubstr(row.told)) << row.line;
}

TEST(SceneParserTest, AHostThatIsNotStartedHereIsNotCommanded) {
  EXPECT_THAT(MistakeOf("host: restart", false), HasSubstr("run it with --start COMMAND"));
}

TEST(SceneParserTest, AHostIsEndedOnce) {
  EXPECT_THAT(MistakeOf("host: stop\nhost: start"), HasSubstr("mistakes: 0"));
  const auto read = ParseScene("host: stop\nhost: kill\n", "s", true);
  ASSERT_EQ(read.mMistakes.size(), 1u);
  EXPECT_EQ(read.mMistakes.front().mLine, 2u);
  EXPECT_THAT(read.mMistakes.front().mWhat, HasSubstr("write: host: start"));
}

TEST(SceneParserTest, AStationWithoutALogInHasFewWords) {
  const auto read = ParseScene(
      "p: connect\np: send x\np: expect command ERROR\np: click x\np: expect x there\n", "s", true);
  ASSERT_EQ(read.mMistakes.size(), 2u);
  EXPECT_EQ(read.mMistakes.front().mLine, 4u);
  EXPECT_THAT(read.mMistakes.front().mWhat, HasSubstr("p has only connected"));
}

TEST(SceneParserTest, PassesOverAByteOrderMark) {
  const auto read = ParseScene(
      "\xEF\xBB\xBF"
      "a: login u p\n",
      "s", true);
  EXPECT_TRUE(read.mMistakes.empty());
  EXPECT_EQ(read.mScene.mSteps.size(), 1u);
}

TEST(SceneParserTest, TellsAllMistakesOfAFile) {
  const auto read = ParseScene("a: clik\n\n# fine\nb: enter x\nwait\n", "s", true);
  ASSERT_EQ(read.mMistakes.size(), 3u);
  EXPECT_EQ(read.mMistakes[0].mLine, 1u);
  EXPECT_EQ(read.mMistakes[1].mLine, 4u);
  EXPECT_EQ(read.mMistakes[2].mLine, 5u);
}

TEST(SceneParserTest, RefusesScenesWithoutSteps) {
  EXPECT_THAT(ParseScene("# nothing\n", "s", true).mMistakes.front().mWhat,
              HasSubstr("the scene has no steps"));
  EXPECT_EQ(LoadScene("nowhere.scene", true).mMistakes.size(), 1u);
  EXPECT_EQ(LoadScene(DORN_SCENE_FILES, true).mMistakes.size(), 1u);
}
