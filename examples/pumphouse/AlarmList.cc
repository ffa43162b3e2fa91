#include "AlarmList.h"

#include <algorithm>
#include <ctime>

namespace {

// The columns, in the order of the resource file.
constexpr std::size_t kNumber = 0;
constexpr std::size_t kAck = 4;

}  // namespace

// The rows are an attribute, so that an alarm reaches the stations as a change like any other.
void AlarmList::Raise(const char* state, const char* text) {
  if (mGrid == nullptr) return;
  VQJArray rows = mGrid->GetValue("Rows").GetArray();
  rows.insert(rows.begin(), VQJArray{std::to_string(++mRaised), TimeOfDay(), state, text, ""});
  rows.resize(std::min(rows.size(), kMostRows));
  mGrid->SetValue("Rows", rows, 1, "");
}

void AlarmList::Acknowledge(const KZString& number, const std::string& who) {
  if (mGrid == nullptr) return;
  VQJArray rows = mGrid->GetValue("Rows").GetArray();
  for (VQValue& row : rows) {
    VQJArray cells = row.GetArray();
    if (cells[kNumber] != number || cells[kAck] != "") continue;
    cells[kAck] = who + " " + TimeOfDay();
    row = cells;
  }
  mGrid->SetValue("Rows", rows, 1, "");
}

std::string TimeOfDay() {
  char text[16];
  const std::time_t now = std::time(nullptr);
  std::strftime(text, sizeof text, "%H:%M:%S", std::localtime(&now));
  return text;
}
