// A non-blocking IPv4 socket as a record of the event loop: the base of the listening, the stream
// and the datagram socket.
#ifndef DORN_NET_KZSOCKET_H_
#define DORN_NET_KZSOCKET_H_

#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/loop/KZFdData.h"

// Loop thread only, apart from what KZFdData offers to other threads. Every failure is written to
// the socket's own log, and most of them close the socket; `errno` survives the log line.
//
// Hooks run without a lock. They may close and reopen this socket or any other, but not destroy it.
//
// Do not open a socket that is open: its descriptor would be lost. Host names are resolved while
// the loop waits, for as long as the resolver takes; give addresses where that matters.
class DORN_EXPORT KZSocket : public KZFdData {
 public:
  // The log starts at once with a formatting buffer of `size` bytes and the sink `stream`, which
  // may be null and is not owned.
  KZSocket(int size, KZStream* stream, KZFdDataList* list);

  // The log is not started and goes to standard output.
  explicit KZSocket(KZFdDataList* list);

  // Does not close the socket.
  ~KZSocket() override;

  // Receives once and calls OnReceive(addr, addrlen); when the record is served for buffered data
  // alone, OnReceive(nullptr, 0). Then CheckBuffer(1). A failure gives OnNotice(kNoticeReadError,
  // errno), a log line and Close(); the peer's end of the stream gives Close().
  // Kept: every failure closes, also one that could be tried again, and so does an empty datagram.
  void ReadyToRead() override;

  // Sends what the socket takes at once and returns the number of bytes, or a negative number with
  // `errno` set. Nothing is queued. A failure, such as a `length` below 0, is logged and does not
  // close.
  virtual int Send(const void* data, int length);

  // Called after opening, or when a connection is established.
  virtual void OnOpen();

  // Called by Close(), when the descriptor is closed already. The socket may be opened again here,
  // better from a timer: where opening fails at once, it would be tried in every pass. After such a
  // failure the next OnClose() comes at the start of the loop's next pass, unless the socket was
  // opened meanwhile.
  // A socket with auto-delete is destroyed later in this loop pass or in the next.
  virtual void OnClose();

  // Called when listening has begun.
  virtual void OnListen();

  // Not called by this class or the ones below.
  virtual void OnConnect();

  // Called with each accepted connection: the hook takes `sd` over or closes it. `addr` is valid
  // during the call.
  virtual void OnAccept(int sd, sockaddr* addr, unsigned int* addrlen);

  // Called when the receive buffer has got data from `addr`, or still has some (null and 0). Take
  // it with GetData(). The result is not used; the base returns 0.
  // This form is the one that sockets get; the form without arguments is never called for them.
  virtual int OnReceive(sockaddr* addr, unsigned int addrlen);
  using KZFdData::OnReceive;

  // Not called by this class or the ones below.
  virtual void OnTimeout(timeval time);

  // Resolves `addr` (null: this machine) and `port`. Returns 0 and the result in `*ai`, to be given
  // to FreeAddrInfo(); otherwise logs and returns the resolver's code, and `*ai` is untouched.
  // Where AI_ADDRCONFIG hides the loopback addresses because the machine has no other, it is left
  // out for addresses and for this machine.
  int GetAddrInfo(int flags, int family, int type, const char* addr, int port, addrinfo** ai);
  void FreeAddrInfo(addrinfo* ai);

  // Creates the socket, non-blocking, with SO_REUSEADDR and closed on exec, and returns its
  // descriptor; the status is then kStatusOpen. -1 on failure, with the record untouched.
  int Socket(int family, int type, int protocol);

  // These return the result of the system call. A failure is logged and closes the socket, except
  // that a connect may be in progress (EINPROGRESS).
  int Bind(const sockaddr* addr, unsigned int addrlen);
  int Connect(const sockaddr* addr, unsigned int addrlen);

  // Starts to listen, adds the record to the loop and calls OnListen(). Returns 0; on failure logs,
  // closes and returns -1.
  int Listen(int backlog);

  // Takes one connection, calls OnAccept() and returns the descriptor.
  // Kept: on failure, whatever it is, logs, closes this listening socket and returns -1.
  int Accept();

  // Shuts down, closes, asks the loop to remove the record and calls OnClose(). Returns 0, or -1
  // when there is nothing to close.
  int Close();

  // Sends one datagram and logs it. Returns 0, or -1 on failure; without a descriptor -1 at once
  // and no log line.
  int SendTo(const void* data, int length, const sockaddr* addr, unsigned int addrlen);

  KZLog& Log() { return mLog; }

  // Unused. Not the record's status: that one is KZFdData::mStatus, set with SetFDStatus().
  int mStatus = 0;
  KZLog mLog;

 private:
  // Whether the socket has no descriptor: none was ever opened (the number is then 0), or it is
  // closed.
  bool IsUnopened();
};

#include "dorn/net/KZClientSocket.h"
#include "dorn/net/KZServerSocket.h"
#include "dorn/net/KZSocketUdp.h"

#endif  // DORN_NET_KZSOCKET_H_
