#include "App.h"

#include <cstdio>

#include "Users.h"

namespace {

constexpr int kSessionMs = 600000;  // Ends ten minutes after the last command.

}  // namespace

int App::OnInit() {
  SetLoginGuard(true);
  SetTrace(dorn::Trace::kNoSecrets);
  for (const char* file : {"filler.json", "shift.json"}) {
    const auto report = dorn::CheckResource(file);
    if (report.isUsable) continue;
    std::fprintf(stderr, "%s\n", report.Text().c_str());
    return -1;
  }
  return 1;
}

void App::OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) {
  const User* user = FindUser(id, pass);
  if (user == nullptr) return;
  const KZString sessionId = dorn::MakeSessionId();
  // The list owns it.
  SessionList()->Add(sessionId, new UserSession(sessionId, kSessionMs, *user));
  client->Authentication(sessionId);
}

void App::OnStart(VQClientSocket* client, KZString&, int, int) {
  VQJsonCommand open("OPEN");
  open.SetValue("File", "filler.json", 0, "");
  open.SetValue("FileSource", "SERVER", 0, "");
  open.SetValue("SessionId", client->GetSessionId(), 0, "");
  open.SetValue("Interval", kSessionMs / 1000, 0, "");
  open.SetValue("Menu", VQJArray{"filler", "shift"}, 0, "");
  client->SendData(open.GetJson());
}
