// More stations than a host has descriptors for.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "tests/e2e/HostProcess.h"
#include "tests/e2e/RemoteStation.h"

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
    int served = 0;
    for (int i = 0; i < kCrowd; ++i) {
      crowd.push_back(std::make_unique<RemoteStation>());
      RemoteStation& station = *crowd.back();
      station.SendText(R"({"Command":"HELLO","Id":"x","Pass":"wrong"})");
      // Either an answer or the end.
      if (station.Next().empty()) {
        ASSERT_TRUE(station.IsClosed()) << i;
      } else {
        ++served;
      }
    }
    const int limit = std::min(GetParam(), 1024);
    EXPECT_GT(served, limit * 3 / 4);
    EXPECT_LT(served, kCrowd);
    ASSERT_TRUE(first.HasNothingMore());
  }
  bool isIn = false;
  for (int attempt = 0; attempt < 1000 && !isIn; ++attempt) {
    RemoteStation late;
    isIn = late.LogIn("c");
  }
  EXPECT_TRUE(isIn);
  EXPECT_TRUE(first.HasNothingMore());
}

INSTANTIATE_TEST_SUITE_P(DescriptorLimits, CrowdTest, testing::Values(256, 1024, 4096));

}  // namespace
