// A line that is lost, and the session that goes on with another one.
#include <gtest/gtest.h>

#include <string>

#include "tests/station/SessionTest.h"

namespace dorn::station {
namespace {

TEST_F(SessionTest, ComesBackWithTheSessionAfterGrowingPauses) {
  Show();
  const unsigned first = mSession.Line();
  mSession.Closed(first, mNow);
  EXPECT_EQ(mSession.GetState(), Session::State::kWaiting);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kLineLost);
  EXPECT_EQ(mSession.StaleSince(), mNow);
  EXPECT_EQ(ValueOf("a"), "1");
  unsigned line = first;
  for (const Session::Ms pause : {500, 1000, 2000, 3000, 3000, 3000}) {
    Advance(pause - 1);
    EXPECT_EQ(mSession.Line(), 0u) << pause;
    Advance(1);
    EXPECT_GT(mSession.Line(), line) << pause;
    line = mSession.Line();
    mSession.Closed(line, mNow);
  }
  Advance(3000);
  mSession.Connected(mSession.Line(), mNow);
  EXPECT_EQ(Sent(), (Texts{EntryAgain("panel"), Fence(3)}));
  Say(R"({ "Command":"UPDATE", "Objects":[{"Value":"7","Name":"a"}]})");
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(ValueOf("a"), "7");
  EXPECT_EQ(mSession.StaleSince(), std::nullopt);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
}

TEST_F(SessionTest, PausesGrowFromTheBeginningAfterEachReturn) {
  Show();
  for (int i = 0; i < 3; ++i) {
    mSession.Closed(mSession.Line(), mNow);
    EXPECT_EQ(mSession.NextTick(), mNow + 500);
    Advance(500);
    mSession.Connected(mSession.Line(), mNow);
    SendFile("panel.json", kTree, "26-01-01 00:00:00");
    ASSERT_EQ(mSession.GetState(), Session::State::kShowing);
  }
}

class JitterTest : public SessionTest {
 protected:
  Session::Options MakeOptions() override {
    Session::Options options;
    options.mRandom = [this] { return mRandom; };
    return options;
  }
  double mRandom = 0;
};

TEST_F(JitterTest, PausesDifferByAFifth) {
  Session session(MakeOptions());
  for (const auto& [random, pause] : {std::pair<double, Session::Ms>{0.0, 400}, {1.0, 600}}) {
    mRandom = random;
    session.LogIn("me", "secret", 0);
    session.Connected(session.Line(), 0);
    session.Received(session.Line(), Framed(kOpen), 0);
    session.Closed(session.Line(), 0);
    EXPECT_EQ(session.NextTick(), pause);
    session.LogOut();
  }
}

TEST_F(SessionTest, AnEndedSessionLeadsToTheLogInFormAndBackToTheDialog) {
  Show();
  mSession.Enter("notes", mNow);
  Say(FenceAnswer(3));
  SendFile("notes.json", kTree, "26-01-01 00:00:00");
  mSession.Closed(mSession.Line(), mNow);
  Advance(500);
  mSession.Connected(mSession.Line(), mNow);
  Sent();
  mSession.Received(
      mSession.Line(),
      Framed(
          R"({"Command":"ERROR","Message":"無効なセッションです。","Status":"InvalidSessionId"})") +
          Framed(R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})"),
      mNow);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kSessionEnded);
  EXPECT_EQ(mSession.Message(), "無効なセッションです。");
  EXPECT_EQ(mSession.Line(), 0u);
  LogIn();
  EXPECT_EQ(Sent()[1], Entry(6, "notes", "notes.json"));
}

TEST_F(SessionTest, AnotherUserStartsAtHisOwnDialog) {
  Show();
  mSession.Enter("notes", mNow);
  mSession.Closed(mSession.Line(), mNow);
  Advance(500);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"ERROR","Message":"x","Status":"InvalidSessionId"})");
  mSession.LogIn("you", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Sent();
  Say(kOpen);
  EXPECT_EQ(Sent()[0].find("notes"), std::string::npos);
}

TEST_F(SessionTest, ALogOutForgetsEverything) {
  Show();
  mSession.LogOut();
  EXPECT_EQ(mSession.Line(), 0u);
  EXPECT_EQ(mSession.SessionId(), "");
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
  EXPECT_EQ(mSession.NextTick(), std::nullopt);
}

TEST_F(SessionTest, IgnoresWhatIsToldOfAnotherLine) {
  Show();
  const unsigned old = mSession.Line();
  mSession.Closed(old, mNow);
  Advance(500);
  mSession.Connected(old, mNow);
  mSession.Closed(old, mNow);
  mSession.Received(old, Framed(R"({ "Command":"UPDATE", "Objects":[{"Value":"9","Name":"a"}]})"),
                    mNow);
  EXPECT_EQ(ValueOf("a"), "1");
  EXPECT_NE(mSession.Line(), 0u);
  EXPECT_EQ(Sent(), Texts());
}

}  // namespace
}  // namespace dorn::station
