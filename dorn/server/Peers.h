// Who is at the other end of each connection. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_PEERS_H_
#define DORN_SERVER_PEERS_H_

#include <sys/socket.h>

#include <cstdint>
#include <string>
#include <unordered_map>

#include "dorn/base/KZString.h"

class VQClientSocket;

namespace dorn {

// What is known of a connection beyond its public members. It lies here and not in the connection,
// since hosts have the size of that class compiled in.
struct Peer {
  std::string mAddress;      // In dotted form; empty when there is none, as on a local socket.
  std::uint64_t mOrder = 0;  // Later connections have higher ones.
  bool mMayTell = false;     // A trusted proxy that has not yet told its station's address.
  bool mIsStation = false;   // Accepted by the listener, and not opened by the host since.
  KZString mSession;         // The last one that it was bound to; empty before.
  bool mIsGone = false;      // Closed; nothing more is to be told about this session.
};

// One entry for each connection object, from its construction to its destruction.
class Peers {
 public:
  using Map = std::unordered_map<VQClientSocket*, Peer>;

  static void Enter(VQClientSocket* client);
  static void Leave(VQClientSocket* client);

  // The host opens this connection itself: nothing that was known of a station holds any more.
  static void HostOpens(VQClientSocket* client);

  // Never null for a connection that exists.
  static Peer* Find(const VQClientSocket* client);

  static const Map& All();
};

// The address of the other side; asks the socket if `address` is null. Empty if it is none of IPv4.
std::string PeerAddressOf(int fd, const sockaddr* address);

}  // namespace dorn

#endif  // DORN_SERVER_PEERS_H_
