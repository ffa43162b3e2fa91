// More stations than a host has descriptors for.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/HostProcess.h"
#include "tests/e2e/RemoteStation.h"
#include "tests/support/Deadline.h"

namespace {

constexpr int kCrowd = 1500;

class CrowdTest : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    ASSERT_GE(limit.rlim_max, 4096U) << "raise the hard limit of descriptors: ulimit -Hn 4096";
  }
};

TEST_P(CrowdTest, ThoseThatAreInAreServedAndThereIsRoomAgainAfterwards) {
  HostProcess host({"limit=" + std::to_string(GetParam())});
  RemoteStation first;
  ASSERT_TRUE(first.LogIn("a"));
  {
    std::vector<std::unique_ptr<RemoteStation>> crowd;
    for (int i = 0; i < kCrowd; ++i) {
      crowd.push_back(std::make_unique<RemoteStation>());
      RemoteStation& station = *crowd.back();
      station.SendText(R"({"Command":"HELLO","Id":"x","Pass":"wrong"})");
      // The oldest of those that are not logged in makes room.
      ASSERT_NE("", station.Next()) << i;
    }
    const auto isOpen = [](const auto& station) { return !station->IsClosed(); };
    const auto open = std::count_if(crowd.begin(), crowd.end(), isOpen);
    const int limit = std::min(GetParam(), 1024);
    EXPECT_GT(open, limit / 2);
    EXPECT_LT(open, limit);
    EXPECT_FALSE(crowd.back()->IsClosed());
    ASSERT_TRUE(first.HasNothingMore());
  }
  RemoteStation late;
  EXPECT_TRUE(late.LogIn("c"));
  EXPECT_TRUE(first.HasNothingMore());
}

TEST_P(CrowdTest, WhereAllAreLoggedInFurtherOnesAreTurnedAway) {
  HostProcess host({"limit=" + std::to_string(GetParam())});
  std::vector<std::unique_ptr<RemoteStation>> crowd;
  const int limit = std::min(GetParam(), 1024);
  int served = 0;
  for (int i = 0; i < limit + 20; ++i) {
    crowd.push_back(std::make_unique<RemoteStation>());
    // Either an answer or the end.
    if (crowd.back()->LogIn("a")) {
      ++served;
    } else {
      ASSERT_TRUE(crowd.back()->IsClosed()) << i;
    }
  }
  EXPECT_GT(served, limit * 3 / 4);
  EXPECT_LT(served, limit);
  EXPECT_TRUE(crowd.front()->HasNothingMore());
  crowd.clear();
  bool isIn = false;
  for (int attempt = 0; attempt < 1000 && !isIn; ++attempt) {
    RemoteStation late;
    isIn = late.LogIn("c");
  }
  EXPECT_TRUE(isIn);
}

// A connection from that address of this machine; -1 if there is none.
int ConnectFrom(const char* address) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in own{};
  own.sin_family = AF_INET;
  inet_pton(AF_INET, address, &own.sin_addr);
  sockaddr_in host{};
  host.sin_family = AF_INET;
  host.sin_port = htons(5000);
  host.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(fd, reinterpret_cast<sockaddr*>(&own), sizeof own) == 0 &&
      connect(fd, reinterpret_cast<sockaddr*>(&host), sizeof host) == 0) {
    return fd;
  }
  close(fd);
  return -1;
}

// Holds as many connections as it can from one address, never logs in, and replaces each that it
// loses.
class Hog {
 public:
  static constexpr int kMany = 400;

  explicit Hog(const char* address) {
    for (int i = 0; i < kMany; ++i) mHeld.push_back(ConnectFrom(address));
    mThread = std::thread([this, address] {
      for (; !mIsOver; poll(nullptr, 0, 1)) Refill(address);
    });
  }
  ~Hog() {
    mIsOver = true;
    mThread.join();
    for (const int fd : mHeld) close(fd);
  }
  Hog(const Hog&) = delete;
  Hog& operator=(const Hog&) = delete;

 private:
  void Refill(const char* address) {
    for (int& fd : mHeld) {
      char byte;
      if (recv(fd, &byte, 1, MSG_DONTWAIT) == -1 && errno == EAGAIN) continue;
      close(fd);
      fd = ConnectFrom(address);
      if (mIsOver) return;
    }
  }

  std::vector<int> mHeld;
  std::atomic<bool> mIsOver{false};
  std::thread mThread;
};

// Whether somebody who knows the password is in within two seconds of a machine that is not slow.
bool LogsInFrom(const char* address) {
  const auto end =
      std::chrono::steady_clock::now() + TestPatience() * std::chrono::duration<double>(2);
  TestStation station;
  static_cast<TcpPeer&>(station) = TcpPeer(ConnectFrom(address));
  station.SendText(R"({"Command":"HELLO","Id":"u","Pass":"p"})");
  while (station.Messages().empty() && !station.IsClosed()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    pollfd entry{station.Fd(), POLLIN, 0};
    poll(&entry, 1, 20);
  }
  return station.HasMessage("\"SessionId\":\"S-u\"") && std::chrono::steady_clock::now() < end;
}

TEST(HogTest, AStationOfAnotherAddressGetsInWhileOneAddressHoldsAllSlots) {
  HostProcess host({"limit=256"});
  RemoteStation first;
  ASSERT_TRUE(first.LogIn("a"));
  const Hog hog("127.0.0.2");
  int in = 0;
  for (int attempt = 0; attempt < 100; ++attempt) in += LogsInFrom("127.0.0.3") ? 1 : 0;
  RecordProperty("in", in);
  EXPECT_GE(in, 95);
  EXPECT_TRUE(first.HasNothingMore());
}

INSTANTIATE_TEST_SUITE_P(DescriptorLimits, CrowdTest, testing::Values(256, 1024, 4096));

}  // namespace
