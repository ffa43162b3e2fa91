// How much goes through a site, how fast, and for how much work of its hosts.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bench/site/Crowd.h"
#include "bench/site/Engines.h"
#include "bench/site/Scenarios.h"
#include "bench/site/Table.h"
#include "bench/support/Report.h"

namespace {

constexpr int kChangers = 16;

// Two hosts of one site, or one host without, with a watching station at each and changers at some.
struct Plant {
  Plant(int brokerCount, int changersAtFirst) {
    if (brokerCount > 0) brokers = std::make_unique<Brokers>(brokerCount);
    for (int i = 0; i < (brokers ? 2 : 1); ++i) {
      hosts.push_back(std::make_unique<Host>(brokers.get()));
      watchers.push_back(crowd.Enter(hosts.back()->Port(), true));
    }
    for (int i = 0; i < kChangers; ++i) {
      const std::size_t at = i < changersAtFirst || !brokers ? 0 : 1;
      crowd.AddChanger(crowd.Enter(hosts[at]->Port(), false), watchers[at]);
    }
  }

  // Fails when a host has applied another number of changes than were made, or a station was told
  // of trouble.
  void Check(long changes) {
    for (const int watcher : watchers) {
      if (crowd.Counted(watcher) != changes) Fail("changes were lost, or applied twice");
    }
    if (crowd.Errors() != 0) Fail("a station was told that a change was not accepted");
  }

  std::unique_ptr<Brokers> brokers;
  std::vector<std::unique_ptr<Host>> hosts;
  Crowd crowd;
  std::vector<int> watchers;
};

long Scaled(double count, double scale) { return std::max(1L, static_cast<long>(count * scale)); }

std::string WithBrokers(int brokers) {
  return brokers == 1 ? ", one broker" : ", three brokers, three replicas";
}

// The median of some rounds behind one to warm up.
double ChangesPerSecond(Plant& plant, double scale) {
  constexpr int kRounds = 5;
  constexpr long kWindow = 50;
  const long each = Scaled(500, scale);
  std::vector<double> rates;
  for (int round = 0; round <= kRounds; ++round) {
    const double seconds = plant.crowd.Rush(each, kWindow);
    if (round > 0) rates.push_back(static_cast<double>(each * kChangers) / seconds);
  }
  plant.Check(each * kChangers * (kRounds + 1));
  return Median(rates);
}

// The median of five runs' p50 and p99, behind five seconds to warm up.
struct Delay {
  double p50 = 0;
  std::vector<double> p99;  // Of each run, in order of size.
};
Delay DelayOf(Plant& plant, double scale) {
  constexpr int kRuns = 5;
  constexpr double kPerSecond = 200;
  constexpr double kSeconds = 5;
  const long changes = Scaled(kPerSecond * kSeconds, scale);
  const int watcher = plant.watchers.back();
  plant.crowd.Pace(kPerSecond, changes, watcher);
  std::vector<double> middle;
  std::vector<double> late;
  for (int run = 0; run < kRuns; ++run) {
    const std::vector<double> delays = plant.crowd.Pace(kPerSecond, changes, watcher);
    middle.push_back(Median(delays));
    late.push_back(Quantile(delays, 0.99));
  }
  plant.Check(changes * (kRuns + 1));
  std::sort(late.begin(), late.end());
  return {Median(middle), late};
}

std::string Text(const Delay& delay) {
  return Number(Median(delay.p99)) + " ms (" + Number(delay.p99.front()) + " to " +
         Number(delay.p99.back()) + "; p50 " + Number(delay.p50) + " ms)";
}

// What rounds cost a host, in microseconds for each change, and how many changes each update had:
// those that arrive together share one, which a host without a site does not do.
struct Cost {
  std::vector<double> us;
  std::vector<double> changesInUpdate;
};

// One round; of each host of the plant.
void MeasureRound(Plant& plant, long changes, double perSecond, std::vector<Cost>& costs) {
  std::vector<double> cpu;
  std::vector<long> texts;
  for (std::size_t i = 0; i < plant.hosts.size(); ++i) {
    cpu.push_back(plant.hosts[i]->Program().CpuSeconds());
    texts.push_back(plant.crowd.Texts(plant.watchers[i]));
  }
  plant.crowd.Pace(perSecond, changes, plant.watchers.back());
  costs.resize(plant.hosts.size());
  const auto count = static_cast<double>(changes);
  for (std::size_t i = 0; i < plant.hosts.size(); ++i) {
    const double seconds = plant.hosts[i]->Program().CpuSeconds() - cpu[i];
    const long updates = plant.crowd.Texts(plant.watchers[i]) - texts[i];
    costs[i].us.push_back(seconds * 1e6 / count);
    costs[i].changesInUpdate.push_back(count / static_cast<double>(std::max(1L, updates)));
  }
}

std::string Text(const Cost& cost) {
  return Whole(Median(cost.us)) + " us, " + Number(Median(cost.changesInUpdate)) +
         " changes an update";
}

std::string Times(const Cost& one, const Cost& alone) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < one.us.size(); ++i) ratios.push_back(one.us[i] / alone.us[i]);
  return Number(Median(ratios)) + " x (" + Text(one) + ")";
}

}  // namespace

void MeasureThrough(double scale) {
  double alone = 0;
  {
    Plant plant(0, kChangers);
    alone = ChangesPerSecond(plant, scale);
  }
  for (const int brokers : {1, 3}) {
    Plant plant(brokers, kChangers / 2);
    const double rate = ChangesPerSecond(plant, scale);
    PrintLine("changes a second through two hosts" + WithBrokers(brokers),
              brokers == 1 ? "5,000" : "2,000", Whole(rate) + " (" + Number(rate / alone) + " x)",
              Whole(alone));
  }
}

void MeasureDelay(double scale) {
  Delay alone;
  {
    Plant plant(0, kChangers);
    alone = DelayOf(plant, scale);
  }
  for (const int brokers : {1, 3}) {
    Plant plant(brokers, kChangers);
    PrintLine(
        "from a station to one at the other host, p99, 200 changes a second" + WithBrokers(brokers),
        brokers == 1 ? "5 ms" : "15 ms", Text(DelayOf(plant, scale)), Text(alone));
  }
}

void MeasureCpu(double scale) {
  constexpr int kStations = 50;
  constexpr int kRounds = 5;
  constexpr double kPerSecond = 2000;
  Plant alone(0, kChangers);
  Plant site(1, kChangers);
  for (Plant* plant : {&alone, &site}) {
    for (std::size_t i = 0; i < plant->hosts.size(); ++i) {
      const int there = i == 0 ? 1 + kChangers : 1;
      for (int j = there; j < kStations; ++j) plant->crowd.Enter(plant->hosts[i]->Port(), false);
    }
  }
  const long changes = Scaled(2 * kPerSecond, scale);
  std::vector<Cost> aloneCosts;
  std::vector<Cost> siteCosts;
  for (int round = 0; round <= kRounds; ++round) {
    MeasureRound(alone, changes, kPerSecond, aloneCosts);
    MeasureRound(site, changes, kPerSecond, siteCosts);
    if (round > 0) continue;
    aloneCosts.clear();  // That was to warm up.
    siteCosts.clear();
  }
  for (Plant* plant : {&alone, &site}) plant->Check(changes * (kRounds + 1));
  const std::string behind = ", 2,000 a second, 50 stations at each host";
  const std::string once = Text(aloneCosts[0]);
  PrintLine("CPU for each change at its origin" + behind, "3 x", Times(siteCosts[0], aloneCosts[0]),
            once);
  PrintLine("CPU for each change at the other host" + behind, "2 x",
            Times(siteCosts[1], aloneCosts[0]), once);
}
