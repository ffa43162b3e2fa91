// The host that is measured: a panel of which stations change what they like. With DORN_SITE in its
// environment it is one host of a site, and otherwise one without; the panel is the same.
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "dorn/dorn.h"
#include "site/SharedDialog.h"
#include "site/Site.h"

namespace {

constexpr char kPanel[] = "panel";
constexpr int kObjects = 16;

// Values are as long from the first change on: what is sent for each is as long, too.
void LoadTree(VQDialog& dialog) {
  std::string tree = R"({"Command":"DIALOG","Name":"panel","Objects":[)";
  for (int i = 0; i < kObjects; ++i) {
    tree += R"({"Type":"LABEL","Name":"o)" + std::to_string(i) + R"(","Value":"c0:0000000"},)";
  }
  tree += R"({"Type":"LABEL","Name":"count","Value":"n:0"}]})";
  VQJsonParser parser;
  parser.ParseDialog(dialog.GetResourceShare(), tree.c_str(), true);
}

// How many changes there were is shown when somebody asks, so that it costs nothing otherwise.
void ShowCount(VQDialog& dialog, VQJsonCommand& command, std::int64_t count) {
  if (!(command.GetValue("ActionName") == "count")) return;
  const KZString text("n:" + std::to_string(count));
  dialog.GetResourceShare()->SetValueByName("Value", VQValue(text), "count", -1, "");
}

class Panel : public VQDialog {
 public:
  void OnInit() override { LoadTree(*this); }
  void OnChange(VQClientSocket* client, VQJsonCommand*) override { SendSnapshot(client); }
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override {
    UpdateResourceShare(command, client->GetSessionId());
    ShowCount(*this, *command, ++mCount);
    SendUpdateShareToAll(false);
  }

 private:
  std::int64_t mCount = 0;
};

class SharedPanel : public dorn::site::SharedDialog {
 public:
  void OnInit() override { LoadTree(*this); }
  void OnChange(VQClientSocket* client, VQJsonCommand*) override { SendSnapshot(client); }
  void OnApply(const Change& change) override {
    SharedDialog::OnApply(change);
    ShowCount(*this, *change.command, ++mCount);
  }
  void OnSave(dorn::site::Writer& out) const override { out.WriteInt(mCount); }
  void OnLoad(dorn::site::Reader& in) override { mCount = in.ReadInt(); }

 private:
  std::int64_t mCount = 0;
};

bool IsOfSite() { return std::getenv("DORN_SITE") != nullptr; }

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == kPanel)) return nullptr;
    std::unique_ptr<VQDialog> panel;
    if (IsOfSite()) {
      panel = std::make_unique<SharedPanel>();
    } else {
      panel = std::make_unique<Panel>();
    }
    panel->Init(name, "none.json");
    return panel.release();  // The application's.
  }
};

// Everybody may log in.
class App : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override {
    SetTrace(dorn::Trace::kNone);
    if (std::getenv("DORN_BENCH_PROXY") != nullptr) dorn::SetTrustedProxies({"127.0.0.1"});
    return 1;
  }
  void OnAuth(const KZString& id, const KZString&, VQClientSocket* client) override {
    const KZString sid = dorn::MakeSessionId();
    if (IsOfSite()) {
      dorn::site::CreateSession(sid, 0, std::string_view(id));
    } else {
      static_cast<void>(CreateSession(sid, 0));  // It exists when the station comes back.
      client->Authentication(sid);
    }
  }
  bool OnAuthCheck(const KZString& sid, VQClientSocket* client) override {
    return IsOfSite() && dorn::site::Reattach(sid, client);
  }
  void OnStart(VQClientSocket* client, KZString&, int, int) override {
    VQJsonCommand open("OPEN");
    open.SetValue("File", "none.json", 0, "");
    open.SetValue("SessionId", client->GetSessionId(), 0, "");
    client->SendData(open.GetJson());
  }
};

Maker maker;
App app(maker);

}  // namespace

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  std::unique_ptr<dorn::site::Site> site;
  if (IsOfSite()) {
    dorn::site::SiteOptions options = dorn::site::OptionsFromEnvironment();
    options.dialogs = {kPanel};
    options.appliesTwice = false;  // Also where it is compiled for debugging.
    site = std::make_unique<dorn::site::Site>(app, options);
    if (!site->Start()) return 1;
  }
  app.Run();
}
