#include "Simulation.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

namespace dorn::site::simulation {
namespace {

// So many schedules are played here; the program plays as many as it is told.
constexpr std::uint64_t kSchedules = 200;

Result Play(std::uint64_t seed) {
  Options options;
  options.seed = seed;
  Result result = Simulation(options).Run();
  EXPECT_EQ(result.wrong, "") << "dorn_site_simulation --trace --seed " << seed;
  return result;
}

void Add(const Result& one, Result& all) {
  all.applied += one.applied;
  all.refused += one.refused;
  all.sessionsEnded += one.sessionsEnded;
  all.takes += one.takes;
  all.snapshotsLoaded += one.snapshotsLoaded;
  all.forgotten += one.forgotten;
  all.sentAgain += one.sentAgain;
  all.otherLogs += one.otherLogs;
  all.replacedWhileLoading += one.replacedWhileLoading;
}

TEST(SimulationTest, EverythingHoldsInAllSchedulesAndTheyAreWorthPlaying) {
  Result all;
  for (std::uint64_t seed = 1; seed <= kSchedules; ++seed) Add(Play(seed), all);
  EXPECT_GT(all.applied, 50'000U);
  EXPECT_GT(all.refused, 500U);
  EXPECT_GT(all.sessionsEnded, 500U);
  EXPECT_GT(all.takes, kSchedules) << "a keeper was followed";
  EXPECT_GT(all.snapshotsLoaded, kSchedules);
  EXPECT_GT(all.forgotten, 0U);
  EXPECT_GT(all.sentAgain, 1000U);
  EXPECT_GT(all.otherLogs, 50U);
  EXPECT_GT(all.replacedWhileLoading, 5U);
}

TEST(SimulationTest, EverythingHoldsInSchedulesThatNobodyHasPlayedBefore) {
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  const auto seed = static_cast<std::uint64_t>(now);
  std::printf("seeds %llu to %llu\n", static_cast<unsigned long long>(seed),
              static_cast<unsigned long long>(seed + 9));
  for (std::uint64_t i = 0; i < 10; ++i) Play(seed + i);
}

TEST(SimulationTest, TheSameSeedPlaysTheSame) {
  const Result first = Play(42);
  const Result second = Play(42);
  EXPECT_GT(first.entries, 0U);
  EXPECT_EQ(first.entries, second.entries);
  EXPECT_EQ(first.applied, second.applied);
}

// A rule without which the simulation must go wrong.
struct TakenOut {
  const char* name;
  std::function<void(Options&)> takeOut;
};

class RuleTest : public testing::TestWithParam<TakenOut> {};

TEST_P(RuleTest, SomethingGoesWrongWithoutIt) {
  for (std::uint64_t seed = 1; seed <= kSchedules; ++seed) {
    Options options;
    options.seed = seed;
    GetParam().takeOut(options);
    if (!Simulation(options).Run().wrong.empty()) return;
  }
  FAIL() << "nothing went wrong in " << kSchedules << " schedules";
}

INSTANTIATE_TEST_SUITE_P(
    EachRule, RuleTest,
    testing::Values(
        TakenOut{"Fencing", [](Options& options) { options.rules.fencing = false; }},
        TakenOut{"EachOnce", [](Options& options) { options.rules.eachOnce = false; }},
        TakenOut{"WithoutHoles", [](Options& options) { options.rules.withoutHoles = false; }},
        TakenOut{"GoBackN", [](Options& options) { options.rules.goBackN = false; }},
        TakenOut{"Generation", [](Options& options) { options.rules.generation = false; }},
        TakenOut{"EndsTheIdleOnly",
                 [](Options& options) { options.rules.endsTheIdleOnly = false; }},
        TakenOut{"ApplyWhenItComesBack", [](Options& options) { options.applyAtOnce = true; }},
        TakenOut{"BeginsAnewWithAnotherLog",
                 [](Options& options) { options.tellsOtherLog = false; }}),
    [](const auto& rule) { return std::string(rule.param.name); });

}  // namespace
}  // namespace dorn::site::simulation
