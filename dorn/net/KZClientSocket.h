// One TCP connection, opened outward or accepted.
#ifndef DORN_NET_KZCLIENTSOCKET_H_
#define DORN_NET_KZCLIENTSOCKET_H_

#include "dorn/base/Export.h"
#include "dorn/net/KZSocket.h"

class KZApplication;

class DORN_EXPORT KZClientSocket : public KZSocket {
 public:
  KZClientSocket(int size, KZStream* stream, KZFdDataList* list);
  ~KZClientSocket() override;

  // Starts to connect and returns the descriptor, or -1 when the address does not resolve or no
  // socket could be made. The receive buffer gets `buffersize` bytes, at least 3000. OnOpen() is
  // called once the connection stands; if it fails instead, the socket is closed, possibly before
  // this returns (the returned number is then closed). To connect again after OnClose(), call it
  // from a timer: see KZSocket::OnClose(). Owned by its creator.
  int Open(const char* host, int port, int buffersize);

  // Takes over the connected descriptor `sd` with a receive buffer of exactly `buffersize` bytes,
  // and gives this object to the list, which destroys it after Close(). Returns 1.
  int Create(int sd, int buffersize);

  // Ends a connect: OnOpen(), or a log line and Close(). When somebody else has taken the error of
  // a failed connect (by a Send() or SO_ERROR), OnOpen() is called, and the first read closes.
  void ReadyToWrite() override;

  // Writes a log line.
  void OnClose() override;

  KZApplication* mApp = nullptr;  // For subclasses; not used here, not owned.
};

#endif  // DORN_NET_KZCLIENTSOCKET_H_
