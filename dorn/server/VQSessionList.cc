#include "dorn/server/VQSessionList.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <vector>

#include "dorn/base/TraceFilter.h"
#include "dorn/server/App.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Console.h"
#include "dorn/server/Counters.h"
#include "dorn/server/EndingSession.h"
#include "dorn/server/Observed.h"
#include "dorn/server/Observer.h"
#include "dorn/server/SessionIndex.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQSession.h"

namespace {

void Erase(VQSessionList& list, std::map<KZString, VQSession*>::iterator place) {
  const std::unique_ptr<VQSession> session(place->second);
  const KZString key = place->first;
  const std::size_t size = list.mSessionList.size();
  list.mSessionList.erase(place);
  dorn::SessionIndex::Of(list).Erased(size, key, session != nullptr ? session->mTimerId : 0);
}

}  // namespace

VQSessionList::VQSessionList() = default;

// The sessions stay where a leak checker finds them.
VQSessionList::~VQSessionList() {
  dorn::SessionIndex::Forget(*this);
  // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new): without memory the process ends.
  static auto* const kept = new std::vector<std::map<KZString, VQSession*>>;
  if (!mSessionList.empty()) kept->push_back(std::move(mSessionList));
}

bool VQSessionList::Has(const KZString& sessionId) const {
  return mSessionList.count(sessionId) != 0;
}

VQSession* VQSessionList::Search(const KZString& sessionId) const {
  const auto found = mSessionList.find(sessionId);
  return found != mSessionList.end() ? found->second : nullptr;
}

void VQSessionList::Add(const KZString& sessionId, VQSession* session) {
  if (session == nullptr) return;
  const std::size_t size = mSessionList.size();
  mSessionList[sessionId] = session;
  dorn::SessionIndex::Of(*this).Added(size, sessionId, session->mTimerId);
  const int interval = session->mInterval;
  dorn::Observer* observer = dorn::TheObserver();
  if (observer != nullptr) observer->OnSessionStart(KZString(sessionId), interval);
}

void VQSessionList::Remove(const KZString& sessionId) {
  auto found = mSessionList.find(sessionId);
  if (found == mSessionList.end()) return;
  // The observer may take away what `sessionId` refers to.
  const std::string key = found->first;
  VQSession* session = found->second;
  if (session != nullptr) {
    const dorn::EndingSession ending(*session);
    // The observer may have removed the session, and another one may have come.
    found = mSessionList.find(KZString(key));
    if (!ending.IsAlive() || found == mSessionList.end() || found->second != session) return;
  }
  if (session != nullptr) dorn::SessionIndex::Of(*this).Removed(session->mTimerId);
  Erase(*this, found);
}

void VQSessionList::Expire(unsigned int timerId) {
  const auto found = dorn::SessionIndex::Of(*this).Find(timerId);
  if (found == mSessionList.end()) {
    // "Error [session expiry]".
    std::printf("エラー [セッション有効期限切れ処理] TimerId:%x\n", timerId);
    return;
  }
  // Copies: hooks run below, and may remove the session.
  End(KZString(found->first), found->second);
}

void VQSessionList::End(const KZString& key, VQSession* session) {
  const KZString sessionId = session->GetSessionId();
  // "The session has expired."
  if (dorn::IsTraced()) {
    dorn::PrintLine({"セッションの有効期限が切れました SessionID:", dorn::Shown(sessionId)});
    dorn::PrintLine({"Remove sessionid=", dorn::Shown(sessionId)});
  }
  const dorn::ClosingFor reason(&dorn::Statistics::closedSessionEnded);
  const dorn::EndingSession ending(*session);
  VQApplication& app = dorn::App();
  app.DialogList()->RemoveBySession(sessionId);
  // Each call closes one connection, and all of them have lost their session. The empty identifier
  // is nobody's: connections that never logged in have it too, so one call has to do.
  app.RemoveSocketBySession(sessionId);
  while (!sessionId.empty() && dorn::FindConnectionOf(sessionId) != nullptr) {
    app.RemoveSocketBySession(sessionId);
  }
  // A hook may have removed the session and created another one.
  const auto found = mSessionList.find(key);
  if (!ending.IsAlive() || found == mSessionList.end() || found->second != session) return;
  Erase(*this, found);
}
