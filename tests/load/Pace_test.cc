#include "tools/dorn-load/Pace.h"

#include <gtest/gtest.h>

namespace dorn::load {
namespace {

TEST(PaceTest, BeginsAtTheStart) {
  Pace pace(10, 5000);
  EXPECT_FALSE(pace.IsDue(4999));
  EXPECT_TRUE(pace.IsDue(5000));
  EXPECT_EQ(pace.Take(), 5000);
  EXPECT_EQ(pace.NextAt(), 5000 + 100 * kMillisecond);
}

TEST(PaceTest, NeverDriftsFromItsRate) {
  Pace pace(3, 0);
  for (int i = 0; i < 3'000'000; ++i) pace.Take();
  EXPECT_EQ(pace.NextAt(), 1'000'000 * kSecond);
}

// Somebody was held up for a second: what was due then is due still, each with its own time.
TEST(PaceTest, KeepsTheTimesThatWereMissed) {
  Pace pace(100, 0);
  const Us now = kSecond;
  int due = 0;
  for (; pace.IsDue(now); ++due) EXPECT_EQ(pace.Take(), due * 10 * kMillisecond);
  EXPECT_EQ(due, 101);
}

TEST(PaceTest, TellsWhatIsLeft) {
  Pace pace(10, 5000);
  EXPECT_EQ(pace.LeftBefore(5000), 0u);
  EXPECT_EQ(pace.LeftBefore(5001), 1u);
  EXPECT_EQ(pace.LeftBefore(5000 + kSecond), 10u);
  for (int i = 0; i < 4; ++i) pace.Take();
  EXPECT_EQ(pace.LeftBefore(5000 + kSecond), 6u);
  EXPECT_EQ(pace.LeftBefore(5000), 0u);
}

}  // namespace
}  // namespace dorn::load
