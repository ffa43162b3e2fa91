#include "dorn/server/Observed.h"

#include <algorithm>
#include <deque>

#include "dorn/loop/LoopPass.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Observer.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

namespace {

// Closed in this pass, in this order, and not told yet.
std::deque<VQClientSocket*>& Closed() {
  static auto* const closed = new std::deque<VQClientSocket*>;
  return *closed;
}

void TellGone(VQClientSocket* client) {
  Peer& peer = Connection::Of(*client).Station();
  if (peer.mIsGone) return;
  // A host may have written the members by hand.
  if (client->mAuth && !client->mSessionId.empty()) peer.mSession = client->mSessionId;
  if (peer.mSession.empty()) return;
  peer.mIsGone = true;
  const KZString sid = peer.mSession;
  if (Observer* observer = TheObserver()) observer->OnStationGone(client, sid);
}

void TellOfNext() {
  if (Closed().empty()) return;  // Destroyed and told meanwhile.
  VQClientSocket* client = Closed().front();
  Closed().pop_front();
  TellGone(client);
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
  Closed().push_back(client);  // Perhaps not for the first time: it is told once.
  AtEndOfPass(TellOfNext);
}

// The observer may close it yet, which notes it once more.
void NoteDestroyed(VQClientSocket* client) {
  TellGone(client);
  std::deque<VQClientSocket*>& closed = Closed();
  closed.erase(std::remove(closed.begin(), closed.end(), client), closed.end());
}

}  // namespace dorn
