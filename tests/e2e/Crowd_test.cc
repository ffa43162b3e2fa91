// More stations than a host has descriptors for.
#include <gtest/gtest.h>
#include <sys/resource.h>

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
    if (limit.rlim_max < 4096) GTEST_SKIP() << "The hard limit of descriptors is below 4096.";
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
      if (i % 100 != 0) continue;
      ASSERT_TRUE(first.HasNothingMore()) << i;
    }
    ASSERT_TRUE(first.HasNothingMore());
    // The early ones are in, the last one is not.
    EXPECT_TRUE(crowd.front()->LogIn("b"));
    EXPECT_TRUE(crowd.back()->WaitForClose());
  }
  ASSERT_TRUE(first.HasNothingMore());
  bool isIn = false;
  for (int attempt = 0; attempt < 100 && !isIn; ++attempt) {
    RemoteStation late;
    isIn = late.LogIn("c");
  }
  EXPECT_TRUE(isIn);
  EXPECT_TRUE(host.IsAlive());
}

INSTANTIATE_TEST_SUITE_P(DescriptorLimits, CrowdTest, testing::Values(256, 1024, 4096));

}  // namespace
