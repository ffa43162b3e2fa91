#include "PanelDialog.h"

#include <algorithm>
#include <memory>
#include <string>

#include "Machinery.h"
#include "PumphouseApp.h"

namespace {

constexpr unsigned int kTickTimer = 100;
constexpr int kTickMs = 1000;

// What stations may change; everything else on the panel is the server's. "mode_off" is disabled:
// what leads there is the button that asks first.
bool IsOperable(VQJsonObject* target, const KZString& key) {
  return key == "Attr" && target->GetValue("Type") == "RADIOBTN" &&
         target->GetValue("Enabled") != "OFF";
}

}  // namespace

void PanelDialog::OnInit() {
  LoadJsonShare();
  mAlarms.Show(GetResourceShare()->SearchName("alarms"));
  SetTimerInterval(kTickMs, kTickTimer);
  dorn::SetObserver(this);
}

// The station goes to another dialog (or enters this one again).
void PanelDialog::OnChangeBefore(VQClientSocket* client, VQJsonCommand*) {
  RemoveOperator(client->GetSessionId());
}

// SendSnapshot instead of SendUpdateShare(true): the station that enters needs the whole panel,
// the others do not.
void PanelDialog::OnChange(VQClientSocket* client, VQJsonCommand*) {
  AddOperator(client->GetSessionId());
  SendUpdateShareToAll(false);
  SendSnapshot(client);
}

// Closed, or its line is down. The session may have another station here.
void PanelDialog::OnStationGone(VQClientSocket*, const KZString& sid) {
  if (!HasStation(sid)) RemoveOperator(sid);
}

void PanelDialog::OnSessionEnd(const KZString& sid) { RemoveOperator(sid); }

bool PanelDialog::HasStation(const KZString& sessionId) const {
  const KZFdDataList& records = *app.GetFdDataList();
  return std::any_of(records.begin(), records.end(), [&](KZFdData* record) {
    auto* station = dynamic_cast<VQClientSocket*>(record);
    return station != nullptr && station->GetFDStatus() != KZFdData::kStatusRemove &&
           station->GetSessionId() == sessionId && station->mDialogName == mDialogName;
  });
}

void PanelDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  UpdateResourceShare(command, client->GetSessionId());
  ShowMachinery(mStation, *GetResourceShare());
  SendUpdateShareToAll(false);
}

// Takes over what an operator may change. Anything else is put right on the stations again: the
// attribute is sent as the server has it.
void PanelDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  for (auto each = source->KeyValueBegin(); each != source->KeyValueEnd(); ++each) {
    const auto& [key, value] = *each;
    if (key == "Name") continue;
    if (IsOperable(target, key) && value == "ON") {
      target->SetValue(key, value, -1, sid);
    } else if (target->HasKey(key)) {
      target->SetDirty(key);
    }
  }
  const KZString& name = target->mName;
  if (target->GetValue("Attr") != "ON") return;
  if (name == "mode_manual") mStation.SetMode(PumpStation::Mode::kManual);
  if (name == "mode_auto") mStation.SetMode(PumpStation::Mode::kAuto);
}

void PanelDialog::OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString action) {
  if (touched->mName == "alarms" && action == "ACK") {
    const KZString number(touched->GetValue("Row").GetChar());
    mAlarms.Acknowledge(number, app.UserOf(client->GetSessionId()));
  }
  if (touched->mName == "off" && action == "CLICK") SwitchOff();
  if (action == "CLICK") SwitchPumps(touched->mName);
  ShowMachinery(mStation, *GetResourceShare());
  SendUpdateShareToAll(false);
}

// Whether a pump may be switched now, the machinery knows.
void PanelDialog::SwitchPumps(const KZString& button) {
  for (std::size_t pump = 0; pump < PumpStation::kPumps; ++pump) {
    const std::string prefix = "pump" + std::to_string(pump + 1);
    if (button == prefix + "_start") mStation.SwitchPump(pump, true);
    if (button == prefix + "_stop") mStation.SwitchPump(pump, false);
  }
}

// The host switches the radio button itself, and with it the others off.
void PanelDialog::SwitchOff() {
  mStation.SetMode(PumpStation::Mode::kOff);
  GetResourceShare()->SetValueByName("Attr", "ON", "mode_off", -1, "");
}

void PanelDialog::OnTimer(timeval, unsigned int id) {
  if (id != kTickTimer) return;
  mStation.Tick();
  const bool highWater = mStation.LevelCm() > PumpStation::kAlarmLevelCm;
  if (highWater && !mHighWater) mAlarms.Raise("ALARM", "high water");
  mHighWater = highWater;
  ShowMachinery(mStation, *GetResourceShare());
  SendUpdateShareToAll(false);
}

// With a shared tree the dialog lives as long as the server; this is for a host that removes it.
void PanelDialog::OnFinal() { app.SetTimerData(0, kTickTimer, mDialogName, 0); }

// Each operator at the panel is an object of its own, so the stations receive ADD and DELETE.
void PanelDialog::AddOperator(const KZString& sessionId) {
  VQJsonObject* group = GetResourceShare()->SearchName("operators");
  if (group == nullptr || mOperatorBySession.count(sessionId) != 0) return;
  const KZString name = "operator" + std::to_string(++mOperatorCount);
  auto label = std::make_unique<VQJsonObject>(group);
  label->SetValue("Name", name, 0, "");
  label->SetValue("Type", "LABEL", 0, "");
  label->SetValue("Label", app.UserOf(sessionId), 0, "");
  label->SetValue("Value", TimeOfDay(), 0, "");
  label->SetValue("Hint", "at the panel since", 0, "");
  label->SetValue("Hint:ja", "この時刻から", 0, "");
  if (!group->AddObject(label.get(), 1)) return;
  static_cast<void>(label.release());  // The group owns it now.
  mOperatorBySession[sessionId] = name;
}

// One deletion is recorded per update, so each is sent at once.
void PanelDialog::RemoveOperator(const KZString& sessionId) {
  const auto found = mOperatorBySession.find(sessionId);
  if (found == mOperatorBySession.end()) return;
  if (VQJsonObject* label = GetResourceShare()->SearchName(found->second)) label->Delete("THIS");
  mOperatorBySession.erase(found);
  SendUpdateShareToAll(false);
}
