// The panel of a bottle filler, step 1: a greeting.
#include <dorn/dorn.h>

#include <csignal>
#include <cstdio>

class FillerDialog : public VQDialog {
 public:
  void OnInit() override { LoadJsonShare(); }

  // A station has come. It gets the whole panel, the others what has changed for them.
  void OnChange(VQClientSocket* client, VQJsonCommand*) override {
    ++mVisits;
    GetResourceShare()->SetValueByName("Value", mVisits, "visits", -1, "");
    SendUpdateShareToAll(false);
    SendSnapshot(client);
  }

 private:
  int mVisits = 0;
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
