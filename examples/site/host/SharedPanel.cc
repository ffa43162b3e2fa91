#include "SharedPanel.h"

#include <array>
#include <string>

#include "Machinery.h"

namespace {

// What stations may change: the modes, but "mode_off", to which a button leads that asks first.
bool IsOperable(VQJsonObject* target, const KZString& key) {
  return key == "Attr" && target->GetValue("Type") == "RADIOBTN" &&
         target->GetValue("Enabled") != "OFF";
}

}  // namespace

void SharedPanel::OnInit() { LoadJsonShare(); }

void SharedPanel::OnChange(VQClientSocket* client, VQJsonCommand*) { SendSnapshot(client); }

// Sensors, clocks and simulations are asked on one host only. What they say reaches all of them as
// a change, like what a station says.
void SharedPanel::OnKeep(timeval now) {
  if (now.tv_sec == mProposedAt) return;
  mProposedAt = now.tv_sec;
  Propose(VQJsonCommand("SECOND"));
}

void SharedPanel::OnApply(const Change& change) {
  if (change.isFromKeeper) {
    mStation.Tick();
  } else {
    Operate(change);
    Touch(change);
  }
  ShowMachinery(mStation, *GetResourceShare());
}

// As VQDialog does, but for what stations may not change: that is sent as the host has it.
void SharedPanel::Operate(const Change& change) {
  for (VQJsonObject* source : change.command->mObjectList) {
    if (source == nullptr) continue;
    VQJsonObject* target = GetResourceShare()->SearchName(source->mName);
    if (target == nullptr) continue;
    for (const auto& [key, value] : source->GetObject()) {
      if (key == "Name") continue;
      if (IsOperable(target, key) && value == "ON") {
        target->SetValue(key, value, -1, change.mark);
      } else if (target->HasKey(key)) {
        target->SetDirty(key);
      }
    }
    if (target->GetValue("Attr") != "ON") continue;
    if (target->mName == "mode_manual") mStation.SetMode(PumpStation::Mode::kManual);
    if (target->mName == "mode_auto") mStation.SetMode(PumpStation::Mode::kAuto);
  }
}

void SharedPanel::Touch(const Change& change) {
  if (change.command->GetValue("ActionType") != "CLICK") return;
  const KZString button = change.command->GetValue("ActionName").GetString();
  if (button == "off") {
    mStation.SetMode(PumpStation::Mode::kOff);
    GetResourceShare()->SetValueByName("Attr", "ON", "mode_off", -1, "");
  }
  for (std::size_t pump = 0; pump < PumpStation::kPumps; ++pump) {
    const std::string prefix = "pump" + std::to_string(pump + 1);
    if (button == KZString(prefix + "_start")) mStation.SwitchPump(pump, true);
    if (button == KZString(prefix + "_stop")) mStation.SwitchPump(pump, false);
  }
}

// What is not in the tree, or could not be told from it.
void SharedPanel::OnSave(dorn::site::Writer& out) const {
  out.WriteInt(static_cast<int>(mStation.GetMode()));
  for (std::size_t pump = 0; pump < PumpStation::kPumps; ++pump) {
    out.WriteBool(mStation.IsRunning(pump));
  }
  out.WriteInt(mStation.LevelCm());
}

void SharedPanel::OnLoad(dorn::site::Reader& in) {
  const auto mode = static_cast<PumpStation::Mode>(in.ReadInt());
  std::array<bool, PumpStation::kPumps> running{};
  for (bool& pump : running) pump = in.ReadBool();
  const auto levelCm = static_cast<int>(in.ReadInt());
  if (in.IsSound()) mStation.Restore(mode, running, levelCm);
}
