// Who is at the other end of each connection. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_PEERS_H_
#define DORN_SERVER_PEERS_H_

#include <sys/socket.h>

#include <cstdint>
#include <string>

#include "dorn/base/KZString.h"

class VQClientSocket;

namespace dorn {

// What is known of a connection beyond its public members; a part of what lies behind it.
class Peer {
 public:
  explicit Peer(VQClientSocket& client);
  ~Peer();

  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  // The host opens this connection itself: nothing that was known of a station holds any more.
  void HostOpens();

  VQClientSocket& mClient;
  std::string mAddress;        // In dotted form; empty when there is none, as on a local socket.
  const std::uint64_t mOrder;  // Later connections have higher ones.
  bool mMayTell = false;       // A trusted proxy that has not yet told its station's address.
  bool mIsStation = false;     // Accepted by the listener, and not opened by the host since.
  bool mIsGone = false;        // Closed; nothing more is to be told about this session.
  KZString mSession;           // The last one that it was bound to; empty before.

 private:
  friend class Peers;

  Peer* mPrevious = nullptr;
  Peer* mNext = nullptr;
};

// Those of all connection objects, from their construction to their destruction.
class Peers {
 public:
  static int Count();

  // The last one that was made, and the one that was made before another; null: there is none.
  static Peer* Last();
  static Peer* Before(const Peer& peer) { return peer.mPrevious; }

 private:
  friend class Peer;

  static void Enter(Peer& peer);
  static void Leave(Peer& peer);
};

// The address of the other side; asks the socket if `address` is null. Empty if it is none of IPv4.
std::string PeerAddressOf(int fd, const sockaddr* address);

}  // namespace dorn

#endif  // DORN_SERVER_PEERS_H_
