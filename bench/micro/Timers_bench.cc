// Timers among others, and one pass of the loop over records that have nothing to say.
#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "dorn/dorn.h"

namespace {

constexpr unsigned long kHourMs = 3600000;

// Timers that are due long after the benchmark, spread over an hour.
void FillTimers(KZApplication& loop, int count) {
  for (int i = 0; i < count; ++i) {
    const auto spread = static_cast<unsigned long>(i) * 7919 % kHourMs;
    loop.SetApplicationSingleTimerInterval(kHourMs + spread, static_cast<unsigned int>(i));
  }
}

// What every receive of a connection does with its idle timer. The wake-up byte is part of it, as
// outside the loop's dispatching.
void TimerRearm(benchmark::State& state) {
  KZApplication loop;
  const int count = static_cast<int>(state.range(0));
  FillTimers(loop, count);
  unsigned int id = 0;
  for (auto _ : state) {
    loop.SetApplicationSingleTimerInterval(0, id);
    loop.SetApplicationSingleTimerInterval(2 * kHourMs, id);
    id = (id + 7919) % static_cast<unsigned int>(count);
  }
}
BENCHMARK(TimerRearm)->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000);

void TimerAddAndCancel(benchmark::State& state) {
  KZApplication loop;
  const int count = static_cast<int>(state.range(0));
  FillTimers(loop, count);
  const auto id = static_cast<unsigned int>(count);
  for (auto _ : state) {
    loop.SetApplicationSingleTimerInterval(kHourMs + 1, id);
    loop.SetApplicationSingleTimerInterval(0, id);
  }
}
BENCHMARK(TimerAddAndCancel)->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000);

// The wake-up byte ends each wait.
void LoopPassOverIdleRecords(benchmark::State& state) {
  KZApplication loop;
  std::vector<int> descriptors;
  std::vector<std::unique_ptr<KZFdData>> records;
  for (int i = 0; i < state.range(0); ++i) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) break;
    descriptors.push_back(fd);
    auto record = std::make_unique<KZFdData>(KZFdData::kTypeUnset, fd, -1, nullptr);
    loop.AddEventFd(record.get());
    records.push_back(std::move(record));
  }
  for (auto _ : state) {
    loop.WakeUp();
    loop.RunPass();
  }
  records.clear();
  for (const int fd : descriptors) close(fd);
}
BENCHMARK(LoopPassOverIdleRecords)->Arg(10)->Arg(1000);

}  // namespace
