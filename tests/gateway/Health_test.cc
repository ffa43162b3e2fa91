// Whether the host answers, as /healthz tells.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"

namespace {

using dorn::gateway::Ms;

std::string Health(int port) {
  const std::string answer = HttpGet(port, "/healthz");
  return answer.rfind("HTTP/1.1 200 ", 0) == 0 ? answer.substr(answer.find("\r\n\r\n") + 4)
                                               : answer;
}

bool WaitForHealth(int port, const std::string& health) {
  const Deadline deadline;
  while (Health(port) != "{\"host\":\"" + health + "\"}\n") {
    if (deadline.IsOver()) return false;
    std::this_thread::sleep_for(Ms(5));
  }
  return true;
}

class HealthTest : public testing::Test {
 protected:
  HealthTest() : mGateway(Asking(mHost.Port())) {}

  static dorn::gateway::Options Asking(int hostPort) {
    dorn::gateway::Options options = RunningGateway::OptionsFor(hostPort);
    options.mTimes.mProbe = Ms(50);
    options.mTimes.mFence = Ms(100);
    return options;
  }

  // A question may be on its way; then there is none for as long as four would take.
  bool WaitUntilNothingIsAsked() const {
    const Deadline deadline;
    while (!deadline.IsOver()) {
      const std::size_t questions = mHost.Questions();
      std::this_thread::sleep_for(Ms(200));
      if (mHost.Questions() == questions) return true;
    }
    return false;
  }

  FakeHost mHost;
  RunningGateway mGateway;
};

TEST_F(HealthTest, AsksAHostThatNobodyUses) {
  EXPECT_TRUE(WaitForHealth(mGateway.Port(), "up"));
  const std::size_t questions = mHost.Questions();
  const Deadline deadline;
  while (mHost.Questions() < questions + 2 && !deadline.IsOver())
    std::this_thread::sleep_for(Ms(5));
  EXPECT_GE(mHost.Questions(), questions + 2);
}

// The kernel goes on accepting for it.
TEST_F(HealthTest, AStoppedHostIsDown) {
  ASSERT_TRUE(WaitForHealth(mGateway.Port(), "up"));
  mHost.Stop();
  EXPECT_TRUE(WaitForHealth(mGateway.Port(), "down"));
  mHost.GoOn();
  EXPECT_TRUE(WaitForHealth(mGateway.Port(), "up"));
}

TEST_F(HealthTest, AHostThatIsNotThereIsDown) {
  const int port = UnusedPort();
  RunningGateway gateway(Asking(port));
  EXPECT_TRUE(WaitForHealth(gateway.Port(), "down"));
  EXPECT_EQ(HttpGet(gateway.Port(), "/healthz").substr(0, 15), "HTTP/1.1 200 OK");
}

TEST_F(HealthTest, PagesTellWhileTheyAreServed) {
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(mGateway.Port()));
  page.LogIn();
  ASSERT_TRUE(WaitForHealth(mGateway.Port(), "up"));
  EXPECT_TRUE(WaitUntilNothingIsAsked());
  mHost.Stop();
  page.SendText(R"({"Command":"GETFILE","File":"?f1"})");
  EXPECT_TRUE(WaitForHealth(mGateway.Port(), "down"));
  mHost.GoOn();
  EXPECT_TRUE(WaitForHealth(mGateway.Port(), "up"));
}

}  // namespace
