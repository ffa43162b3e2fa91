// What a site bears: many stations, a long log, many changes.
#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "bench/site/Crowd.h"
#include "bench/site/Engines.h"
#include "bench/site/OldLog.h"
#include "bench/site/Scenarios.h"
#include "bench/site/Table.h"
#include "bench/support/Report.h"

namespace {

constexpr int kChangers = 16;

int Scaled(double count, double scale) { return std::max(1, static_cast<int>(count * scale)); }

std::string Seconds(double seconds) { return Number(seconds) + " s"; }

// How many connections the hosts have, with a few descriptors of their own.
std::string Spread(const std::vector<std::unique_ptr<Host>>& hosts) {
  std::string spread;
  for (const auto& host : hosts) {
    spread += (spread.empty() ? "" : " + ") + std::to_string(host->Program().Descriptors());
  }
  return spread;
}

// From the start of a host until a station has its panel, which must show the last change.
double SecondsToStart(const Brokers* brokers, long lastChange) {
  const auto begin = Clock::now();
  Host host(brokers);
  Crowd crowd;
  const int station = crowd.Enter(host.Port(), true);
  const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  if (crowd.Highest(station) != lastChange) Fail("a host does not show the last change");
  return seconds;
}

double MedianToStart(const Brokers* brokers, long lastChange) {
  constexpr int kTimes = 3;  // One after the other, each dead before it has made a snapshot.
  std::vector<double> times;
  for (int i = 0; i < kTimes; ++i) times.push_back(SecondsToStart(brokers, lastChange));
  return Median(times);
}

}  // namespace

void MeasureStations(double scale) {
  const Brokers brokers(3);
  std::vector<std::unique_ptr<Host>> hosts;
  for (int i = 0; i < 3; ++i) {
    hosts.push_back(std::make_unique<Host>(&brokers, true));
    Crowd().Enter(hosts.back()->Port(), false);  // Each serves before HAProxy asks.
  }
  const Proxy proxy(hosts);
  const int stations = std::max(kChangers, Scaled(1900, scale));
  Crowd crowd;
  const auto begin = Clock::now();
  for (int i = 0; i < stations; ++i) crowd.Enter(proxy.Port(), true);
  const double entered = std::chrono::duration<double>(Clock::now() - begin).count();
  for (int i = 0; i < kChangers; ++i) crowd.AddChanger(i, (i + 1) % stations);
  const long changes = std::max(kChangers, Scaled(160, scale));
  const auto times = crowd.Pace(10, changes, Crowd::kLastOfAll);
  const long expected = changes * (stations - 1);
  const long missing = expected - crowd.Shown();
  PrintLine(Whole(stations) + " stations, three hosts (" + Spread(hosts) +
                " descriptors) behind HAProxy, ten changes a second: updates missing",
            "0",
            Whole(missing) + " of " + Whole(expected) + "; all have it after p50 " +
                Number(Median(times)) + " ms, p99 " + Number(Quantile(times, 0.99)) + " ms",
            "");
  PrintLine("until all of these have logged in, one after the other", "", Seconds(entered), "");
}

void MeasureReplay(double scale) {
  const Brokers brokers(1);
  static_cast<void>(SecondsToStart(&brokers, 0));  // What all begins with.
  const int changes = Scaled(100000, scale);
  WriteOldChanges(brokers, changes);
  PrintLine(
      "start of a host with " + Whole(changes) + " changes to read, until a station is shown all",
      "2 s", Seconds(MedianToStart(&brokers, changes)), Seconds(MedianToStart(nullptr, 0)));
}

void MeasureDisk(double scale) {
  constexpr double kPerSecond = 6000;
  constexpr int kSteps = 10;
  const Brokers brokers(1);
  Host first(&brokers);
  Host second(&brokers);
  Crowd crowd;
  const int watcher = crowd.Enter(second.Port(), true);
  for (int i = 0; i < kChangers; ++i) crowd.AddChanger(crowd.Enter(first.Port(), false), watcher);
  const int changes = Scaled(100000, scale);
  std::vector<double> megabytes;
  std::string all;
  for (int step = 0; step < kSteps; ++step) {
    crowd.Pace(kPerSecond, changes, watcher);
    megabytes.push_back(brokers.DiskBytes() / 1e6);
    all += (step == 0 ? "" : ", ") + Whole(megabytes.back());
  }
  if (crowd.Counted(watcher) != long{kSteps} * changes) Fail("changes were lost, or applied twice");
  const double growth = megabytes.back() / megabytes[kSteps / 2 - 1];
  PrintLine("disk of the broker at each " + Whole(changes) +
                " changes, 6,000 a second, in MB; the last beside that halfway",
            "1.2 x", Number(growth) + " x (" + all + ")", "");
}
