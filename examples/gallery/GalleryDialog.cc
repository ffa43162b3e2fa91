#include "GalleryDialog.h"

#include <cctype>
#include <cstdlib>
#include <string>

#include "Inputs.h"

namespace {

constexpr unsigned int kTrendTimer = 100;
constexpr int kTrendMs = 1000;
constexpr int kTrendStep = 7;
constexpr int kTrendMax = 100;

bool IsCode(const std::string& text) {
  if (text.size() != 4) return false;
  for (const char each : text) {
    if (std::isdigit(static_cast<unsigned char>(each)) == 0) return false;
  }
  return true;
}

}  // namespace

void GalleryDialog::OnInit() {
  LoadJsonShare();
  if (GetResourceShare()->SearchName("trend") != nullptr) SetTimerInterval(kTrendMs, kTrendTimer);
}

void GalleryDialog::OnChange(VQClientSocket* client, VQJsonCommand*) { SendSnapshot(client); }

void GalleryDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  UpdateResourceShare(command, client->GetSessionId());
  SendUpdateShareToAll(false);
}

// Two inputs show how a host answers: "even" puts right what it gets, "code" says what is wrong.
void GalleryDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  TakeOver(target, *source, sid);
  if (target->mName == "even") {
    const int value = std::atoi(target->GetValue("Value"));
    Show("Value", std::to_string(value - value % 2), "even");
  }
  if (target->mName == "code") {
    const bool isCode = IsCode(target->GetValue("Value").GetChar());
    Show("Error", isCode ? "" : "four digits", "code");
    Show("Error:ja", isCode ? "" : "数字四つです", "code");
  }
}

void GalleryDialog::OnTouch(VQClientSocket*, VQJsonObject* touched, KZString action) {
  if (!(action == "CLICK")) return;
  if (!(touched->mName == "plain") && !(touched->mName == "careful")) return;
  Show("Value", ++mTouches, "touches");
  SendUpdateShareToAll(false);
}

// Up and down between 0 and its maximum, so that there is a line to draw.
void GalleryDialog::OnTimer(timeval, unsigned int id) {
  if (id != kTrendTimer) return;
  mTrend = (mTrend + kTrendStep) % (2 * kTrendMax);
  Show("Value", mTrend <= kTrendMax ? mTrend : 2 * kTrendMax - mTrend, "trend");
  SendUpdateShareToAll(false);
}

// No session made this change, so every station gets it.
void GalleryDialog::Show(const char* key, const VQValue& value, const char* name) {
  GetResourceShare()->SetValueByName(key, value, name, -1, "");
}
