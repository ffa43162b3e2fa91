// Plays schedules of a simulated site.
//
//   dorn_site_simulation [--schedules N] [--seed N] [--without RULE] [--announced] [--trace]
//
// Plays N schedules from the seed on (10,000 from 1) and ends at the first in which something did
// not hold. With --announced the log is also replaced while a snapshot is being announced, which
// then comes into the new one: what hosts do not survive yet. With --trace one schedule is played,
// and what happens in it is printed.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Simulation.h"

namespace {

using dorn::site::simulation::Options;
using dorn::site::simulation::Result;
using dorn::site::simulation::Simulation;

struct Arguments {
  Options options;
  std::uint64_t schedules = 10'000;
  bool areGood = true;
};

bool TakeOut(const std::string& rule, Options& options) {
  if (rule == "fencing") return !(options.rules.fencing = false);
  if (rule == "each-once") return !(options.rules.eachOnce = false);
  if (rule == "without-holes") return !(options.rules.withoutHoles = false);
  if (rule == "go-back-n") return !(options.rules.goBackN = false);
  if (rule == "generation") return !(options.rules.generation = false);
  if (rule == "ends-the-idle-only") return !(options.rules.endsTheIdleOnly = false);
  if (rule == "apply-when-back") return options.applyAtOnce = true;
  if (rule == "other-log") return !(options.tellsOtherLog = false);
  return false;
}

Arguments Read(int count, char** words) {
  Arguments arguments;
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    const char* value = i + 1 < count ? words[i + 1] : "";
    if (word == "--trace") {
      arguments.options.isTraced = true;
      arguments.schedules = 1;
      continue;
    }
    if (word == "--announced") {
      arguments.options.replacesAnnounced = true;
      continue;
    }
    ++i;
    if (word == "--seed") {
      arguments.options.seed = std::strtoull(value, nullptr, 10);
    } else if (word == "--schedules") {
      arguments.schedules = std::strtoull(value, nullptr, 10);
    } else if (word != "--without" || !TakeOut(value, arguments.options)) {
      arguments.areGood = false;
    }
  }
  return arguments;
}

}  // namespace

int main(int count, char** words) {
  Arguments arguments = Read(count, words);
  if (!arguments.areGood) {
    std::fputs(
        "usage: dorn_site_simulation [--schedules N] [--seed N] [--trace] [--announced]\n"
        "                            [--without RULE]\n"
        "rules: fencing, each-once, without-holes, go-back-n, generation, ends-the-idle-only,\n"
        "apply-when-back, other-log\n",
        stderr);
    return 2;
  }
  Result all;
  for (std::uint64_t played = 0; played < arguments.schedules; ++played) {
    const Result one = Simulation(arguments.options).Run();
    all.applied += one.applied;
    all.refused += one.refused;
    all.entries += one.entries;
    all.takes += one.takes;
    all.snapshotsLoaded += one.snapshotsLoaded;
    all.sessionsEnded += one.sessionsEnded;
    all.otherLogs += one.otherLogs;
    all.replacedWhileLoading += one.replacedWhileLoading;
    all.replacedWhileAnnouncing += one.replacedWhileAnnouncing;
    if (!one.wrong.empty()) {
      std::printf("seed %llu: %s\n", static_cast<unsigned long long>(arguments.options.seed),
                  one.wrong.c_str());
      return 1;
    }
    ++arguments.options.seed;
  }
  std::printf(
      "%llu schedules: %zu entries, %zu changes applied, %zu refused, %zu sessions ended, "
      "%zu takes, %zu snapshots loaded, %zu other logs (%zu and %zu times replaced while a "
      "host was loading, and announcing); everything held\n",
      static_cast<unsigned long long>(arguments.schedules), all.entries, all.applied, all.refused,
      all.sessionsEnded, all.takes, all.snapshotsLoaded, all.otherLogs, all.replacedWhileLoading,
      all.replacedWhileAnnouncing);
  return 0;
}
