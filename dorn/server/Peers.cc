#include "dorn/server/Peers.h"

#include <netinet/in.h>

#include "dorn/net/AddressText.h"

namespace dorn {

namespace {

Peer* gLast = nullptr;
int gCount = 0;
std::uint64_t gOrder = 0;

}  // namespace

Peer::Peer(VQClientSocket& client) : mClient(client), mOrder(++gOrder) { Peers::Enter(*this); }

Peer::~Peer() { Peers::Leave(*this); }

void Peer::HostOpens() {
  mAddress.clear();
  mMayTell = false;
  mIsStation = false;
}

int Peers::Count() { return gCount; }

Peer* Peers::Last() { return gLast; }

void Peers::Enter(Peer& peer) {
  peer.mPrevious = gLast;
  if (gLast != nullptr) gLast->mNext = &peer;
  gLast = &peer;
  ++gCount;
}

void Peers::Leave(Peer& peer) {
  if (peer.mPrevious != nullptr) peer.mPrevious->mNext = peer.mNext;
  (peer.mNext != nullptr ? peer.mNext->mPrevious : gLast) = peer.mPrevious;
  --gCount;
}

std::string PeerAddressOf(int fd, const sockaddr* address) {
  sockaddr_in peer{};
  if (address == nullptr) {
    socklen_t length = sizeof peer;
    address = reinterpret_cast<const sockaddr*>(&peer);
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) != 0) return {};
  }
  if (address->sa_family != AF_INET) return {};
  return AddressText(reinterpret_cast<const sockaddr_in*>(address)->sin_addr).Get();
}

}  // namespace dorn
