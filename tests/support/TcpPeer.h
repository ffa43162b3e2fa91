// The other end of a connection, made of plain system calls and nothing of the library.
#ifndef TESTS_SUPPORT_TCPPEER_H_
#define TESTS_SUPPORT_TCPPEER_H_

#include <string>

// A TCP client (or, from TcpAcceptor, an accepted connection) on 127.0.0.1. Calls that wait give up
// at the deadline of the tests and then return false. When the server under test runs on the
// test's own thread, use those that do not wait, inside LoopRunner::RunUntil().
class TcpPeer {
 public:
  TcpPeer() = default;
  // Takes over a connected descriptor.
  explicit TcpPeer(int fd) : mFd(fd) {}
  ~TcpPeer() { Close(); }
  TcpPeer(TcpPeer&& other) noexcept;
  TcpPeer& operator=(TcpPeer&& other) noexcept;
  TcpPeer(const TcpPeer&) = delete;
  TcpPeer& operator=(const TcpPeer&) = delete;

  // Succeeds as soon as the connection is in the listener's backlog; nobody has to accept it.
  // `receiveBuffer` above 0 asks for a small window, for a peer that reads slowly.
  bool Connect(int port, int receiveBuffer = 0);

  // Writes everything, waiting for room.
  bool Send(const std::string& bytes);
  // One write that does not wait; the number of bytes that went, or -1.
  long SendSome(const std::string& bytes);

  // All bytes so far, those that have arrived in the meantime included. Does not wait.
  const std::string& Received();
  // Forgets and returns what Received() holds.
  std::string Take();
  // The other side has closed or reset the connection (after its bytes were read). Does not wait.
  bool IsClosed();

  // Wait until so many bytes are there, or until the other side has closed.
  bool WaitFor(size_t count);
  bool WaitForClose();

  void Close();
  // Closes with a reset instead of an orderly end.
  void Reset();
  // Half-close: the other side sees the end of the stream, this one goes on reading.
  void ShutdownWrite();

  int Fd() const { return mFd; }
  int LocalPort() const;

 private:
  bool WaitReadable(int timeoutMs) const;

  int mFd = -1;
  bool mClosed = false;
  std::string mReceived;
};

// A listening socket on 127.0.0.1, on a port that the system chooses.
class TcpAcceptor {
 public:
  TcpAcceptor();
  ~TcpAcceptor();
  TcpAcceptor(const TcpAcceptor&) = delete;
  TcpAcceptor& operator=(const TcpAcceptor&) = delete;

  int Port() const;
  // Waits for a connection; a peer with descriptor -1 when none came in time.
  TcpPeer Accept();
  // A connection is waiting to be accepted. Does not wait.
  bool IsPending() const;

 private:
  int mFd = -1;
};

// A UDP socket bound to 127.0.0.1, on a port that the system chooses.
class UdpPeer {
 public:
  UdpPeer();
  ~UdpPeer();
  UdpPeer(const UdpPeer&) = delete;
  UdpPeer& operator=(const UdpPeer&) = delete;

  int Port() const;
  bool Send(int port, const std::string& datagram);
  // Waits for one datagram and stores it; false when none came in time.
  bool Receive(std::string* datagram);

 private:
  int mFd = -1;
};

// The port that a socket is bound to, or -1.
int PortOf(int fd);
// A port of 127.0.0.1 on which nothing listens at the time of the call.
int UnusedPort();

#endif  // TESTS_SUPPORT_TCPPEER_H_
