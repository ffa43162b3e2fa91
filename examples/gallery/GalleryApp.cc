#include "GalleryApp.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace {

struct User {
  const char* name;
  const char* password;
  int sessionSeconds;
  const char* language;  // Empty: the station decides.
};

constexpr std::array<User, 3> kUsers{{
    {"guest", "guest", 600, ""},
    {"yamada", "yama", 600, "ja"},
    {"brief", "brief", 4, ""},  // To see how a session ends.
}};

constexpr std::array<const char*, 6> kMenu{"gallery", "changes", "tables",
                                           "mine",    "many",    "sub@page"};

// The library keeps the session; what the host knows of it goes along.
class UserSession : public VQSession {
 public:
  UserSession(const KZString& sessionId, const User& user)
      : VQSession(sessionId, user.sessionSeconds * 1000), mUser(user) {}
  const User& mUser;
};

}  // namespace

int GalleryApp::OnInit() {
  SetLoginGuard(true);
  SetTrace(dorn::Trace::kNoSecrets);
  for (const KZString name : kMenu) {
    const dorn::ResourceReport report = dorn::CheckResource(name + ".json");
    if (report.isUsable) continue;
    std::fprintf(stderr, "gallery: %s\n", report.Text().c_str());
    return -1;
  }
  return 1;
}

void GalleryApp::OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) {
  const auto* user = std::find_if(kUsers.begin(), kUsers.end(), [&](const User& each) {
    return id == each.name && pass == each.password;
  });
  if (user == kUsers.end()) return;
  const KZString sessionId = dorn::MakeSessionId();
  SessionList()->Add(sessionId, new UserSession(sessionId, *user));
  client->Authentication(sessionId);
}

// Beyond the file, a station is told the dialog's name, when the session ends without a touch, what
// else there is to see, and the language of the user.
void GalleryApp::OnStart(VQClientSocket* client, KZString&, int, int) {
  const KZString& sessionId = client->GetSessionId();
  const auto* session = dynamic_cast<UserSession*>(SessionList()->Search(sessionId));
  if (session == nullptr) return;
  VQJsonCommand open("OPEN");
  open.SetValue("File", "gallery.json", 0, "");
  open.SetValue("FileSource", "SERVER", 0, "");
  open.SetValue("SessionId", sessionId, 0, "");
  open.SetValue("DialogName", "gallery", 0, "");
  open.SetValue("Interval", session->mUser.sessionSeconds, 0, "");
  open.SetValue("Menu", VQJArray(kMenu.begin(), kMenu.end()), 0, "");
  if (*session->mUser.language != '\0') open.SetValue("Language", session->mUser.language, 0, "");
  client->SendData(open.GetJson());
}
