#include "PumphouseApp.h"

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>

#include "Proxies.h"

namespace {

// Any id outside 0x8000000 to 0xFFFFFFF is the host's.
constexpr unsigned int kSweepTimer = 1;
constexpr unsigned long kSweepIntervalMs = 60000;

// The pages that every station sees: a server with a broken one is of no use.
bool AreUsable(std::initializer_list<const char*> files) {
  bool areUsable = true;
  for (const char* file : files) {
    const dorn::ResourceReport report = dorn::CheckResource(file);
    if (report.isUsable) continue;
    std::fprintf(stderr, "pumphouse: %s\n", report.Text().c_str());
    areUsable = false;
  }
  return areUsable;
}

}  // namespace

int PumphouseApp::SocketLog::Output(char* text) { return std::fputs(text, stderr); }

int PumphouseApp::OnInit() {
  SetLogStream(&mSocketLog);
  // Outside `resources`, where no station can fetch it.
  const std::string file = std::string(GetModuleDirectory()) + "/users.txt";
  if (!mUsers.Load(file)) {
    std::fprintf(stderr, "pumphouse: cannot read %s: put the user file there\n", file.c_str());
    return -1;
  }
  if (!AreUsable({"panel.json", "notes.json"})) return -1;
  SetLoginGuard(true);
  SetTrace(dorn::Trace::kNoSecrets);
  TrustProxies(std::getenv("PUMPHOUSE_PROXIES"));
  SetApplicationTimerInterval(kSweepIntervalMs, kSweepTimer);
  return 1;
}

// On failure nothing is called: the library answers with the error, its connection time-out stays
// armed, and its guard makes the next attempts wait.
void PumphouseApp::OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) {
  const User* user = mUsers.Check(id, pass);
  if (user == nullptr) {
    std::printf("pumphouse: log-in refused for connection %d\n", client->GetId());
    return;
  }
  const KZString sessionId = dorn::MakeSessionId();
  if (!CreateSession(sessionId, user->sessionSeconds * 1000)) return;
  mSessions.Add(sessionId, user->name);
  client->Authentication(sessionId);
}

// A station whose line was down comes back with its session id.
bool PumphouseApp::OnAuthCheck(const KZString& sid, VQClientSocket* client) {
  const bool known = VQApplication::OnAuthCheck(sid, client);
  std::printf("pumphouse: re-attach %s\n", known ? "accepted" : "refused");
  return known;
}

void PumphouseApp::OnStart(VQClientSocket* client, KZString& type, int resolutionV,
                           int resolutionH) {
  const KZString& sessionId = client->GetSessionId();
  std::printf("pumphouse: %s starts with a %s of %d x %d\n",
              static_cast<const char*>(UserOf(sessionId)), static_cast<const char*>(type),
              resolutionH, resolutionV);
  VQJsonCommand open("OPEN");
  open.SetValue("File", "panel.json", 0, "");
  open.SetValue("FileSource", "SERVER", 0, "");
  open.SetValue("SessionId", sessionId, 0, "");
  // For stations that have a use for them: what to enter, when the session ends without a command,
  // in seconds, and what else may be entered.
  open.SetValue("DialogName", "panel", 0, "");
  if (const VQSession* session = SessionList()->Search(sessionId)) {
    open.SetValue("Interval", session->mInterval / 1000, 0, "");
  }
  open.SetValue("Menu", VQJArray{"panel", "notes", "help@pumps"}, 0, "");
  client->SendData(open.GetJson());
}

void PumphouseApp::OnTimer(timeval, unsigned int id) {
  // Other ids also arrive here: the last timers of connections that are gone.
  if (id != kSweepTimer) return;
  mSessions.Sweep();
}
