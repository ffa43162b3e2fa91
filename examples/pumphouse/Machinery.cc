#include "Machinery.h"

#include <cstddef>
#include <string>

namespace {

// No session makes such a change, so every station gets it.
void Show(VQJsonObject& panel, const char* key, const VQValue& value, const std::string& name) {
  panel.SetValueByName(key, value, name, -1, "");
}

}  // namespace

void ShowMachinery(const PumpStation& station, VQJsonObject& panel) {
  Show(panel, "Value", station.LevelCm(), "level");
  Show(panel, "Value", station.FlowLitresPerSecond(), "flow");
  const char* isManual = station.GetMode() == PumpStation::Mode::kManual ? "ON" : "OFF";
  for (std::size_t pump = 0; pump < PumpStation::kPumps; ++pump) {
    const std::string prefix = "pump" + std::to_string(pump + 1);
    const bool isRunning = station.IsRunning(pump);
    Show(panel, "Value", isRunning ? "RUNNING" : "STOPPED", prefix + "_state");
    Show(panel, "State", isRunning ? "NORMAL" : "OFF", prefix + "_state");
    Show(panel, "Enabled", isManual, prefix + "_start");
    Show(panel, "Enabled", isManual, prefix + "_stop");
  }
}
