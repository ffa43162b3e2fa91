#include "dorn/server/Observed.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <utility>

#include "dorn/loop/LoopPass.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Observer.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

namespace {

// A connection that was closed. Which session it had is found out when that is told, or when the
// object is opened again before.
struct ClosedOne {
  VQClientSocket* mClient;
  std::optional<KZString> mSession;
};

// Closed in this pass, in this order, and not told yet.
std::deque<ClosedOne>& Closed() {
  static auto* const closed = new std::deque<ClosedOne>;
  return *closed;
}

// What is to be told of the connection as it is; empty if nothing is, or was told already.
KZString TakeSession(VQClientSocket* client) {
  Peer& peer = Connection::Of(*client).Station();
  if (peer.mIsGone) return {};
  // A host may have written the members by hand.
  if (client->mAuth && !client->mSessionId.empty()) peer.mSession = client->mSessionId;
  peer.mIsGone = !peer.mSession.empty();
  return peer.mSession;
}

void TellGone(VQClientSocket* client, const KZString& sid) {
  Observer* observer = TheObserver();
  if (observer != nullptr && !sid.empty()) observer->OnStationGone(client, sid);
}

void TellOf(const std::deque<ClosedOne>::iterator& place) {
  const ClosedOne one = *place;
  Closed().erase(place);
  TellGone(one.mClient, one.mSession ? *one.mSession : TakeSession(one.mClient));
}

// What it was asked for may have been told when the object was destroyed.
void TellOfNext() {
  if (!Closed().empty()) TellOf(Closed().begin());
}

}  // namespace

void NoteSession(VQClientSocket* client, const KZString& sid) {
  if (sid.empty()) return;
  Peer& peer = Connection::Of(*client).Station();
  peer.mSession = sid;
  // A connection object that was opened again has another life.
  if (LoadShared(client->mFD) >= 0) peer.mIsGone = false;
}

void NoteClosed(VQClientSocket* client) {
  if (TheObserver() == nullptr) return;
  Closed().push_back({client, {}});  // Perhaps not for the first time: it is told once.
  AtEndOfPass(TellOfNext);
}

// A host's own OnClose() need not have noted that it was closed.
void NoteOpenedAgain(VQClientSocket* client) {
  KZString sid = TakeSession(client);
  Peer& peer = Connection::Of(*client).Station();
  peer.mSession.Clear();
  peer.mIsGone = false;
  NoteClosed(client);
  for (ClosedOne& one : Closed()) {
    if (one.mClient == client && !one.mSession) one.mSession = std::exchange(sid, KZString());
  }
}

// The observer may close it yet, which notes it once more.
void NoteDestroyed(VQClientSocket* client) {
  std::deque<ClosedOne>& closed = Closed();
  const auto isIts = [client](const ClosedOne& one) { return one.mClient == client; };
  for (auto left = std::count_if(closed.begin(), closed.end(), isIts); left > 0; --left) {
    const auto place = std::find_if(closed.begin(), closed.end(), isIts);
    if (place != closed.end()) TellOf(place);
  }
  TellGone(client, TakeSession(client));
  closed.erase(std::remove_if(closed.begin(), closed.end(), isIts), closed.end());
}

}  // namespace dorn
