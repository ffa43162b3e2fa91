#include "tests/soak/Figures.h"

#include <cstdio>
#include <filesystem>

#include "tools/dorn-load/Process.h"

Holdings Holdings::Of(pid_t pid) {
  Holdings holdings;
  if (const auto figures = dorn::load::ProcessFigures::Of(pid)) {
    holdings.mMiB = figures->mMiB;
    holdings.mCpuSeconds = figures->mCpuSeconds;
  }
  std::error_code error;
  const std::string folder = "/proc/" + std::to_string(pid) + "/fd";
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    holdings.mDescriptors += entry.path().empty() ? 0 : 1;
  }
  return holdings;
}

std::string Holdings::Text() const {
  char text[100];
  std::snprintf(text, sizeof text, "%.1f MiB, %d descriptors, %.1f s of processor time", mMiB,
                mDescriptors, mCpuSeconds);
  return text;
}
