#include "PumphouseApp.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdio>
#include <random>
#include <string>

namespace {

// Any id outside 0x8000000 to 0xFFFFFFF is the host's.
constexpr unsigned int kSweepTimer = 1;
constexpr unsigned long kSweepIntervalMs = 60000;

// A session id is what a station re-attaches with, so nobody may guess it.
std::string RandomSessionId() {
  std::random_device random;
  char text[33];
  std::snprintf(text, sizeof text, "%08x%08x%08x%08x", random(), random(), random(), random());
  return text;
}

std::string AddressOf(VQClientSocket* client) {
  sockaddr_in peer{};
  socklen_t length = sizeof peer;
  char text[INET_ADDRSTRLEN] = "unknown";
  if (getpeername(client->GetFD(), reinterpret_cast<sockaddr*>(&peer), &length) == 0) {
    inet_ntop(AF_INET, &peer.sin_addr, text, sizeof text);
  }
  return text;
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
  SetApplicationTimerInterval(kSweepIntervalMs, kSweepTimer);
  return 1;
}

// On failure nothing is called: the library answers with the error and its connection time-out
// stays armed.
void PumphouseApp::OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) {
  const std::string address = AddressOf(client);
  if (mLoginGuard.IsBlocked(address)) {
    std::printf("pumphouse: too many wrong passwords from %s, closing\n", address.c_str());
    client->Close();
    return;
  }
  const User* user = mUsers.Check(id, pass);
  if (user == nullptr) {
    mLoginGuard.CountFailure(address);
    std::printf("pumphouse: log-in refused for a station at %s\n", address.c_str());
    return;
  }
  const KZString sessionId = RandomSessionId();
  if (!CreateSession(sessionId, user->sessionSeconds * 1000)) return;
  mUserBySession[sessionId] = user->name;
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
  open.SetValue("File", "panel.json", -1, "");
  open.SetValue("FileSource", "SERVER", -1, "");
  open.SetValue("SessionId", sessionId, -1, "");
  client->SendData(open.GetJson());
}

void PumphouseApp::OnTimer(timeval, unsigned int id) {
  // Other ids also arrive here: the last timers of connections that are gone.
  if (id != kSweepTimer) return;
  mLoginGuard.Forget();
  for (auto each = mUserBySession.begin(); each != mUserBySession.end();) {
    each = SessionList()->Has(each->first) ? std::next(each) : mUserBySession.erase(each);
  }
}

KZString PumphouseApp::UserOf(const KZString& sessionId) const {
  const auto found = mUserBySession.find(sessionId);
  return found == mUserBySession.end() ? KZString() : found->second;
}
