#include "tests/soak/Figures.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

void Latencies::Add(long long us) {
  const auto slot = static_cast<size_t>(std::max(us, 0LL) / kUsPerSlot);
  ++mSlots[std::min(slot, mSlots.size() - 1)];
  ++mCount;
  mWorstUs = std::max(mWorstUs, us);
}

double Latencies::Quantile(double part) const {
  const auto wanted = static_cast<long long>(static_cast<double>(mCount) * part);
  long long seen = 0;
  for (size_t slot = 0; slot < mSlots.size(); ++slot) {
    seen += mSlots[slot];
    if (seen > wanted) return static_cast<double>(slot + 1) * kUsPerSlot / 1000.0;
  }
  return WorstMs();
}

Holdings Holdings::Of(pid_t pid) {
  const std::string folder = "/proc/" + std::to_string(pid);
  Holdings holdings;
  std::ifstream status(folder + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) holdings.mKiB = std::stol(line.substr(6));
  }
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder + "/fd", error)) {
    holdings.mDescriptors += entry.path().empty() ? 0 : 1;
  }
  std::ifstream file(folder + "/stat");
  std::string line;
  std::getline(file, line);
  if (line.empty()) return holdings;
  std::istringstream fields(line.substr(line.rfind(')') + 2));
  std::string skipped;
  for (int i = 0; i < 11; ++i) fields >> skipped;
  long user = 0, system = 0;
  fields >> user >> system;
  holdings.mCpuSeconds =
      static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
  return holdings;
}

std::string Holdings::Text() const {
  char text[100];
  std::snprintf(text, sizeof text, "%.1f MiB, %d descriptors, %.1f s of processor time",
                static_cast<double>(mKiB) / 1024, mDescriptors, mCpuSeconds);
  return text;
}

long long NowUs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000000LL + now.tv_nsec / 1000;
}
