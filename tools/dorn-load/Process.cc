#include "tools/dorn-load/Process.h"

#include <unistd.h>

#include <ctime>
#include <fstream>
#include <string>

namespace dorn::load {

namespace {

std::optional<double> CpuSecondsOf(int pid) {
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &time) != 0) {
    return std::nullopt;
  }
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double ResidentMiB(int pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/status");
  for (std::string word; file >> word;) {
    double kiB = 0;
    if (word == "VmRSS:" && file >> kiB) return kiB / 1024;
  }
  return 0;
}

}  // namespace

std::optional<ProcessFigures> ProcessFigures::Of(int pid) {
  const auto cpu = CpuSecondsOf(pid);
  if (!cpu) return std::nullopt;
  return ProcessFigures{*cpu, ResidentMiB(pid)};
}

Us OwnCpu() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return time.tv_sec * kSecond + time.tv_nsec / 1000;
}

}  // namespace dorn::load
