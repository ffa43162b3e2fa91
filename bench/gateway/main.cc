// What it costs to bring a host's texts to WebSockets: dorn-gateway beside websockify, which passes
// bytes on as they are, and beside the least that any relay does.
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "bench/gateway/Clients.h"
#include "bench/gateway/Host.h"
#include "bench/gateway/Relay.h"

namespace {

using std::chrono::milliseconds;

struct Subject {
  const char* mName;
  Speech mSpeech;
  std::vector<std::string> mArguments;  // "%h" is the host's port; empty: no relay.
};

const std::vector<Subject>& Subjects() {
  static const std::vector<Subject> subjects{
      {"none", Speech::kTcp, {}},
      {"bare relay", Speech::kRawFrames, {DORN_BENCH_BARE_RELAY, "%p", "%h"}},
      {"dorn-gateway",
       Speech::kPageFrames,
       {DORN_BENCH_GATEWAY, "--listen", "127.0.0.1:%p", "--host", "127.0.0.1:%h"}},
      {"websockify", Speech::kRawFrames, {"websockify", "127.0.0.1:%p", "127.0.0.1:%h"}},
  };
  return subjects;
}

std::unique_ptr<Relay> Start(const Subject& subject, int hostPort) {
  if (subject.mArguments.empty()) return nullptr;
  std::vector<std::string> arguments = subject.mArguments;
  for (std::string& argument : arguments) {
    const std::size_t at = argument.find("%h");
    if (at != std::string::npos) argument.replace(at, 2, std::to_string(hostPort));
  }
  return std::make_unique<Relay>(arguments);
}

void Measure(const Subject& subject, int stations, milliseconds time) {
  Host host;
  const std::unique_ptr<Relay> relay = Start(subject, host.Port());
  if (relay && !relay->IsReady()) {
    std::printf("| %s | %d | cannot be started | | | | |\n", subject.mName, stations);
    return;
  }
  const long empty = relay ? relay->MemoryKb() : 0;
  Clients clients(subject.mSpeech, host);
  for (int i = 0; i < stations; ++i) {
    if (!clients.Add(relay ? relay->Port() : host.Port())) {
      std::printf("| %s | %d | client %d gets no connection | | | | |\n", subject.mName, stations,
                  i);
      return;
    }
  }
  host.StartUpdates();
  clients.Take(milliseconds(1000));
  const double before = relay ? relay->CpuSeconds() : 0;
  Received received = clients.Take(time);
  const double cpu = relay ? relay->CpuSeconds() - before : 0;
  const double memory = relay ? static_cast<double>(relay->MemoryKb() - empty) / stations : 0;
  std::printf("| %s | %d | %.0f | %.1f | %.0f | %.0f | %.1f |\n", subject.mName, stations,
              static_cast<double>(received.mMessages) * 1000 / static_cast<double>(time.count()),
              received.mMessages == 0 ? 0 : cpu * 1e6 / static_cast<double>(received.mMessages),
              received.PercentileUs(50), received.PercentileUs(99), memory);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const double scale = argc > 1 ? std::atof(argv[1]) : 1;
  if (argc > 3 || scale <= 0) {
    std::puts("usage: gateway_bench [SCALE [STATIONS]]");
    return 2;
  }
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  std::puts("| relay | stations | messages/s | CPU us/message | p50 us | p99 us | KB/station |");
  std::puts("|---|---|---|---|---|---|---|");
  const milliseconds time(static_cast<long>(5000 * scale));
  const std::vector<int> crowds =
      argc > 2 ? std::vector<int>{std::atoi(argv[2])} : std::vector<int>{50, 200, 800};
  for (const int stations : crowds) {
    for (const Subject& subject : Subjects()) Measure(subject, stations, time);
  }
}
