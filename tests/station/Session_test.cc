// Logging in, acting, and asking the host by fences whether it is there.
#include <gtest/gtest.h>

#include <string>

#include "tests/station/SessionTest.h"

namespace dorn::station {
namespace {

TEST_F(SessionTest, WantsNoLineBeforeTheFirstLogIn) {
  EXPECT_EQ(mSession.Line(), 0u);
  EXPECT_EQ(mSession.NextTick(), std::nullopt);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
}

TEST_F(SessionTest, LogsInAndEntersTheDialogThatIsOpened) {
  mSession.LogIn("me", "secret", mNow);
  EXPECT_NE(mSession.Line(), 0u);
  EXPECT_EQ(Sent(), Texts());
  mSession.Connected(mSession.Line(), mNow);
  EXPECT_EQ(Sent(), Texts{kHello});
  Say(kOpen);
  EXPECT_EQ(Sent(), (Texts{Entry(1, "panel", "panel.json"), Fence(2)}));
  EXPECT_EQ(mSession.GetState(), Session::State::kEntering);
  Say(FenceAnswer(1));
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(ValueOf("a"), "1");
  EXPECT_EQ(mSession.SessionId(), "s1");
}

TEST_F(SessionTest, TakesTheDialogsNameFromOpenBeforeItsFile) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Sent();
  Say(R"({"Command":"OPEN","DialogName":"x@y","File":"z.json","SessionId":"s1","Interval":600,"Language":"ja","Menu":["x@y","z"]})");
  EXPECT_EQ(Sent()[0], Entry(1, "x@y", "x/y.json"));
  EXPECT_EQ(mSession.LastOpened().mIntervalSeconds, 600);
  EXPECT_EQ(mSession.LastOpened().mLanguage, "ja");
  EXPECT_EQ(mSession.LastOpened().mMenu, (Texts{"x@y", "z"}));
}

TEST_F(SessionTest, FollowsAnOpenAtAnyTime) {
  Show();
  Say(R"({"Command":"OPEN","File":"sub/notes.json","SessionId":"s1"})");
  EXPECT_EQ(Sent()[0], Entry(3, "sub@notes", "sub/notes.json"));
}

TEST_F(SessionTest, AWrongPasswordEndsTheLineAndTheNextAttemptTakesANewOne) {
  mSession.LogIn("me", "wrong", mNow);
  const unsigned first = mSession.Line();
  mSession.Connected(first, mNow);
  Say(R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})");
  EXPECT_EQ(mSession.Line(), 0u);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kWrongPassword);
  EXPECT_EQ(mSession.Message(), "認証失敗");
  mSession.LogIn("me", "secret", mNow);
  EXPECT_GT(mSession.Line(), first);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
}

TEST_F(SessionTest, GivesUpALogInAfterTenSeconds) {
  mSession.LogIn("me", "secret", mNow);
  AdvanceByTicks(9999);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggingIn);
  AdvanceByTicks(1);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kCannotConnect);
  EXPECT_EQ(mSession.Line(), 0u);
}

TEST_F(SessionTest, ALogInThatCannotConnectSaysSo) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Closed(mSession.Line(), mNow);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kCannotConnect);
}

TEST_F(SessionTest, AnswersKeepaliveAtOnce) {
  Show();
  Say(kKeepalive);
  EXPECT_EQ(Sent(), Texts{kKeepalive});
}

TEST_F(SessionTest, ActsBetweenTwoFencesAndMeasuresTheHost) {
  Show();
  EXPECT_TRUE(mSession.Act("a", "CHANGE", {{"a", {{"Value", Json::String("5")}}}}, mNow));
  EXPECT_EQ(
      Sent(),
      Texts{
          "{\"Commands\":[" + Fence(3) +
          R"(,{"Command":"CONDITION","ActionName":"a","ActionType":"CHANGE","Objects":[{"Name":"a","Value":"5"}]},)" +
          Fence(4) + "]}"});
  EXPECT_EQ(ValueOf("a"), "5");
  EXPECT_TRUE(mSession.Dialog().IsPending("a"));
  Say(R"({ "Command":"UPDATE", "Objects":[{"Value":"9","Name":"a"}]})");
  EXPECT_EQ(ValueOf("a"), "5");
  mNow += 3;
  Say(FenceAnswer(3));
  mNow += 7;
  Say(FenceAnswer(4));
  EXPECT_EQ(ValueOf("a"), "5");
  EXPECT_FALSE(mSession.Dialog().IsPending("a"));
  EXPECT_EQ(mSession.Quality(), 7);
}

TEST_F(SessionTest, RefusesToSendWhatNoHostMayGet) {
  Show();
  EXPECT_FALSE(mSession.Act("a", "CHANGE", {{"a", {{"Value", Json::String("x\x02")}}}}, mNow));
  EXPECT_FALSE(mSession.Act("a", "CHANGE",
                            {{"a", {{"Value", Json::String(std::string(524286, 'x'))}}}}, mNow));
  EXPECT_EQ(Sent(), Texts());
  EXPECT_FALSE(mSession.Dialog().HasPending());
}

TEST_F(SessionTest, SaysAfterFiveSecondsThatTheHostDoesNotAnswer) {
  Show();
  mSession.Act("a", "CLICK", {{"a", {}}}, mNow);
  AdvanceByTicks(4999);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
  EXPECT_EQ(mSession.StaleSince(), std::nullopt);
  const Session::Ms sent = mNow - 4999;
  AdvanceByTicks(1);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNoAnswer);
  EXPECT_EQ(mSession.StaleSince(), sent);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  Say(FenceAnswer(3));
  Say(FenceAnswer(4));
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
}

TEST_F(SessionTest, WaitsForBothFencesOfAnAction) {
  Show();
  mSession.Act("a", "CLICK", {{"a", {}}}, mNow);
  Say(FenceAnswer(3));
  AdvanceByTicks(5000);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNoAnswer);
}

// The fences around it count.
TEST_F(SessionTest, RefusesAnActionThatIsTooLongWithItsFences) {
  Show();
  const auto act = [this](std::size_t length) {
    return mSession.Act("a", "CHANGE", {{"a", {{"Value", Json::String(std::string(length, 'x'))}}}},
                        mNow);
  };
  ASSERT_TRUE(act(0));
  const std::size_t around = Sent()[0].size();
  EXPECT_FALSE(act(kMaxSentText - around + 1));
  EXPECT_TRUE(act(kMaxSentText - around));
  EXPECT_EQ(Sent()[0].size(), kMaxSentText);
}

TEST_F(SessionTest, LosesALineOnWhichAFileBeyondTheLimitIsAnnounced) {
  Show();
  const unsigned line = mSession.Line();
  Say(R"({"Command":"PUTFILE","Date":"2024-01-02 03:04:05","File":"a.png","Length":67108865})");
  EXPECT_EQ(mSession.GetState(), Session::State::kWaiting);
  Advance(500);
  EXPECT_GT(mSession.Line(), line);
}

TEST_F(SessionTest, NothingBehindTheEndOfASessionIsExecuted) {
  Show();
  Say(R"({"Commands":[{"Command":"ERROR","Message":"over","Status":"InvalidSessionId"},)"
      R"({"Command":"OPEN","File":"panel.json","SessionId":"s2"}]})");
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.Message(), "over");
  EXPECT_EQ(mSession.SessionId(), "");
}

TEST_F(SessionTest, SendsAFenceEachTwentySecondsWhileSomebodyLooks) {
  Show();
  AdvanceByTicks(19999);
  EXPECT_EQ(Sent(), Texts());
  AdvanceByTicks(1);
  EXPECT_EQ(Sent(), Texts{Fence(3)});
  AdvanceByTicks(4000);
  Say(FenceAnswer(3));
  AdvanceByTicks(19999);
  EXPECT_EQ(Sent(), Texts());
  mSession.SetLooking(false, mNow);
  AdvanceByTicks(60000);
  EXPECT_EQ(Sent(), Texts());
}

TEST_F(SessionTest, FencesEndWithTheSessionsTimeFromTheLastTouch) {
  Show();
  int fences = 0;
  for (int i = 0; i < 100; ++i) {
    AdvanceByTicks(20000);
    for (const std::string& text : Sent()) {
      if (text == Fence(3 + fences)) Say(FenceAnswer(3 + fences++));
    }
  }
  EXPECT_EQ(fences, 29);  // Ten minutes, as no Interval was told; the last one is not reached.
}

TEST_F(SessionTest, CountsTextsByHowTheyWereRead) {
  Show();
  const auto before = mSession.Texts();
  Say("{'Commands':[]}");
  Say("what?");
  Say("what?");
  EXPECT_EQ(mSession.Texts().mTolerant, before.mTolerant + 1);
  EXPECT_EQ(mSession.Texts().mUnreadable, before.mUnreadable + 2);
  EXPECT_GT(before.mStrict, 0u);
}

TEST_F(SessionTest, WhatIsPendingEndsWithTheLine) {
  Show();
  mSession.Act("a", "CHANGE", {{"a", {{"Value", Json::String("5")}}}}, mNow);
  mSession.Closed(mSession.Line(), mNow);
  EXPECT_FALSE(mSession.Dialog().HasPending());
  EXPECT_EQ(ValueOf("a"), "1");
  EXPECT_FALSE(mSession.Act("a", "CLICK", {{"a", {}}}, mNow));
}

}  // namespace
}  // namespace dorn::station
