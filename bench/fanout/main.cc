// Measures the dialog server with real stations over the loopback, beside a bare server of the same
// shape and, where they are installed, redis-server and mosquitto.
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "bench/fanout/Scenarios.h"

namespace {

// All servers' peers are connected at the same time.
void RaiseDescriptorLimit() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

bool Wants(int argc, char** argv, const char* name) {
  return argc < 3 || std::strcmp(argv[2], name) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const double scale = argc > 1 ? std::atof(argv[1]) : 1;
  if (argc > 3 || scale <= 0) {
    std::puts("usage: fanout [SCALE [fanout|trips|beside|connects|idle]]");
    return 2;
  }
  RaiseDescriptorLimit();
  if (Wants(argc, argv, "fanout")) {
    for (const int receivers : {100, 500, 900}) MeasureFanout(receivers, scale);
  }
  if (Wants(argc, argv, "trips")) {
    MeasureRoundTrips(50, 0, scale);
    MeasureRoundTrips(1, 0, scale);
  }
  if (Wants(argc, argv, "beside")) MeasureRoundTrips(1, 900, scale);
  if (Wants(argc, argv, "connects")) MeasureConnects(scale);
  if (Wants(argc, argv, "idle")) MeasureIdle(900);
}
