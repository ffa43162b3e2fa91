#include "tools/dorn-terminal/View.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/terminal/Stage.h"

namespace dorn::terminal {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string Condition(const std::string& name, const std::string& type,
                      const std::string& members = "") {
  return R"({"Command":"CONDITION","ActionName":")" + name + R"(","ActionType":")" + type +
         R"(","Objects":[{"Name":")" + name + "\"" + members + "}]}";
}
std::string SetValue(const std::string& name, const std::string& value) {
  return Condition(name, "CHANGE", R"(,"Value":")" + value + "\"");
}

constexpr char kButton[] = R"({"Name":"go","Type":"BUTTON","Label":"Go"})";
constexpr char kEdit[] = R"({"Name":"name","Type":"EDIT","Label":"Name","Value":"old"})";
constexpr char kNumber[] =
    R"({"Name":"temp","Type":"EDIT","Label":"Set point","Format":"0.0","Scale":10,"Unit":"C",)"
    R"("Min":50,"Max":300,"Step":5,"Value":200})";

TEST(TerminalViewTest, ShowsTheLogInForm) {
  Stage stage;
  EXPECT_THAT(stage.Text(), HasSubstr("User"));
  EXPECT_THAT(stage.Text(), HasSubstr("[ Log in ]"));
  stage.Type("me");
  stage.Press(KeyCode::kEnter);
  stage.Type("secret");
  EXPECT_THAT(stage.LineWith("Password"), HasSubstr("••••••"));
  EXPECT_THAT(stage.Text(), Not(HasSubstr("secret")));
  stage.Press(KeyCode::kEnter);
  EXPECT_EQ(stage.mSession.GetState(), station::Session::State::kLoggingIn);
  stage.mSession.Connected(stage.mSession.Line(), stage.mNow);
  EXPECT_THAT(stage.mSession.TakeOutput(), HasSubstr(R"("Id":"me","Pass":"secret")"));
  stage.Say(R"({"Command":"ERROR","Status":"Authentication","Message":"no such user"})");
  EXPECT_THAT(stage.Text(), HasSubstr("Wrong user or password (no such user)"));
  EXPECT_THAT(stage.LineWith("User"), HasSubstr("me"));
}

TEST(TerminalViewTest, ShowsTitlesCaptionsValuesAndUnits) {
  Stage stage;
  stage.Show(R"({"Name":"g","Type":"GROUP","Title":"Basin","Objects":[)"
             R"({"Name":"level","Type":"LABEL","Label":"水位","Unit":"cm","Value":120}]})");
  EXPECT_EQ(stage.Line(1), "┌ Basin ───────────────────────────────┐");
  EXPECT_EQ(stage.Line(2), "│  水位                          120 cm│");
  EXPECT_THAT(stage.Line(0), HasSubstr(" Dialog d"));
  EXPECT_THAT(stage.Line(0), HasSubstr("online"));
  stage.Update(R"({"Name":"level","Value":121})");
  EXPECT_EQ(stage.Line(2), "│  水位                          121 cm│");
}

TEST(TerminalViewTest, TellsStatesByMarksAndTones) {
  Stage stage;
  stage.Show(R"({"Name":"a","Type":"LABEL","Value":95,"High":80,"HighHigh":90},)"
             R"({"Name":"b","Type":"LABEL","Value":"x","State":"WARN"},)"
             R"({"Name":"c","Type":"LABEL","Value":"fine"})");
  EXPECT_THAT(stage.LineWith("95"), HasSubstr("!!a"));
  EXPECT_EQ(stage.StyleOf("95").mTone, Tone::kAlarm);
  EXPECT_THAT(stage.LineWith("b "), HasSubstr("! b"));
  EXPECT_EQ(stage.StyleOf("fine").mTone, Tone::kPlain);
}

TEST(TerminalViewTest, TouchesAButton) {
  Stage stage;
  stage.Show(kButton);
  stage.Press(KeyCode::kTab);
  EXPECT_TRUE(stage.StyleOf("[ Go ]").mIsReverse);
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), ElementsAre(Condition("go", "CLICK")));
  EXPECT_THAT(stage.LineWith("[ Go ]"), HasSubstr("… [ Go ]"));
  stage.Answer();
  EXPECT_THAT(stage.LineWith("[ Go ]"), HasSubstr("  [ Go ]"));
  stage.Type(" ");
  EXPECT_THAT(stage.Sent(), ElementsAre(Condition("go", "CLICK")));
}

// Of a thousand objects the one that was acted on is made anew; the host's changes have their time.
TEST(TerminalViewTest, ShowsAnActionWithoutMakingTheScreenAnew) {
  Stage stage;
  stage.Show(R"({"Name":"speed","Type":"SLIDER","Min":0,"Max":100,"High":50,"Value":50},)"
             R"({"Name":"on","Type":"CHECK","Value":"OFF"},)"
             R"({"Name":"other","Type":"LABEL","Value":"old"})");
  stage.Focus("speed");
  static_cast<void>(stage.Picture());
  const std::string update = R"({"Command":"UPDATE","Objects":[{"Name":"other","Value":"new"}]})";
  stage.mSession.Received(stage.mSession.Line(), "\x02" + update + "\x03", stage.mNow);
  stage.mView.OnHost(stage.mNow);
  // Without what the host has changed.
  const auto line = [&stage](int y) { return stage.mView.Draw(stage.mNow).LineText(y); };
  stage.Press(KeyCode::kRight);
  EXPECT_THAT(line(2), AllOf(HasSubstr("… speed"), HasSubstr("51")));
  EXPECT_EQ(stage.mView.Draw(stage.mNow).At(38, 2).mStyle.mTone, Tone::kWarn);
  stage.Press(KeyCode::kRight);
  stage.Press(KeyCode::kTab);
  stage.Type(" ");
  EXPECT_THAT(line(2), HasSubstr("52"));
  EXPECT_THAT(line(4), HasSubstr("… [x] on"));
  EXPECT_THAT(line(5), HasSubstr("old"));
  EXPECT_THAT(stage.LineWith("other"), HasSubstr("new"));
  EXPECT_THAT(stage.LineWith("speed"), HasSubstr("52"));
}

TEST(TerminalViewTest, AsksBeforeAButtonThatWantsIt) {
  Stage stage;
  stage.ShowAndFocus(R"({"Name":"off","Type":"BUTTON","Label":"Off","Confirm":"Stop all?"})");
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Text(), HasSubstr("Stop all?"));
  stage.Press(KeyCode::kEnter);  // No stands first.
  EXPECT_THAT(stage.Sent(), IsEmpty());
  stage.Press(KeyCode::kEnter);
  stage.Press(KeyCode::kEscape);
  EXPECT_THAT(stage.Sent(), IsEmpty());
  stage.Press(KeyCode::kEnter);
  stage.Press(KeyCode::kUp);
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), ElementsAre(Condition("off", "CLICK")));
}

TEST(TerminalViewTest, SendsWhatWasTypedByEnterAndByLeaving) {
  Stage stage;
  stage.ShowAndFocus(std::string(kEdit) + "," + kButton);
  stage.Type("new");
  EXPECT_THAT(stage.LineWith("Name"), HasSubstr("+ Name"));
  EXPECT_THAT(stage.Sent(), IsEmpty());
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), ElementsAre(SetValue("name", "new")));
  stage.Answer();
  stage.Press(KeyCode::kLeft);
  stage.Type("x");
  stage.Press(KeyCode::kTab);
  EXPECT_THAT(stage.Sent(), ElementsAre(SetValue("name", "nexw")));
}

TEST(TerminalViewTest, TakesBackWhatWasTypedByEscape) {
  Stage stage;
  stage.ShowAndFocus(kEdit);
  stage.Type("q?/");
  EXPECT_FALSE(stage.mView.WantsQuit());
  EXPECT_THAT(stage.LineWith("Name"), HasSubstr("q?/"));
  stage.Press(KeyCode::kEscape);
  EXPECT_THAT(stage.LineWith("Name"), HasSubstr("old"));
  stage.Press(KeyCode::kTab);
  EXPECT_THAT(stage.Sent(), IsEmpty());
  stage.Press(KeyCode::kEscape);
  stage.Type("q");
  EXPECT_TRUE(stage.mView.WantsQuit());
}

TEST(TerminalViewTest, KeepsNumbersInTheirLimits) {
  Stage stage;
  stage.ShowAndFocus(kNumber);
  EXPECT_THAT(stage.Line(22), HasSubstr("5.0 … 30.0 C  step 0.5"));
  stage.Type("30.5");
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Text(), HasSubstr("Not above 30.0"));
  EXPECT_THAT(stage.LineWith("Set point"), HasSubstr("30.5"));
  EXPECT_THAT(stage.Sent(), IsEmpty());
  stage.Press(KeyCode::kEraseLine);
  EXPECT_THAT(stage.Text(), Not(HasSubstr("Not above")));
  stage.Type("x");
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Text(), HasSubstr("Not a number"));
  stage.Press(KeyCode::kEraseLine);
  stage.Type("12.5");
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), ElementsAre(SetValue("temp", "125")));
}

TEST(TerminalViewTest, StepsNumbers) {
  Stage stage;
  stage.ShowAndFocus(kNumber);
  stage.Press(KeyCode::kPageUp);
  stage.Press(KeyCode::kPageUp);
  EXPECT_THAT(stage.LineWith("Set point"), HasSubstr("21.0"));
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), ElementsAre(SetValue("temp", "210")));
}

TEST(TerminalViewTest, TypesSeveralLines) {
  Stage stage;
  stage.ShowAndFocus(
      R"({"Name":"note","Type":"EDIT","Label":"Note","Format":"lines:3","Value":"one"},)"
      R"({"Name":"go","Type":"BUTTON"})");
  stage.Press(KeyCode::kEnter);
  stage.Type("two");
  EXPECT_THAT(stage.Text(), HasSubstr("│  two"));
  EXPECT_THAT(stage.Sent(), IsEmpty());
  stage.Press(Key::Function(9));
  EXPECT_THAT(stage.Sent(), ElementsAre(SetValue("note", R"(one\\ntwo)")));
}

TEST(TerminalViewTest, SwitchesChecksRadiosSlidersAndLists) {
  Stage stage;
  stage.Show(
      R"({"Name":"light","Type":"CHECK","Value":"OFF"},)"
      R"({"Name":"m","Type":"GROUP","Layout":"RADIO","Objects":[)"
      R"({"Name":"m1","Type":"RADIOBTN","Attr":"ON"},{"Name":"m2","Type":"RADIOBTN","Attr":"OFF"}]},)"
      R"({"Name":"speed","Type":"SLIDER","Min":0,"Max":100,"Step":5,"Value":40},)"
      R"({"Name":"fruit","Type":"LIST","Options":["apple","pear"],"Value":"apple"},)"
      R"({"Name":"colour","Type":"COMBO","Options":["red","green"],"Value":"red"})");
  EXPECT_THAT(stage.Text(), HasSubstr("[ ] light"));
  stage.Focus("light");
  stage.Type(" ");
  EXPECT_THAT(stage.Text(), HasSubstr("[x] light"));
  stage.Focus("m2");
  stage.Type(" ");
  stage.Focus("speed");
  stage.Press(KeyCode::kRight);
  stage.Focus("fruit");
  stage.Press(KeyCode::kDown);
  stage.Press(KeyCode::kEnter);
  stage.Focus("colour");
  stage.Press(KeyCode::kEnter);
  stage.Press(KeyCode::kDown);
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(
      stage.Sent(),
      ElementsAre(SetValue("light", "ON"), Condition("m2", "CLICK", R"(,"Attr":"ON")"),
                  SetValue("speed", "45"), SetValue("fruit", "pear"), SetValue("colour", "green")));
}

TEST(TerminalViewTest, ShowsOneTabAtATime) {
  Stage stage;
  stage.Show(R"({"Name":"v","Type":"GROUP","Layout":"TABS","Title":"Views","Objects":[)"
             R"({"Name":"front","Type":"GROUP","Objects":[{"Name":"door","Type":"LABEL"}]},)"
             R"({"Name":"back","Type":"GROUP","Objects":[{"Name":"window","Type":"LABEL"}]}]})");
  EXPECT_THAT(stage.Text(), HasSubstr("[front]"));
  EXPECT_THAT(stage.Text(), HasSubstr("door"));
  EXPECT_THAT(stage.Text(), Not(HasSubstr("window")));
  stage.Press(KeyCode::kTab);
  stage.Press(KeyCode::kRight);
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Text(), HasSubstr("[back]"));
  EXPECT_THAT(stage.Text(), HasSubstr("window"));
  EXPECT_THAT(stage.Text(), Not(HasSubstr("door")));
  stage.Focus("door");
  EXPECT_THAT(stage.Text(), HasSubstr("[front]"));
}

TEST(TerminalViewTest, AcknowledgesAlarms) {
  Stage stage;
  stage.Show(
      R"({"Name":"alarms","Type":"GRID","Role":"ALARMS","Columns":["No","Time","State","Text","Ack"],)"
      R"("RowKey":"No","Rows":[["2","08:15","ALARM","Level high",""],["1","08:00","WARN","Old","08:01"]]})");
  EXPECT_THAT(stage.Line(1), HasSubstr("!! Level high"));
  EXPECT_THAT(stage.LineWith("08:15"), HasSubstr("[Ack]"));
  EXPECT_TRUE(stage.mView.TakeBeep());
  EXPECT_FALSE(stage.mView.TakeBeep());
  stage.Press(KeyCode::kTab);
  stage.Press(KeyCode::kEnter);
  const std::string ack = Condition("alarms", "ACK", R"(,"Row":"2")");
  EXPECT_THAT(stage.Sent(), ElementsAre(ack));
  stage.Press(Key::Function(4));
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), ElementsAre(ack));
  stage.Update(R"({"Name":"alarms","Rows":[["2","08:15","ALARM","Level high","08:16"]]})");
  EXPECT_THAT(stage.Line(1), HasSubstr("No open alarms"));
}

TEST(TerminalViewTest, ScrollsTables) {
  std::string rows;
  for (int i = 1; i <= 50; ++i)
    rows += (i > 1 ? ",[\"row " : "[\"row ") + std::to_string(i) + "\"]";
  Stage stage;
  stage.Show(R"({"Name":"t","Type":"GRID","Columns":["Part"],"Rows":[)" + rows + "]}");
  EXPECT_THAT(stage.Text(), HasSubstr("1-8/50"));
  stage.Press(KeyCode::kTab);
  for (int i = 0; i < 20; ++i) stage.Press(KeyCode::kDown);
  EXPECT_TRUE(stage.StyleOf("row 21").mIsReverse);
  stage.Press(KeyCode::kPageDown);
  EXPECT_TRUE(stage.StyleOf("row 28").mIsReverse);
}

TEST(TerminalViewTest, KeepsWhatWasTypedWhenTheLineIsLost) {
  Stage stage;
  stage.ShowAndFocus(std::string(kEdit) + "," + kButton);
  stage.Type("half");
  stage.Lose();
  EXPECT_THAT(stage.Line(22), HasSubstr("Connection to the host lost; trying again for 0 s"));
  EXPECT_EQ(stage.StyleOf("[ Go ]").mTone, Tone::kDim);
  stage.mNow += 3000;
  EXPECT_THAT(stage.Line(22), HasSubstr("for 3 s"));
  stage.Type(" done");
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), IsEmpty());
  stage.ComeBack();
  EXPECT_THAT(stage.Text(), Not(HasSubstr("lost")));
  EXPECT_THAT(stage.LineWith("Name"), HasSubstr("half done"));
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), ElementsAre(SetValue("name", "half done")));
}

// Nobody knows whether the host has got it.
TEST(TerminalViewTest, TakesUpAgainWhatWasSentAndNotConfirmed) {
  Stage stage;
  stage.ShowAndFocus(kEdit);
  stage.Type("sent");
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), ElementsAre(SetValue("name", "sent")));
  stage.Lose();
  EXPECT_THAT(stage.LineWith("Name"), HasSubstr("+ Name"));
  stage.ComeBack();
  EXPECT_THAT(stage.LineWith("Name"), HasSubstr("sent"));
  stage.Update(R"({"Name":"name","Value":"sent"})");
  EXPECT_THAT(stage.LineWith("Name"), Not(HasSubstr("+ Name")));
}

TEST(TerminalViewTest, KeepsWhatWasTypedOverTheEndOfASession) {
  Stage stage;
  stage.ShowAndFocus(kEdit);
  stage.Type("half");
  stage.Say(R"({"Command":"ERROR","Status":"InvalidSessionId","Message":"gone"})");
  EXPECT_THAT(stage.Text(), HasSubstr("The session has ended"));
  EXPECT_THAT(stage.Text(), Not(HasSubstr("half")));
  stage.Type("secret");
  stage.Press(KeyCode::kEnter);
  stage.Open();
  stage.Answer();
  EXPECT_THAT(stage.LineWith("Name"), HasSubstr("half"));
  stage.Press(Key::Function(8));
  stage.mView.LogIn("other", "x", stage.mNow);
  stage.Open();
  stage.Answer();
  EXPECT_THAT(stage.LineWith("Name"), HasSubstr("old"));
}

TEST(TerminalViewTest, EntersDialogsFromTheMenuAndByGoto) {
  Stage stage;
  stage.mOpenMore = R"(,"Menu":["d","other_one"])";
  stage.AddDialog("other_one", R"({"Name":"here","Type":"LABEL"})");
  stage.Show(R"({"Name":"to","Type":"BUTTON","Goto":"nowhere"})");
  stage.Press(Key::Function(2));
  EXPECT_THAT(stage.Text(), HasSubstr("2 other one"));
  stage.Type("2");
  stage.Answer();
  EXPECT_THAT(stage.Line(0), HasSubstr("Dialog other_one"));
  EXPECT_THAT(stage.Text(), HasSubstr("here"));
  stage.Press(Key::Function(2));
  stage.Type("1");
  stage.Answer();
  stage.Press(KeyCode::kTab);
  stage.Press(KeyCode::kEnter);
  stage.Answer();
  EXPECT_THAT(stage.Text(), HasSubstr("No such dialog, or nothing to show"));
}

TEST(TerminalViewTest, SaysThatAnotherDialogIsToBeDrawn) {
  Stage stage;
  stage.Show(kButton);
  stage.Picture();
  ASSERT_FALSE(stage.mView.HasHostChange());
  stage.AddDialog("e", "");
  stage.mSession.Enter("e", stage.mNow);
  stage.Answer();
  EXPECT_TRUE(stage.mView.HasHostChange());
}

TEST(TerminalViewTest, HoldsKeysUntilTheDialogIsThere) {
  Stage stage;
  stage.AddDialog("d", kButton);
  stage.mView.LogIn("me", "secret", stage.mNow);
  stage.Press(KeyCode::kTab);
  stage.Press(KeyCode::kEnter);
  stage.Open();
  stage.Answer();
  EXPECT_THAT(stage.Sent(), ElementsAre(Condition("go", "CLICK")));
}

TEST(TerminalViewTest, SpeaksJapanese) {
  Stage stage;
  stage.mOpenMore = R"(,"Language":"ja")";
  stage.Show(R"({"Name":"level","Type":"LABEL","Label":"Level","Label:ja":"水位"})");
  EXPECT_THAT(stage.Text(), HasSubstr("水位"));
  EXPECT_THAT(stage.Line(23), HasSubstr("F1ヘルプ"));
  stage.Press(Key::Function(6));
  EXPECT_THAT(stage.Text(), HasSubstr("Level"));
  EXPECT_THAT(stage.Line(23), HasSubstr("F1Help"));
}

TEST(TerminalViewTest, WarnsBeforeTheSessionEnds) {
  Stage stage;
  stage.mOpenMore = R"(,"Interval":40)";
  stage.Show(kButton);
  EXPECT_THAT(stage.Text(), Not(HasSubstr("The session ends")));
  stage.mNow += 31'000;
  EXPECT_THAT(stage.Line(22), HasSubstr("The session ends in 9 s unless you touch something"));
  stage.Press(KeyCode::kTab);
  EXPECT_THAT(stage.Text(), Not(HasSubstr("The session ends")));
}

TEST(TerminalViewTest, StayingLoggedInEndsWithALogOut) {
  Stage stage;
  stage.mOpenMore = R"(,"Interval":40)";
  stage.Show(kButton);
  stage.Press(Key::Function(7));
  stage.mNow += 31'000;
  EXPECT_THAT(stage.Text(), Not(HasSubstr("The session ends")));
  stage.Press(Key::Function(8));
  stage.Show(kButton);
  stage.mNow += 31'000;
  EXPECT_THAT(stage.Text(), HasSubstr("The session ends in 9 s"));
}

TEST(TerminalViewTest, HidesAndDisables) {
  Stage stage;
  stage.Show(R"({"Name":"a","Type":"BUTTON","Visible":"OFF"},)"
             R"({"Name":"b","Type":"BUTTON","Enabled":"OFF"},{"Name":"c","Type":"BUTTON"})");
  EXPECT_THAT(stage.Text(), Not(HasSubstr("[ a ]")));
  EXPECT_EQ(stage.StyleOf("[ b ]").mTone, Tone::kDim);
  stage.Press(KeyCode::kTab);
  stage.Press(KeyCode::kEnter);
  EXPECT_THAT(stage.Sent(), ElementsAre(Condition("c", "CLICK")));
}

TEST(TerminalViewTest, ActsByMouse) {
  Stage stage;
  stage.Show(kButton);
  stage.Picture();
  stage.Press(Key::Click(5, 2));
  EXPECT_THAT(stage.Sent(), ElementsAre(Condition("go", "CLICK")));
  stage.Press(Key::Click(1, 23));
  EXPECT_THAT(stage.Text(), HasSubstr("go from object to object"));
}

}  // namespace
}  // namespace dorn::terminal
