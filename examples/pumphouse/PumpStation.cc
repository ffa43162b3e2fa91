#include "PumpStation.h"

#include <algorithm>

namespace {
constexpr int kInflowCm = 2;
constexpr int kPumpedCm = 3;
constexpr int kLitresPerSecond = 40;
constexpr int kStartLevelCm = 150;
constexpr int kStopLevelCm = 80;
constexpr int kBrimCm = 200;
}  // namespace

void PumpStation::SetMode(Mode mode) {
  mMode = mode;
  if (mode == Mode::kOff) mRunning.fill(false);
}

void PumpStation::SwitchPump(std::size_t pump, bool on) {
  if (mMode == Mode::kManual && pump < kPumps) mRunning[pump] = on;
}

void PumpStation::Restore(Mode mode, const std::array<bool, kPumps>& running, int levelCm) {
  mMode = mode;
  mRunning = running;
  mLevelCm = levelCm;
}

void PumpStation::Tick() {
  mLevelCm += kInflowCm;
  for (const bool running : mRunning) mLevelCm -= running ? kPumpedCm : 0;
  mLevelCm = std::clamp(mLevelCm, 0, kBrimCm);
  if (mMode != Mode::kAuto) return;
  if (mLevelCm > kStartLevelCm) mRunning[0] = true;
  if (mLevelCm < kStopLevelCm) mRunning.fill(false);
}

int PumpStation::FlowLitresPerSecond() const {
  return kLitresPerSecond * static_cast<int>(std::count(mRunning.begin(), mRunning.end(), true));
}
