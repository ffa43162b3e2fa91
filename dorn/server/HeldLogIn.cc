#include "dorn/server/HeldLogIn.h"

#include "dorn/server/Connection.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Counters.h"
#include "dorn/server/Peers.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

unsigned int HoldLogIn() {
  Connection* const connection = Connection::LoggingIn();
  return connection != nullptr ? connection->HoldLogIn() : 0;
}

bool FinishLogIn(unsigned int held) {
  VQClientSocket* const client = ConnectionOfHeldLogIn(held);
  if (client == nullptr) return false;
  const ClosingFor reason(&Statistics::closedByHost);
  Connection::Of(*client).FinishLogIn();
  ForgetSurvey();  // Hooks have run.
  return true;
}

VQClientSocket* ConnectionOfHeldLogIn(unsigned int held) {
  if (held == 0) return nullptr;
  for (Peer* peer = Peers::Last(); peer != nullptr; peer = Peers::Before(*peer)) {
    if (Connection::Of(peer->mClient).HeldLogIn() == held) return &peer->mClient;
  }
  return nullptr;
}

}  // namespace dorn
