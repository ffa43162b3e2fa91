// Tells how many stations a dialog server bears.
#include <signal.h>
#include <sys/resource.h>

#include <cstdio>
#include <exception>

#include "tools/dorn-load/Options.h"
#include "tools/dorn-load/Program.h"
#include "tools/support/Streams.h"

namespace {

volatile sig_atomic_t gStops = 0;

// A third one ends the program, whatever it is at.
void CountStop(int) {
  gStops = gStops + 1;
  if (gStops < 2) return;
  signal(SIGINT, SIG_DFL);
  signal(SIGTERM, SIG_DFL);
}

void StopBySignals() {
  struct sigaction action {};
  action.sa_handler = CountStop;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool RaiseDescriptorLimit(int stations) {
  constexpr rlim_t kOthers = 32;
  const rlim_t needed = static_cast<rlim_t>(stations) + kOthers;
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur >= needed) return true;
  if (limit.rlim_max < needed) {
    std::fprintf(stderr,
                 "dorn-load: --stations: %d need %llu descriptors, and %llu are allowed; raise it "
                 "by ulimit -n, or ask for fewer\n",
                 stations, static_cast<unsigned long long>(needed),
                 static_cast<unsigned long long>(limit.rlim_max));
    return false;
  }
  limit.rlim_cur = needed;
  return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

int Main(int argc, char** argv) {
  int exitCode = dorn::load::kUsage;
  const auto options = dorn::load::ReadOptions(argc, argv, exitCode);
  if (!options) return exitCode;
  if (!RaiseDescriptorLimit(options->mStations)) return dorn::load::kUsage;
  StopBySignals();
  return dorn::load::Program(*options, [] { return static_cast<int>(gStops); }).Go();
}

}  // namespace

// The library for the arguments reports its own misuse by exceptions.
int main(int argc, char** argv) {
  dorn::tools::TakeClosedStreams();
  try {
    const int code = Main(argc, argv);
    return dorn::tools::PrintedAll("dorn-load") ? code : dorn::load::kUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dorn-load: %s\n", error.what());
    return dorn::load::kUsage;
  }
}
