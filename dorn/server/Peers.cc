#include "dorn/server/Peers.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace dorn {

namespace {

// Never destroyed: connections may be used until the process ends.
Peers::Map& ThePeers() {
  static auto* const peers = new Peers::Map;
  return *peers;
}

}  // namespace

void Peers::Enter(VQClientSocket* client) {
  static std::uint64_t order = 0;
  ThePeers()[client].mOrder = ++order;
}

void Peers::Leave(VQClientSocket* client) { ThePeers().erase(client); }

void Peers::HostOpens(VQClientSocket* client) {
  Peer& peer = ThePeers()[client];
  peer.mAddress.clear();
  peer.mMayTell = false;
  peer.mIsStation = false;
}

Peer* Peers::Find(const VQClientSocket* client) {
  const auto found = ThePeers().find(const_cast<VQClientSocket*>(client));
  return found != ThePeers().end() ? &found->second : nullptr;
}

const Peers::Map& Peers::All() { return ThePeers(); }

std::string PeerAddressOf(int fd, const sockaddr* address) {
  sockaddr_in peer{};
  if (address == nullptr) {
    socklen_t length = sizeof peer;
    address = reinterpret_cast<const sockaddr*>(&peer);
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) != 0) return {};
  }
  if (address->sa_family != AF_INET) return {};
  char text[INET_ADDRSTRLEN];
  const auto* from = reinterpret_cast<const sockaddr_in*>(address);
  return inet_ntop(AF_INET, &from->sin_addr, text, sizeof text) != nullptr ? text : "";
}

}  // namespace dorn
