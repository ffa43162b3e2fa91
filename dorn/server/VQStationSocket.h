// The listening socket that turns each accepted connection into a VQClientSocket.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_VQSTATIONSOCKET_H_
#define DORN_SERVER_VQSTATIONSOCKET_H_

#include <sys/socket.h>

#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/net/KZServerSocket.h"

// Unlike its base, which closes itself when an accept fails, this listener stays open when
// descriptors run out or a peer gives up early: a server that went deaf would stay so until
// somebody restarts it. It keeps the highest 16 of the descriptors that the loop can watch free for
// the host. When the others run out, connections that are not logged in make room: first those of
// the address that has most of them, the oldest first; and once fewer than a quarter are left, no
// address may have more than a quarter without logging in. One line on the console says so.
// Accept() called by hand is the base's and closes the listener on failure.
class DORN_EXPORT VQStationSocket : public KZServerSocket {
 public:
  // `stream` is the sink of this socket's log and of the log of every connection; neither pointer
  // is owned, and neither is used during construction.
  VQStationSocket(KZStream* stream, KZFdDataList* list);

  // Does not close the listening descriptor.
  ~VQStationSocket() override;

  VQStationSocket(const VQStationSocket&) = delete;
  VQStationSocket& operator=(const VQStationSocket&) = delete;

  // Accepts one connection.
  void ReadyToRead() override;

  // Called when the socket starts to listen.
  void OnListen() override;

  // Called with each accepted descriptor, which it owns from then on: makes it a connection with a
  // receive buffer of 512 KiB and a time-out of 10 s for the log-in, or closes it when too few
  // descriptors are left and every connection is logged in. May move it to a lower descriptor.
  void OnAccept(int fd, sockaddr* addr, unsigned int* addrlen) override;

  KZStream* mStream;  // Handed to each connection. Not owned.

 private:
  void OpenSpare();
  bool RefuseOne();

  int mSpare = -1;  // Given up for a moment to accept and close a connection when none is left.
};

#endif  // DORN_SERVER_VQSTATIONSOCKET_H_
