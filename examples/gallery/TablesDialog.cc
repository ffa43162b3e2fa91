#include "TablesDialog.h"

#include <ctime>
#include <string>

namespace {

// The columns of "alarms", as the resource file has them.
constexpr std::size_t kNo = 0;
constexpr std::size_t kAck = 4;

constexpr int kMeasuredColumns = 2;
constexpr int kMeasuredRows = 3;

std::string TimeOfDay() {
  char text[16];
  const std::time_t now = std::time(nullptr);
  std::strftime(text, sizeof text, "%H:%M:%S", std::localtime(&now));
  return text;
}

}  // namespace

void TablesDialog::OnInit() {
  LoadJsonShare();
  Measure();
  GetResourceShare()->ResetDirty();  // Nobody has seen it otherwise.
}

void TablesDialog::OnChange(VQClientSocket* client, VQJsonCommand*) { SendSnapshot(client); }

void TablesDialog::OnTouch(VQClientSocket*, VQJsonObject* touched, KZString action) {
  if (touched->mName == "alarms" && action == "ACK") {
    Acknowledge(KZString(touched->GetValue("Row").GetChar()));
  }
  if (touched->mName == "raise") Raise();
  if (touched->mName == "measure") Measure();
  SendUpdateShareToAll(false);
}

// Newest first.
void TablesDialog::Raise() {
  VQJsonObject* alarms = GetResourceShare()->SearchName("alarms");
  VQJArray rows = alarms->GetValue("Rows").GetArray();
  const std::string number = std::to_string(++mRaised);
  rows.insert(rows.begin(), VQJArray{number, TimeOfDay(), "ALARM", "Alarm " + number, ""});
  alarms->SetValue("Rows", rows, 1, "");
}

void TablesDialog::Acknowledge(const KZString& key) {
  VQJsonObject* alarms = GetResourceShare()->SearchName("alarms");
  VQJArray rows = alarms->GetValue("Rows").GetArray();
  for (VQValue& row : rows) {
    VQJArray cells = row.GetArray();
    if (cells[kNo] != key || cells[kAck] != "") continue;
    cells[kAck] = TimeOfDay();
    row = cells;
  }
  alarms->SetValue("Rows", rows, 1, "");
}

// The table of a VQJsonGrid travels in full output alone. An update just says that "Data" has
// changed, and a station that reads this fetches the dialog again.
void TablesDialog::Measure() {
  auto* grid = dynamic_cast<VQJsonGrid*>(GetResourceShare()->SearchName("measured"));
  if (grid == nullptr) return;
  grid->SetDataSize(kMeasuredColumns, kMeasuredRows);
  for (int row = 0; row < kMeasuredRows; ++row) {
    grid->SetData(0, row, ("Point " + std::to_string(row + 1)).c_str());
    grid->SetData(1, row, std::to_string(100 * mMeasured + row).c_str());
  }
  ++mMeasured;
}
