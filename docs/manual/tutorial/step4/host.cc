// The panel of a bottle filler, step 4: a machine that moves by itself.
#include <dorn/dorn.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "Filler.h"

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

}  // namespace

class FillerDialog : public VQDialog {
 public:
  void OnInit() override {
    LoadJsonShare();
    SetTimerInterval(kStepMs, kStepTimer);
  }

  // The machine goes on, and the panel with it. Where nothing has changed, nothing is sent.
  void OnTimer(timeval, unsigned int id) override {
    if (id != kStepTimer) return;
    mFiller.Step();
    ShowMachine();
    SendUpdateShareToAll(false);
  }

  void OnChange(VQClientSocket* client, VQJsonCommand*) override { SendSnapshot(client); }

  // An operator has done something at a station: first what has changed on it ...
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override {
    UpdateResourceShare(command, client->GetSessionId());
    SendUpdateShareToAll(false);
  }

  // ... object by object. Stations may set the numbers of the order while nothing is filled;
  // of anything else each gets back what the host has.
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString) override {
    for (const auto& [key, value] : source->GetObject()) {
      if (key == "Name" || !target->HasKey(key)) continue;
      if (key == "Value" && IsOrder(target) && !mFiller.IsFilling())
        TakeNumber(target, value.GetChar());
      target->SetDirty(key);
    }
  }

  // ... and then what was touched.
  void OnTouch(VQClientSocket*, VQJsonObject* touched, KZString action) override {
    if (!(action == "CLICK")) return;
    if (touched->mName == "start") mFiller.Start(Number("bottles"), Number("volume"));
    if (touched->mName == "stop") mFiller.Stop();
    if (touched->mName == "refill") mFiller.Refill();
    ShowMachine();
    SendUpdateShareToAll(false);
  }

 private:
  static bool IsOrder(VQJsonObject* edit) {
    return edit->mName == "volume" || edit->mName == "bottles";
  }

  // The limits stand in the resource file, where stations read them too.
  void TakeNumber(VQJsonObject* target, const char* typed) {
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

  int Number(const char* name) {
    VQJsonObject* edit = GetResourceShare()->SearchName(name);
    return edit == nullptr ? 0 : edit->GetValue("Value").GetInt();
  }

  // All of the machine. Only what differs from before becomes a change.
  void ShowMachine() {
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

  void ShowState(const char* word, const char* state) {
    Show("state", "Value", word);
    Show("state", "State", state);
  }

  // No session made this change, so every station hears of it.
  void Show(const char* name, const char* key, const VQValue& value) {
    GetResourceShare()->SetValueByName(key, value, name, -1, "");
  }

  Filler mFiller;
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == "filler")) return nullptr;
    auto* filler = new FillerDialog;
    filler->Init(name, "filler.json");
    return filler;  // The library owns it from here.
  }
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override {
    SetLoginGuard(true);
    SetTrace(dorn::Trace::kNoSecrets);
    const auto panel = dorn::CheckResource("filler.json");
    if (!panel.isUsable) std::fprintf(stderr, "%s\n", panel.Text().c_str());
    return panel.isUsable ? 1 : -1;
  }

  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override {
    if (!(id == "tanaka") || !(pass == "fill")) return;
    const KZString sessionId = dorn::MakeSessionId();
    CreateSession(sessionId, 600000);  // Ends ten minutes after the last command.
    client->Authentication(sessionId);
  }

  // What a station shows after the log-in.
  void OnStart(VQClientSocket* client, KZString&, int, int) override {
    VQJsonCommand open("OPEN");
    open.SetValue("File", "filler.json", 0, "");
    open.SetValue("FileSource", "SERVER", 0, "");
    open.SetValue("SessionId", client->GetSessionId(), 0, "");
    client->SendData(open.GetJson());
  }
};

Maker maker;
App app(maker);

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  app.Run();
}
