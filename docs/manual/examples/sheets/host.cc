// Sheets: each user fills in a form of his own. Sessions know their users, leaving and expiring are
// noticed, help pages are made by name, and the statistics are offered.
#include <dorn/dorn.h>

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

// A session that knows whose it is. The list owns it; it dies behind its trees and connections.
class UserSession : public VQSession {
 public:
  UserSession(const KZString& sid, int intervalMs, KZString user)
      : VQSession(sid, intervalMs), mUser(std::move(user)) {}

  const KZString mUser;
};

class App : public VQApplication, public dorn::Observer {
 public:
  using VQApplication::VQApplication;
  int OnInit() override;
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* station) override;
  void OnStart(VQClientSocket* station, KZString& type, int height, int width) override;

  void OnStationGone(VQClientSocket*, const KZString& sid) override;
  void OnSessionEnd(const KZString& sid) override;

  KZString UserOf(const KZString& sid) {
    const auto* session = dynamic_cast<const UserSession*>(SessionList()->Search(sid));
    return session != nullptr ? session->mUser : KZString("?");
  }
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override;
};

Maker maker;
App app(maker);

// A tree for each session: what one user writes, no other one gets.
class Sheet : public VQDialog {
 public:
  void OnChange(VQClientSocket* station, VQJsonCommand*) override {
    const KZString& sid = station->GetSessionId();
    if (LoadJsonUnique(sid) == 1) {  // 0: this session was here before, and its tree is kept.
      GetResourceUnique(sid)->SetValueByName("Value", app.UserOf(sid), "user", 0, "");
    }
    SendUpdateUnique(sid, true);
  }

  void OnCondition(VQClientSocket* station, VQJsonCommand* command) override {
    const KZString& sid = station->GetSessionId();
    UpdateResourceUnique(command, sid);
    SendUpdateUnique(sid, false);
  }

  // In a tree of one session nothing is marked unless this does it.
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override {
    if (!(target->mName == "remark") || !source->HasKey("Value")) return;
    const KZString typed = dorn::UnescapeText(source->GetValue("Value").GetString());
    target->SetValue("Value", dorn::EscapeText(typed), -1, sid);
    const std::string letters = std::to_string(typed.GetCharLength());
    GetResourceUnique(sid)->SetValueByName("Value", letters, "letters", -1, "");
  }

  // The tree of one user is nobody else's: a station that asks for the file gets the empty form.
  int OnGetfile(VQClientSocket*, KZString, KZString, KZString) override { return 0; }
};

// Nothing on it ever changes.
class HelpPage : public VQDialog {
 public:
  void OnInit() override { LoadJsonShare(); }
  void OnChange(VQClientSocket* station, VQJsonCommand*) override { SendSnapshot(station); }
};

// Whether "help@NAME" is a page that exists, spelt in the one way that counts.
bool IsHelpPage(const KZString& name) {
  if (name.compare(0, 5, "help@") != 0) return false;
  if (!(dorn::CanonicalDialogName(name) == name)) return false;
  const std::string file = KZString(name).Replace("@", "/") + std::string(".json");
  return access((std::string(app.GetModuleDirectory()) + "/resources/" + file).c_str(), R_OK) == 0;
}

VQDialog* Maker::CreateDialog(const KZString& name) {
  VQDialog* dialog = nullptr;
  if (name == "sheet") {
    dialog = new Sheet;
  } else if (IsHelpPage(name)) {
    dialog = new HelpPage;
  } else {
    return nullptr;  // Asked for again the next time.
  }
  const std::string file = name + std::string(".json");
  dialog->Init(name, file.c_str());
  return dialog;
}

int App::OnInit() {
  SetTrace(dorn::Trace::kNone);
  dorn::SetObserver(this);
  if (const char* folder = std::getenv("RUNTIME_DIRECTORY")) {
    ServeStatistics((std::string(folder) + "/statistics").c_str());
  }
  return dorn::CheckResource("sheet.json").isUsable ? 1 : -1;
}

void App::OnAuth(const KZString& id, const KZString& pass, VQClientSocket* station) {
  if (!(pass == "paper")) return;  // On failure nothing: the library answers.
  const KZString sid = dorn::MakeSessionId();
  constexpr int kQuarterOfAnHourMs = 900000;
  SessionList()->Add(sid, new UserSession(sid, kQuarterOfAnHourMs, dorn::EscapeText(id)));
  station->Authentication(sid);
}

void App::OnStart(VQClientSocket* station, KZString&, int, int) {
  VQJsonCommand open("OPEN");
  open.SetValue("File", "sheet.json", 0, "");
  open.SetValue("FileSource", "SERVER", 0, "");
  open.SetValue("SessionId", station->GetSessionId(), 0, "");
  open.SetValue("Menu", VQJArray{"sheet", "help@sheet"}, 0, "");
  station->SendData(open.GetJson());
}

void App::OnStationGone(VQClientSocket*, const KZString& sid) {
  std::printf("sheets: %s is away\n", UserOf(sid).c_str());
}

void App::OnSessionEnd(const KZString& sid) {
  std::printf("sheets: %s has left\n", UserOf(sid).c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  app.Run();
  const dorn::Statistics total = app.Statistics();
  std::printf("sheets: %llu messages\n", static_cast<unsigned long long>(total.messagesIn));
}
