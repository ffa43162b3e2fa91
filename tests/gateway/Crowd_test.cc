// As many pages as are allowed, and many more one after the other.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>
#include <vector>

#include "station/Framing.h"
#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"
#include "tools/dorn-gateway/Gateway.h"

namespace {

using dorn::station::Framed;

// How often pages come and go; the environment asks for more.
int Rounds() {
  const char* const rounds = std::getenv("DORN_GATEWAY_ROUNDS");
  return rounds != nullptr ? std::atoi(rounds) : 1000;
}

std::size_t OpenDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// A sanitizer keeps what was freed for a while, to find who still uses it.
#ifdef __SANITIZE_ADDRESS__
constexpr long kGrownKb = 200'000;
#else
constexpr long kGrownKb = 2'000;
#endif

long ResidentKb() {
  std::ifstream file("/proc/self/statm");
  long size = 0;
  long resident = 0;
  file >> size >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

class CrowdTest : public testing::Test {
 protected:
  void SetUp() override {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    ASSERT_GE(limit.rlim_cur, 4096u) << "both ends of all connections are in this process";
  }
};

// However long that takes here.
TEST_F(CrowdTest, ServesAThousandPages) {
  FakeHost host;
  dorn::gateway::Options options = RunningGateway::OptionsFor(host.Port());
  options.mTimes.mPing = options.mTimes.mStranger = dorn::gateway::Ms(600'000);
  options.mTimes.mLogInQueue = options.mTimes.mLogInTurn = dorn::gateway::Ms(600'000);
  RunningGateway gateway(options);
  std::vector<WebSocketPeer> pages(1000);
  for (WebSocketPeer& page : pages) ASSERT_TRUE(page.Open(gateway.Port())) << page.Head();
  for (std::size_t i = 0; i < 900; ++i) {
    pages[i].SendText(R"({"Command":"HELLO","Id":"u","Pass":"right"})");
  }
  for (std::size_t i = 0; i < 900; ++i) ASSERT_NE(pages[i].WaitForText("OPEN"), "") << i;
  EXPECT_EQ(host.OpenConnections(), 900u);
  pages[900].SendText(R"({"Command":"HELLO","Id":"u","Pass":"right"})");
  EXPECT_NE(pages[900].WaitForText("down"), "");
  WebSocketPeer beyond;
  EXPECT_FALSE(beyond.Open(gateway.Port()));
  host.SendAll(Framed(R"({"Command":"UPDATE","x":"to all"})"));
  for (std::size_t i = 0; i < 900; ++i) ASSERT_NE(pages[i].WaitForText("to all"), "") << i;
  EXPECT_EQ(gateway.Metrics().mPages, 1000u);
  pages.clear();
  EXPECT_TRUE(host.WaitForConnections(0));
}

TEST_F(CrowdTest, PagesThatComeAndGoLeaveNothing) {
  FakeHost host;
  RunningGateway gateway(host.Port());
  const auto visit = [&](int round) {
    WebSocketPeer page;
    ASSERT_TRUE(page.Open(gateway.Port())) << round;
    if (round % 2 == 0) page.LogIn();
    if (round % 3 == 0) page.SendFrame(kClose, "\x03\xE8");
    if (round % 7 == 0) page.Tcp().Reset();
  };
  const auto settle = [&] {
    const Deadline deadline;
    while (gateway.Metrics().mConnections > 0 && !deadline.IsOver()) std::this_thread::yield();
    EXPECT_TRUE(host.WaitForConnections(0));
  };
  for (int i = 0; i < 300; ++i) visit(i);
  settle();
  const std::size_t descriptors = OpenDescriptors();
  const long before = ResidentKb();
  for (int i = 0; i < Rounds(); ++i) {
    visit(i);
    if (i % 100 == 0) host.Forget();
  }
  settle();
  EXPECT_EQ(OpenDescriptors(), descriptors);
  const long grown = ResidentKb() - before;
  EXPECT_LT(grown, kGrownKb) << "kilobytes";
  std::cout << Rounds() << " pages came and went; memory grew by " << grown << " KB\n";
  EXPECT_EQ(gateway.Metrics().mPages, 0u);
}

}  // namespace
