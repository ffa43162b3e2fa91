// A bound UDP socket.
#ifndef DORN_NET_KZSOCKETUDP_H_
#define DORN_NET_KZSOCKETUDP_H_

#include "dorn/base/Export.h"
#include "dorn/net/KZSocket.h"

class KZApplication;

// Datagrams arrive in the receive buffer, one after the other without a border, and at most 1500
// bytes of each; OnReceive(addr, addrlen) is called for each with its sender. Owned by its creator.
//
// Kept: an empty datagram, which anybody can send, closes the socket. A host that wants to stay
// reachable opens it again, from a timer that it starts in OnClose(): see there.
class DORN_EXPORT KZSocketUdp : public KZSocket {
 public:
  KZSocketUdp(int size, KZStream* stream, KZFdDataList* list);
  ~KZSocketUdp() override;

  // Binds `port` of the address `host` (null: all addresses) and calls OnOpen(). The receive buffer
  // gets `buffersize` bytes, at least 3000. Returns the descriptor, or -1 when the address does not
  // resolve or no socket could be made.
  // Kept: OnOpen() is called and the number returned even when binding failed and the socket is
  // closed again; ask GetFD() for a negative descriptor.
  int Open(const char* host, int port, int buffersize);

  // Resolves `host` and sends one datagram there. Returns 0, or -1 on failure.
  int SendTo(const void* data, unsigned int length, const char* host, unsigned short port);
  using KZSocket::SendTo;

  // The hooks of this class write log lines.
  void OnOpen() override;
  void OnClose() override;

  KZApplication* mApp = nullptr;  // For subclasses; not used here, not owned.
};

#endif  // DORN_NET_KZSOCKETUDP_H_
