// A kiln: one panel that every station shares, a number with limits, two buttons and a timer.
#include <dorn/dorn.h>

#include <csignal>
#include <cstdio>
#include <string>

namespace {

constexpr unsigned int kTick = 1;
constexpr int kTickMs = 200;
constexpr int kColdest = 20;
constexpr int kHottest = 1200;

class Kiln : public VQDialog {
 public:
  void OnInit() override {
    LoadJsonShare();
    SetTimerInterval(kTickMs, kTick);
  }

  void OnFinal() override { SetTimerInterval(0, kTick); }

  void OnChange(VQClientSocket* station, VQJsonCommand*) override { SendSnapshot(station); }

  void OnCondition(VQClientSocket* station, VQJsonCommand* command) override {
    UpdateResourceShare(command, station->GetSessionId());
    SendUpdateShareToAll(false);
  }

  // A station may set one attribute of one object. What is refused is marked all the same, so that
  // every station gets what the host has.
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override {
    if (!(target->mName == "wanted") || !source->HasKey("Value")) return;
    const int typed = source->GetValue("Value").GetInt();
    const bool isAllowed = typed >= kColdest && typed <= kHottest;
    target->SetValue("Error", isAllowed ? "" : "20 to 1200 degrees", -1, "");
    if (isAllowed) {
      mWanted = typed;
      target->SetValue("Value", std::to_string(typed), -1, sid);
    } else {
      target->SetDirty("Value");
    }
  }

  void OnTouch(VQClientSocket*, VQJsonObject* touched, KZString action) override {
    if (!(action == "CLICK")) return;
    if (touched->mName == "heat") mIsHeating = true;
    if (touched->mName == "off") mIsHeating = false;
    Show();
  }

  void OnTimer(timeval, unsigned int id) override {
    if (id != kTick) return;
    const int goal = mIsHeating ? mWanted : kColdest;
    if (mDegrees != goal) mDegrees += mDegrees < goal ? 1 : -1;
    Show();
  }

 private:
  // No session made these changes, so every station gets them. What has not changed is not sent.
  void Show() {
    VQJsonResource* tree = GetResourceShare();
    tree->SetValueByName("Value", std::to_string(mDegrees), "degrees", -1, "");
    tree->SetValueByName("Value", mIsHeating ? "HEATING" : "OFF", "state", -1, "");
    tree->SetValueByName("Enabled", mIsHeating ? "OFF" : "ON", "heat", -1, "");
    SendUpdateShareToAll(false);
  }

  int mDegrees = kColdest;
  int mWanted = kColdest;
  bool mIsHeating = false;
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == "kiln")) return nullptr;
    auto* kiln = new Kiln;  // The library deletes it.
    kiln->Init(name, "kiln.json");
    return kiln;
  }
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override {
    SetTrace(dorn::Trace::kNoSecrets);
    SetLoginGuard(true);
    const dorn::ResourceReport report = dorn::CheckResource("kiln.json");
    if (!report.isUsable) std::fprintf(stderr, "kiln: %s\n", report.Text().c_str());
    return report.isUsable ? 1 : -1;
  }

  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* station) override {
    if (!(id == "potter") || !(pass == "clay")) return;
    const KZString session = dorn::MakeSessionId();
    if (!CreateSession(session, kSessionSeconds * 1000)) return;
    station->Authentication(session);
  }

  void OnStart(VQClientSocket* station, KZString&, int, int) override {
    VQJsonCommand open("OPEN");
    open.SetValue("File", "kiln.json", 0, "");
    open.SetValue("FileSource", "SERVER", 0, "");
    open.SetValue("SessionId", station->GetSessionId(), 0, "");
    open.SetValue("DialogName", "kiln", 0, "");
    open.SetValue("Interval", kSessionSeconds, 0, "");
    station->SendData(open.GetJson());
  }

 private:
  static constexpr int kSessionSeconds = 600;
};

Maker maker;
App app(maker);

}  // namespace

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  app.Run();
}
