#include "dorn/base/Clock.h"

#include <sys/time.h>

#include "gtest/gtest.h"

namespace {

timeval Early() { return timeval{12, 34}; }
timeval Late() { return timeval{56, 78}; }

bool NotAfter(const timeval& a, const timeval& b) { return !timercmp(&a, &b, >); }

class ClockTest : public testing::Test {
 protected:
  ~ClockTest() override { dorn::SetClock(nullptr); }
};

TEST_F(ClockTest, IsTheWallClockByDefault) {
  timeval before{};
  timeval after{};
  gettimeofday(&before, nullptr);
  const timeval now = dorn::Now();
  gettimeofday(&after, nullptr);
  EXPECT_TRUE(NotAfter(before, now));
  EXPECT_TRUE(NotAfter(now, after));
}

TEST_F(ClockTest, ReturnsWhatAReplacementSays) {
  dorn::SetClock(Early);
  EXPECT_EQ(dorn::Now().tv_sec, 12);
  EXPECT_EQ(dorn::Now().tv_usec, 34);
}

TEST_F(ClockTest, SetClockReturnsThePreviousReplacement) {
  EXPECT_EQ(dorn::SetClock(Early), nullptr);
  EXPECT_EQ(dorn::SetClock(Late), &Early);
  EXPECT_EQ(dorn::Now().tv_sec, 56);
  EXPECT_EQ(dorn::SetClock(nullptr), &Late);
  EXPECT_GT(dorn::Now().tv_sec, 56);
}

}  // namespace
