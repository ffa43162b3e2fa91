// The host of the soak test: one dialog whose only value counts up, so many times a second as the
// argument says. SIGUSR1 sets its clock, and nobody else's, forward by an hour. SIGUSR2 has it give
// memory that it has freed back to the system, so that what it still has is what it holds.
#include <malloc.h>
#include <sys/time.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "dorn/dorn.h"

namespace {

// Longer than the step of the clock, so that no session ends with it.
constexpr int kSessionMs = 2 * 3600 * 1000;

std::atomic<long> gClockOffset{0};
std::atomic<bool> gIsToTrim{false};
int gPeriodMs = 100;

void StepClock(int) { gClockOffset += 3600; }
void AskToTrim(int) { gIsToTrim = true; }

// When the text was made; the stations' process reads the same clock.
std::string Stamp(long number) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const long long us = now.tv_sec * 1000000LL + now.tv_nsec / 1000;
  return std::to_string(number) + ":" + std::to_string(us);
}

}  // namespace

// Stands in for the C library's in the whole process.
extern "C" __attribute__((visibility("default"))) int gettimeofday(timeval* time, void*) noexcept {
  timespec now{};
  const int result = clock_gettime(CLOCK_REALTIME, &now);
  time->tv_sec = now.tv_sec + gClockOffset;
  time->tv_usec = now.tv_nsec / 1000;
  return result;
}

class SoakApp : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override { return CreateDialog("soak") != nullptr ? 0 : -1; }

  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override {
    if (!(pass == "p")) return;
    const KZString sid("S-" + static_cast<const std::string&>(id));
    CreateSession(sid, kSessionMs);  // It may be there from an earlier log-in.
    client->Authentication(sid);
  }
};

class SoakDialog : public VQDialog {
 public:
  void OnInit() override {
    LoadJsonShare();
    Count();
    SetTimerInterval(gPeriodMs, 1);
  }

  void OnChange(VQClientSocket* client, VQJsonCommand*) override { SendSnapshot(client); }

  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override {
    UpdateResourceShare(command, client->GetSessionId());
    SendUpdateShareToAll(false);
  }

  // The count is the host's own.
  void OnUpdate(VQJsonObject*, VQJsonObject*, KZString) override {}

  void OnTimer(timeval, unsigned int) override {
    Count();
    SendUpdateShareToAll(false);
    if (gIsToTrim.exchange(false)) malloc_trim(0);
  }

 private:
  void Count() {
    const KZString stamp(Stamp(++mNumber));
    GetResourceShare()->SetValueByName("Value", VQValue(stamp), "count", 1, "");
  }

  long mNumber = 0;
};

class SoakMaker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == "soak")) return nullptr;
    auto* dialog = new SoakDialog;
    dialog->Init(name, "soak.json");
    return dialog;
  }
};

SoakMaker maker;
SoakApp app(maker);

int main(int argc, char** argv) {
  if (argc > 1) gPeriodMs = std::atoi(argv[1]);
  std::signal(SIGUSR1, StepClock);
  std::signal(SIGUSR2, AskToTrim);
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  app.AppMain();
}
