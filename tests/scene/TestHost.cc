// A host with everything that a scene can be about, faults included.
//
//   testhost [deaf|stubborn|sour|short]   deaf: never listens; stubborn: minds no SIGTERM;
//                                         sour: ends with 3; short: ends at once with 4
#include <dorn/dorn.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

constexpr unsigned int kLateTimer = 1;

class Page : public VQDialog {
 public:
  void OnInit() override { LoadJsonShare(); }
  void OnChange(VQClientSocket* station, VQJsonCommand*) override { SendSnapshot(station); }
  void OnCondition(VQClientSocket* station, VQJsonCommand* command) override {
    UpdateResourceShare(command, station->GetSessionId());
    SendUpdateShareToAll(false);
  }

  void OnTouch(VQClientSocket* station, VQJsonObject* touched, KZString action) override {
    const std::string name(static_cast<const char*>(touched->mName));
    if (name == "touch") Show("count", ++mTouches);
    if (name == "wait") SetTimerInterval(150, kLateTimer);
    if (name == "add") Add();
    if (name == "remove") Remove();
    if (name == "alarms" && action == "ACK") Show("count", 100);
    if (name == "say") std::puts("the host says something");
    if (name == "close") station->Close();
    if (name == "die") _exit(7);
    if (name == "crash") std::abort();
    if (name == "hang") pause();
    SendUpdateShareToAll(false);
  }

  void OnTimer(timeval, unsigned int) override {
    SetTimerInterval(0, kLateTimer);
    GetResourceShare()->SetValueByName("Value", "now", "late", -1, "");
    SendUpdateShareToAll(false);
  }

 private:
  void Show(const char* name, int value) {
    GetResourceShare()->SetValueByName("Value", value, name, -1, "");
  }
  void Add() {
    VQJsonObject* group = GetResourceShare()->SearchName("items");
    auto item = std::make_unique<VQJsonObject>(group);
    item->SetValue("Name", "item", 0, "");
    item->SetValue("Type", "LABEL", 0, "");
    if (group->AddObject(item.get(), 1)) static_cast<void>(item.release());
  }
  void Remove() {
    if (VQJsonObject* item = GetResourceShare()->SearchName("item")) item->Delete("THIS");
  }

  int mTouches = 0;
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == "page") && !(name == "second")) return nullptr;
    auto* page = new Page;
    page->Init(name, (name + ".json").c_str());
    return page;
  }
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 1; }
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* station) override {
    if (!(pass == "right")) return;
    const KZString session = dorn::MakeSessionId();
    CreateSession(session, id == "guest" ? 700 : 60'000);
    station->Authentication(session);
  }
  void OnStart(VQClientSocket* station, KZString&, int, int) override {
    VQJsonCommand open("OPEN");
    open.SetValue("DialogName", "page", 0, "");
    open.SetValue("SessionId", station->GetSessionId(), 0, "");
    station->SendData(open.GetJson());
  }
};

Maker maker;
App app(maker);

}  // namespace

int main(int argc, char** argv) {
  const std::string kind = argc > 1 ? argv[1] : "";
  std::printf("the host is %s\n", kind.empty() ? "sound" : kind.c_str());
  std::fflush(stdout);
  if (kind == "short") return 4;
  std::signal(SIGTERM, SIG_IGN);
  if (kind != "stubborn") std::signal(SIGTERM, [](int) { app.Stop(); });
  if (kind == "deaf") {
    std::signal(SIGTERM, SIG_DFL);
    for (;;) pause();
  }
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  app.Run();
  return kind == "sour" ? 3 : 0;
}
