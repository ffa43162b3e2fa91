#include "PanelDialog.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>

#include "PumphouseApp.h"

namespace {

constexpr unsigned int kTickTimer = 100;
constexpr int kTickMs = 1000;
constexpr int kAlarmRows = 4;
constexpr int kAlarmColumns = 2;

// What stations may change; everything else on the panel is the server's.
bool IsOperable(VQJsonObject* target, const KZString& key) {
  return key == "Attr" && target->GetValue("Type") == "RADIOBTN";
}

VQJsonGrid* AlarmsOf(VQJsonResource* tree) {
  return dynamic_cast<VQJsonGrid*>(tree->SearchName("alarms"));
}

}  // namespace

void PanelDialog::OnInit() {
  LoadJsonShare();
  if (VQJsonGrid* alarms = AlarmsOf(GetResourceShare())) {
    alarms->SetDataSize(kAlarmColumns, kAlarmRows);
    // A cell without a value would be written as nothing at all.
    for (int row = 0; row < kAlarmRows; ++row) {
      for (int column = 0; column < kAlarmColumns; ++column) alarms->SetData(column, row, "");
    }
    // A partial update does not carry the table; RaiseAlarm sends it whole.
    alarms->ResetDirty();
  }
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
  ShowMachinery();
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
  if (name == "mode_off") mStation.SetMode(PumpStation::Mode::kOff);
}

void PanelDialog::OnTouch(VQClientSocket*, VQJsonObject* touched, KZString action) {
  if (!(action == "CLICK")) return;
  for (std::size_t pump = 0; pump < PumpStation::kPumps; ++pump) {
    const std::string prefix = "pump" + std::to_string(pump + 1);
    if (touched->mName == prefix + "_start") mStation.SwitchPump(pump, true);
    if (touched->mName == prefix + "_stop") mStation.SwitchPump(pump, false);
  }
  ShowMachinery();
  SendUpdateShareToAll(false);
}

void PanelDialog::OnTimer(timeval, unsigned int id) {
  if (id != kTickTimer) return;
  mStation.Tick();
  const bool highWater = mStation.LevelCm() > PumpStation::kAlarmLevelCm;
  if (highWater && !mHighWater) RaiseAlarm("high water");
  mHighWater = highWater;
  ShowMachinery();
  SendUpdateShareToAll(false);
}

// With a shared tree the dialog lives as long as the server; this is for a host that removes it.
void PanelDialog::OnFinal() { app.SetTimerData(0, kTickTimer, mDialogName, 0); }

void PanelDialog::Show(const char* key, const VQValue& value, const KZString& name) {
  // No session made this change, so every station gets it.
  GetResourceShare()->SetValueByName(key, value, name, -1, "");
}

void PanelDialog::ShowMachinery() {
  Show("Value", mStation.LevelCm(), "level");
  Show("Value", mStation.FlowLitresPerSecond(), "flow");
  for (std::size_t pump = 0; pump < PumpStation::kPumps; ++pump) {
    Show("Value", mStation.IsRunning(pump) ? "RUNNING" : "STOPPED",
         "pump" + std::to_string(pump + 1) + "_state");
  }
}

// Newest first. The table travels only in full output, hence `true`.
void PanelDialog::RaiseAlarm(const std::string& text) {
  VQJsonGrid* alarms = AlarmsOf(GetResourceShare());
  if (alarms == nullptr) return;
  for (int row = kAlarmRows - 1; row > 0; --row) {
    for (int column = 0; column < kAlarmColumns; ++column) {
      alarms->SetData(column, row, alarms->GetData(column, row - 1));
    }
  }
  char time[16];
  const std::time_t now = std::time(nullptr);
  std::strftime(time, sizeof time, "%H:%M:%S", std::localtime(&now));
  alarms->SetData(0, 0, time);
  alarms->SetData(1, 0, text.c_str());
  SendUpdateShareToAll(true);
}

// Each operator at the panel is an object of its own, so the stations receive ADD and DELETE.
void PanelDialog::AddOperator(const KZString& sessionId) {
  VQJsonObject* group = GetResourceShare()->SearchName("operators");
  if (group == nullptr || mOperatorBySession.count(sessionId) != 0) return;
  const KZString name = "operator" + std::to_string(++mOperatorCount);
  auto label = std::make_unique<VQJsonObject>(group);
  label->SetValue("Name", name, 0, "");
  label->SetValue("Type", "LABEL", 0, "");
  label->SetValue("Value", app.UserOf(sessionId), 0, "");
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
