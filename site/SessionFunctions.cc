// What hosts call for the sessions of their site.
#include "dorn/server/VQClientSocket.h"
#include "site/Site.h"
#include "site/SiteBody.h"

namespace dorn::site {

namespace {

SiteBody* Started() {
  SiteBody* site = SiteBody::Current();
  return site != nullptr && site->IsStarted() ? site : nullptr;
}

}  // namespace

bool CreateSession(const KZString& sid, int ms, std::string_view data) {
  SiteBody* site = Started();
  return site != nullptr && site->CreateSession(sid, ms, data);
}

bool Reattach(const KZString& sid, VQClientSocket* client) {
  SiteBody* site = Started();
  if (site != nullptr) return site->Sessions().Reattach(sid, client);
  client->Authentication("");
  return false;
}

std::optional<KZString> SessionData(const KZString& sid) {
  SiteBody* site = Started();
  return site != nullptr ? site->Sessions().Data(sid) : std::nullopt;
}

}  // namespace dorn::site
