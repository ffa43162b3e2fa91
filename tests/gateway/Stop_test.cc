// How a gateway ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"

namespace {

using dorn::gateway::Ms;
using testing::HasSubstr;

TEST(StopTest, TellsPagesAndThenClosesThem) {
  FakeHost host;
  RunningGateway gateway(host.Port());
  WebSocketPeer page, idle;
  ASSERT_TRUE(page.Open(gateway.Port()));
  ASSERT_TRUE(idle.Open(gateway.Port()));
  page.LogIn();
  idle.NextText();
  gateway.BeginStop();
  for (WebSocketPeer* each : {&page, &idle}) {
    EXPECT_EQ(each->NextText(), R"({"t":"down","why":"the gateway is being stopped"})");
    EXPECT_EQ(each->WaitForClose(), 1001);
    each->SendFrame(kClose, "\x03\xE9");
    EXPECT_TRUE(each->WaitForEnd());
  }
  gateway.Stop();
  EXPECT_TRUE(host.WaitForConnections(0));
  TcpPeer late;
  EXPECT_FALSE(late.Connect(gateway.Port()));
}

TEST(StopTest, DoesNotWaitForEverForAPage) {
  FakeHost host;
  dorn::gateway::Options options = RunningGateway::OptionsFor(host.Port());
  options.mTimes.mClose = Ms(100);
  RunningGateway gateway(options);
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(gateway.Port()));
  page.LogIn();
  HangGuard guard;
  gateway.Stop();
  EXPECT_EQ(page.WaitForClose(), 1001);
}

TEST(StopTest, ASecondTimeEndsItAtOnce) {
  FakeHost host;
  dorn::gateway::Options options = RunningGateway::OptionsFor(host.Port());
  options.mTimes.mClose = Ms(1000000);
  RunningGateway gateway(options);
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(gateway.Port()));
  HangGuard guard;
  gateway.BeginStop();
  gateway.Stop();
}

TEST(StopTest, EndsWithEverythingUnderWay) {
  FakeHost host;
  host.Stop();
  dorn::gateway::Options options = RunningGateway::OptionsFor(host.Port());
  options.mTimes.mClose = Ms(50);
  options.mTimes.mProbe = Ms(10);
  RunningGateway gateway(options);
  TcpPeer silent;
  WebSocketPeer half, waiting;
  ASSERT_TRUE(silent.Connect(gateway.Port()));
  ASSERT_TRUE(half.Open(gateway.Port()));
  ASSERT_TRUE(waiting.Open(gateway.Port()));
  half.SendBytes(WebSocketFrame(kText, "x", false));
  waiting.SendText(R"({"Command":"HELLO","Id":"u","Pass":"right"})");
  waiting.WaitForText("up");
  HangGuard guard;
  gateway.Stop();
}

}  // namespace
