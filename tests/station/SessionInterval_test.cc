// Sessions whose length, as the host tells it, is no length that anybody means.
#include <gtest/gtest.h>

#include <string>

#include "station/Framing.h"
#include "station/Session.h"

namespace dorn::station {
namespace {

class SessionIntervalTest : public testing::TestWithParam<const char*> {};

// In milliseconds it would be negative, and the session over at once.
TEST_P(SessionIntervalTest, AHugeOneEndsNoSession) {
  Session session({});
  Session::Ms now = 1000;
  session.LogIn("me", "secret", now);
  session.Connected(session.Line(), now);
  const auto say = [&](const std::string& text) {
    session.Received(session.Line(), Framed(text), now);
  };
  say(std::string(R"({"Command":"OPEN","File":"","SessionId":"s1","Interval":)") + GetParam() +
      "}");
  now += 86'400'000;
  session.Tick(now);
  EXPECT_EQ(session.GetState(), Session::State::kShowing);
  EXPECT_GT(session.LastOpened().mIntervalSeconds, 86'400);
  ASSERT_TRUE(session.NextTick());
  session.SetStayLoggedIn(true, now);
  session.Tick(now + 1);
  EXPECT_GT(session.NextTick(), now);
}

INSTANTIATE_TEST_SUITE_P(Huge, SessionIntervalTest,
                         testing::Values("9223372036854775807", "\"9223372036854775\"",
                                         "99999999999999999999"));

}  // namespace
}  // namespace dorn::station
