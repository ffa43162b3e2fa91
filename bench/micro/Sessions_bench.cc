// The end of many sessions in one pass of the loop.
#include <benchmark/benchmark.h>

#include <string>

#include "dorn/base/Clock.h"
#include "dorn/dorn.h"

extern VQApplication& HostApp();

namespace {

constexpr int kIntervalMs = 3600000;

void CreateSessions(VQApplication& app, int count) {
  for (int i = 0; i < count; ++i) app.CreateSession("S" + std::to_string(i), kIntervalMs);
}

// An instant at which all of them are due.
timeval Due() {
  timeval time = dorn::Now();
  time.tv_sec += kIntervalMs / 1000 + 1;
  return time;
}

// Sessions that leave nothing behind, as log-ins that nobody ends.
void SessionsExpire(benchmark::State& state) {
  VQApplication& app = HostApp();
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    CreateSessions(app, count);
    state.ResumeTiming();
    app.BaseTimer(Due());
  }
  state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(SessionsExpire)->Arg(1000)->Arg(50000)->Unit(benchmark::kMillisecond);

// The same where each session has a tree in a dialog of its own, which goes with it.
void SessionsExpireWithDialogs(benchmark::State& state) {
  VQApplication& app = HostApp();
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    CreateSessions(app, count);
    for (int i = 0; i < count; ++i) {
      auto* dialog = new VQDialog;
      dialog->AddSession("S" + std::to_string(i));
      app.DialogList()->Add("d" + std::to_string(i), dialog);
    }
    state.ResumeTiming();
    app.BaseTimer(Due());
  }
  state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(SessionsExpireWithDialogs)->Arg(1000)->Arg(50000)->Unit(benchmark::kMillisecond);

}  // namespace
