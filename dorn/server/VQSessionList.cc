#include "dorn/server/VQSessionList.h"

#include <cstdio>
#include <utility>
#include <vector>

#include "dorn/server/App.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Console.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQSession.h"

VQSessionList::VQSessionList() = default;

// The sessions stay where a leak checker finds them.
VQSessionList::~VQSessionList() {
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
  if (session != nullptr) mSessionList[sessionId] = session;
}

void VQSessionList::Remove(const KZString& sessionId) {
  const auto found = mSessionList.find(sessionId);
  if (found == mSessionList.end()) return;
  VQSession* session = found->second;
  mSessionList.erase(found);
  delete session;
}

void VQSessionList::Expire(unsigned int timerId) {
  for (const auto& [key, session] : mSessionList) {
    if (session == nullptr || session->mTimerId != timerId) continue;
    // Copies: hooks run below, and may remove the session.
    End(KZString(key), session);
    return;
  }
  // "Error [session expiry]".
  std::printf("エラー [セッション有効期限切れ処理] TimerId:%x\n", timerId);
}

void VQSessionList::End(const KZString& key, VQSession* session) {
  const KZString sessionId = session->GetSessionId();
  const unsigned int timerId = session->mTimerId;
  // "The session has expired."
  dorn::PrintLine({"セッションの有効期限が切れました SessionID:", sessionId});
  dorn::PrintLine({"Remove sessionid=", sessionId});
  VQApplication& app = dorn::App();
  app.DialogList()->RemoveBySession(sessionId);
  // Each call closes one connection, and all of them have lost their session. The empty identifier
  // is nobody's: connections that never logged in have it too, so one call has to do.
  app.RemoveSocketBySession(sessionId);
  while (!sessionId.empty() && dorn::FindConnectionOf(sessionId) != nullptr) {
    app.RemoveSocketBySession(sessionId);
  }
  // A hook may have removed the session and created another one, possibly at the same address.
  const auto found = mSessionList.find(key);
  if (found == mSessionList.end() || found->second != session || session->mTimerId != timerId) {
    return;
  }
  mSessionList.erase(found);
  delete session;
}
