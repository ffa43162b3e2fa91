// How long a session lasts without a touch, as the host tells it.
#include <gtest/gtest.h>

#include <string>

#include "tests/station/SessionTest.h"

namespace dorn::station {
namespace {

TEST_F(SessionTest, EndsAfterTheIntervalWithoutATouch) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"OPEN","File":"panel.json","SessionId":"s1","Interval":60})");
  Say(FenceAnswer(1));
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  Say(FenceAnswer(2));
  AdvanceByTicks(59999);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  mSession.Touched(mNow);
  AdvanceByTicks(59999);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_TRUE(mSession.Act("a", "CLICK", {{"a", {}}}, mNow));
  AdvanceByTicks(59999);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  AdvanceByTicks(1);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kIdle);
}

TEST_F(SessionTest, StaysLoggedInByKeepaliveAtAThirdOfTheInterval) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"OPEN","File":"panel.json","SessionId":"s1","Interval":30})");
  Say(FenceAnswer(1));
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  Say(FenceAnswer(2));
  Sent();
  mSession.SetStayLoggedIn(true, mNow);
  AdvanceByTicks(9999);
  EXPECT_EQ(Sent(), Texts());
  AdvanceByTicks(1);
  EXPECT_EQ(Sent(), Texts{kKeepalive});
  AdvanceByTicks(300000);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
}

TEST_F(SessionTest, SendsNoKeepaliveWhereNoIntervalWasTold) {
  Show();
  mSession.SetStayLoggedIn(true, mNow);
  mSession.SetLooking(false, mNow);
  AdvanceByTicks(590000);
  EXPECT_EQ(Sent(), Texts());
}

// Lengths that nobody means.
class SessionIntervalTest : public SessionTest, public testing::WithParamInterface<const char*> {};

// In milliseconds it would be negative, and the session over at once.
TEST_P(SessionIntervalTest, AHugeOneEndsNoSession) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Say(std::string(R"({"Command":"OPEN","File":"","SessionId":"s1","Interval":)") + GetParam() +
      "}");
  Advance(86'400'000);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_GT(mSession.LastOpened().mIntervalSeconds, 86'400);
  ASSERT_TRUE(mSession.NextTick());
  mSession.SetStayLoggedIn(true, mNow);
  mSession.Tick(mNow + 1);
  EXPECT_GT(mSession.NextTick(), mNow);
}

INSTANTIATE_TEST_SUITE_P(Huge, SessionIntervalTest,
                         testing::Values("9223372036854775807", "\"9223372036854775\"",
                                         "99999999999999999999"));

}  // namespace
}  // namespace dorn::station
