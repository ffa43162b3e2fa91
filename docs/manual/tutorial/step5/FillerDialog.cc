#include "FillerDialog.h"

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "Users.h"

namespace {

constexpr unsigned int kStepTimer = 1;
constexpr int kStepMs = 100;

// A whole number and nothing else.
std::optional<int> ToNumber(std::string_view typed) {
  int number = 0;
  const char* end = typed.data() + typed.size();
  const auto [stopped, error] = std::from_chars(typed.data(), end, number);
  if (error != std::errc() || stopped != end) return std::nullopt;
  return number;
}

bool MayOperate(const KZString& sessionId) {
  const UserSession* session = FindSession(sessionId);
  return session != nullptr && session->mUser.mayOperate;
}

}  // namespace

void FillerDialog::OnInit() {
  LoadJsonShare();
  SetTimerInterval(kStepMs, kStepTimer);
}

void FillerDialog::OnTimer(timeval, unsigned int id) {
  if (id != kStepTimer) return;
  mFiller.Step();
  ShowMachine();
  SendUpdateShareToAll(false);
}

void FillerDialog::OnChange(VQClientSocket* client, VQJsonCommand*) { SendSnapshot(client); }

void FillerDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  UpdateResourceShare(command, client->GetSessionId());
  SendUpdateShareToAll(false);
}

void FillerDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  for (const auto& [key, value] : source->GetObject()) {
    if (key == "Name" || !target->HasKey(key)) continue;
    if (MaySet(target, key, sid)) TakeNumber(target, value.GetChar());
    target->SetDirty(key);
  }
}

// Whoever may not operate finds the panel as it was.
void FillerDialog::OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString action) {
  const KZString& sessionId = client->GetSessionId();
  if (!(action == "CLICK") || !MayOperate(sessionId)) return;
  UserSession* session = FindSession(sessionId);
  ++session->mTouches;
  if (touched->mName == "start") mFiller.Start(Number("bottles"), Number("volume"));
  if (touched->mName == "stop") mFiller.Stop();
  if (touched->mName == "refill") mFiller.Refill();
  Show("last", "Value", std::string(session->mUser.name) + ": " + touched->mName);
  ShowMachine();
  SendUpdateShareToAll(false);
}

bool FillerDialog::MaySet(VQJsonObject* target, const KZString& key,
                          const KZString& sessionId) const {
  const bool isOrder = target->mName == "volume" || target->mName == "bottles";
  return key == "Value" && isOrder && !mFiller.IsFilling() && MayOperate(sessionId);
}

// The limits stand in the resource file, where stations read them too.
void FillerDialog::TakeNumber(VQJsonObject* target, const char* typed) {
  const int low = target->GetValue("Min").GetInt();
  const int high = target->GetValue("Max").GetInt();
  const std::optional<int> number = ToNumber(typed);
  if (!number || *number < low || *number > high) {
    const std::string limits = std::to_string(low) + " to " + std::to_string(high);
    target->SetValue("Error", "a whole number, " + limits, -1, "");
    return;
  }
  target->SetValue("Value", *number, -1, "");
  target->SetValue("Error", "", -1, "");
}

int FillerDialog::Number(const char* name) {
  VQJsonObject* edit = GetResourceShare()->SearchName(name);
  return edit == nullptr ? 0 : edit->GetValue("Value").GetInt();
}

// All of the machine. Only what differs from before becomes a change.
void FillerDialog::ShowMachine() {
  switch (mFiller.GetState()) {
    case Filler::State::kStopped:
      ShowState("STOPPED", "OFF");
      break;
    case Filler::State::kFilling:
      ShowState("FILLING", "NORMAL");
      break;
    case Filler::State::kDone:
      ShowState("DONE", "INFO");
      break;
    case Filler::State::kTankEmpty:
      ShowState("TANK EMPTY", "ALARM");
      break;
  }
  Show("filled", "Value", mFiller.FilledBottles());
  Show("bottle", "Value", mFiller.InBottleMl());
  Show("tank", "Value", mFiller.InTankMl());
  const bool isFilling = mFiller.IsFilling();
  Show("start", "Enabled", isFilling ? "OFF" : "ON");
  Show("stop", "Enabled", isFilling ? "ON" : "OFF");
  Show("volume", "ReadOnly", isFilling ? "ON" : "OFF");
  Show("bottles", "ReadOnly", isFilling ? "ON" : "OFF");
}

void FillerDialog::ShowState(const char* word, const char* state) {
  Show("state", "Value", word);
  Show("state", "State", state);
}

// No session made this change, so every station hears of it.
void FillerDialog::Show(const char* name, const char* key, const VQValue& value) {
  GetResourceShare()->SetValueByName(key, value, name, -1, "");
}
