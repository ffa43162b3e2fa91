// A listening TCP socket.
#ifndef DORN_NET_KZSERVERSOCKET_H_
#define DORN_NET_KZSERVERSOCKET_H_

#include "dorn/base/Export.h"
#include "dorn/net/KZSocket.h"

// Owned by its creator. A subclass overrides OnAccept() to take the connections over.
class DORN_EXPORT KZServerSocket : public KZSocket {
 public:
  KZServerSocket(int size, KZStream* stream, KZFdDataList* list);
  ~KZServerSocket() override;

  // Listens on `port` of the address `host` (null: all addresses) and calls OnOpen(). Returns the
  // descriptor, or -1 when no socket could be made.
  // Kept: OnOpen() is called and the number returned even when binding or listening failed and the
  // socket is closed again; ask GetFDStatus() for kStatusActive, and try again from a timer.
  int Open(const char* host, int port);

  // Accepts one connection.
  void ReadyToRead() override;

  // The hooks of this class write log lines.
  void OnOpen() override;
  void OnClose() override;
  void OnListen() override;

  // Neither keeps nor closes `sd`: a subclass wraps it with KZClientSocket::Create() or closes it.
  void OnAccept(int sd, sockaddr* addr, unsigned int* addrlen) override;
};

#endif  // DORN_NET_KZSERVERSOCKET_H_
