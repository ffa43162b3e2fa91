// Measures several hosts as one, beside one host without a site: see README.md.
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/site/Scenarios.h"
#include "bench/site/Table.h"

namespace {

struct Scenario {
  const char* name;
  void (*measure)(double scale);
};

constexpr Scenario kScenarios[] = {
    {"through", MeasureThrough},   {"delay", MeasureDelay},   {"cpu", MeasureCpu},
    {"stations", MeasureStations}, {"replay", MeasureReplay}, {"disk", MeasureDisk},
};

// All stations are connected at the same time.
void RaiseDescriptorLimit() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

int main(int argc, char** argv) {
  const double scale = argc > 1 ? std::atof(argv[1]) : 1;
  bool isKnown = argc < 3;
  for (const Scenario& each : kScenarios) {
    isKnown = isKnown || std::strcmp(argv[2], each.name) == 0;
  }
  if (argc > 3 || scale <= 0 || !isKnown) {
    std::puts("usage: site_bench [SCALE [through|delay|cpu|stations|replay|disk]]");
    return 2;
  }
  RaiseDescriptorLimit();
  PrintHead();
  for (const Scenario& each : kScenarios) {
    if (argc < 3 || std::strcmp(argv[2], each.name) == 0) each.measure(scale);
  }
}
