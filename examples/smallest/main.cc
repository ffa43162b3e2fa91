// The smallest dialog server: one panel that every station shares.
#include <dorn/dorn.h>

#include <csignal>
#include <cstdio>

class Panel : public VQDialog {
 public:
  void OnInit() override { LoadJsonShare(); }
  void OnChange(VQClientSocket* station, VQJsonCommand*) override { SendSnapshot(station); }
  void OnCondition(VQClientSocket* station, VQJsonCommand* command) override {
    UpdateResourceShare(command, station->GetSessionId());
    SendUpdateShareToAll(false);
  }
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == "panel")) return nullptr;
    auto* panel = new Panel;
    panel->Init(name, "panel.json");
    return panel;
  }
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override {
    SetLoginGuard(true);                // Whoever guesses passwords is slowed down.
    SetTrace(dorn::Trace::kNoSecrets);  // No passwords on the console.
    const auto panel = dorn::CheckResource("panel.json");
    if (!panel.isUsable) std::fprintf(stderr, "%s\n", panel.Text().c_str());
    return panel.isUsable ? 1 : -1;
  }
  void OnAuth(const KZString&, const KZString& pass, VQClientSocket* station) override {
    if (!(pass == "secret")) return;
    const KZString session = dorn::MakeSessionId();
    CreateSession(session, 600000);  // Ends ten minutes after the last command.
    station->Authentication(session);
  }
};

Maker maker;
App app(maker);

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  app.Run();
}
