// The machinery behind the panel, simulated: a basin that fills, two pumps that empty it.
#ifndef PUMPHOUSE_PUMPSTATION_H_
#define PUMPHOUSE_PUMPSTATION_H_

#include <array>
#include <cstddef>

class PumpStation {
 public:
  enum class Mode { kManual, kAuto, kOff };
  static constexpr std::size_t kPumps = 2;
  static constexpr int kAlarmLevelCm = 180;

  void SetMode(Mode mode);
  Mode GetMode() const { return mMode; }

  // Starts or stops a pump; obeyed in manual mode only.
  void SwitchPump(std::size_t pump, bool on);
  bool IsRunning(std::size_t pump) const { return mRunning[pump]; }

  // Puts it in the state that another one was found in.
  void Restore(Mode mode, const std::array<bool, kPumps>& running, int levelCm);

  // One second passes.
  void Tick();

  int LevelCm() const { return mLevelCm; }
  int FlowLitresPerSecond() const;

 private:
  Mode mMode = Mode::kManual;
  std::array<bool, kPumps> mRunning{};
  int mLevelCm = 120;
};

#endif  // PUMPHOUSE_PUMPSTATION_H_
