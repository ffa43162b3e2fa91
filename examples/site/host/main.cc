// The pumping station on several hosts: start as many as you like, with the same brokers and name.
#include <dorn/dorn.h>
#include <site/Site.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Proxies.h"
#include "SharedPanel.h"
#include "Users.h"

namespace {

constexpr char kPanel[] = "panel";

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == kPanel)) return nullptr;
    auto* panel = new SharedPanel;
    panel->Init(name, "panel.json");
    return panel;
  }
};

class SiteApp : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override {
    SetLoginGuard(true);
    SetTrace(dorn::Trace::kNone);
    TrustProxies(std::getenv("PUMPHOUSE_PROXIES"));
    if (const char* folder = std::getenv("RUNTIME_DIRECTORY")) {
      ServeStatistics((std::string(folder) + "/statistics").c_str());
    }
    const std::string users = std::string(GetModuleDirectory()) + "/users.txt";
    return mUsers.Load(users) ? 1 : -1;
  }

  // The answer goes out when the session is known to all hosts.
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket*) override {
    constexpr int kMsPerSecond = 1000;
    const User* user = mUsers.Check(id, pass);
    if (user == nullptr) return;
    dorn::site::CreateSession(dorn::MakeSessionId(), user->sessionSeconds * kMsPerSecond,
                              user->name);
  }

  // A station whose host has died comes here with the session that it has.
  bool OnAuthCheck(const KZString& sid, VQClientSocket* client) override {
    return dorn::site::Reattach(sid, client);
  }

  void OnStart(VQClientSocket* client, KZString&, int, int) override {
    VQJsonCommand command("OPEN");
    command.SetValue("File", "panel.json", -1, "");
    command.SetValue("FileSource", "SERVER", -1, "");
    command.SetValue("DialogName", kPanel, -1, "");
    command.SetValue("SessionId", client->GetSessionId(), -1, "");
    client->SendData(command.GetJson());
  }

 private:
  Users mUsers;
};

Maker maker;
SiteApp app(maker);

}  // namespace

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) {
    std::fputs("host: cannot start: see the lines above\n", stderr);
    return 1;
  }
  const int port = app.GetStationPort();  // Nobody is let in until the host knows the site's state.
  dorn::site::SiteOptions options = dorn::site::OptionsFromEnvironment();
  options.dialogs = {kPanel};
  dorn::site::Site site(app, options);
  if (!site.Start()) return 1;
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  std::printf("host: serving on port %d\n", port);
  std::fflush(stdout);
  app.Run();
  std::puts("host: stopped");
}
