#include "tools/dorn-load/Options.h"

#include <gtest/gtest.h>

#include <array>

namespace dorn::load {
namespace {

TEST(DurationTest, ReadsUnits) {
  EXPECT_EQ(ReadDuration("250us"), 250);
  EXPECT_EQ(ReadDuration("50ms"), 50'000);
  EXPECT_EQ(ReadDuration("1.5s"), 1'500'000);
  EXPECT_EQ(ReadDuration("2m"), 120'000'000);
  EXPECT_EQ(ReadDuration("3"), 3'000'000);
}

TEST(DurationTest, RefusesWhatIsNone) {
  for (const char* text : {"", "s", "0", "-1s", "1h", "1 s", "1s ", "nan", "inf", "1e3s", "0.1us",
                           "99999999999999999999", "100000m"}) {
    EXPECT_EQ(ReadDuration(text), std::nullopt) << text;
  }
}

TEST(MixTest, ReadsShares) {
  const auto mix = ReadMix("edit:3,click:1");
  ASSERT_TRUE(mix);
  EXPECT_EQ((*mix)[Deed::kClick], 1);
  EXPECT_EQ((*mix)[Deed::kEdit], 3);
  EXPECT_EQ((*mix)[Deed::kEnter], 0);
  EXPECT_TRUE(mix->mIsGiven);
}

TEST(MixTest, RefusesWhatIsNone) {
  for (const char* text : {"click:1,click:2", "edit:1,click:2,edit:1", "", "click",
                           "click:", "click:x", "click:-1", "look:3", "click:1,", ",click:1",
                           "click:0", "click:1;edit:2", "click:1.5", "click:99999999999"}) {
    EXPECT_FALSE(ReadMix(text)) << text;
  }
}

TEST(MixTest, GivesEachDeedItsShare) {
  Mix mix;
  std::array<int, kDeeds> counts{};
  for (unsigned n = 0; n < 1000; ++n) ++counts[static_cast<std::size_t>(mix.At(n))];
  EXPECT_EQ(counts, (std::array<int, kDeeds>{700, 200, 100}));
}

TEST(MixTest, LeavesOutWhatHasNoShare) {
  const auto mix = ReadMix("edit:1");
  for (unsigned n = 0; n < 10; ++n) EXPECT_EQ(mix->At(n), Deed::kEdit);
}

TEST(GoalTest, ReadsQuantiles) {
  EXPECT_EQ(ReadGoal("p50=1s")->mPart, 0.5);
  EXPECT_EQ(ReadGoal("p90=1s")->mPart, 0.9);
  EXPECT_EQ(ReadGoal("p99=50ms")->mPart, 0.99);
  EXPECT_EQ(ReadGoal("p99=50ms")->mLimit, 50'000);
  EXPECT_EQ(ReadGoal("worst=2s")->mPart, 1);
}

TEST(GoalTest, RefusesWhatIsNone) {
  for (const char* text : {"", "p99", "p99=", "p98=1s", "=1s", "p99=0", "p99:1s"}) {
    EXPECT_FALSE(ReadGoal(text)) << text;
  }
}

TEST(LogInTest, PutsTheNumberInItsPlace) {
  Options options;
  options.mId = "user{n}of{n}";
  options.mPass = "p{n}";
  EXPECT_EQ(options.LogInOf(12).mId, "user12of12");
  EXPECT_EQ(options.LogInOf(12).mPass, "p12");
}

}  // namespace
}  // namespace dorn::load
