#include "tests/support/TcpPeer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "tests/support/Deadline.h"

namespace {

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int BoundSocket(int type) {
  const int fd = socket(AF_INET, type | SOCK_CLOEXEC, 0);
  const sockaddr_in address = Loopback(0);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
  close(fd);
  return -1;
}

bool WaitFor(int fd, short events, int timeoutMs) {
  pollfd entry{fd, events, 0};
  return poll(&entry, 1, timeoutMs) == 1;
}

}  // namespace

TcpPeer::TcpPeer(TcpPeer&& other) noexcept { *this = std::move(other); }

TcpPeer& TcpPeer::operator=(TcpPeer&& other) noexcept {
  std::swap(mFd, other.mFd);
  std::swap(mClosed, other.mClosed);
  std::swap(mReceived, other.mReceived);
  return *this;
}

bool TcpPeer::Connect(int port, int receiveBuffer) {
  Close();
  mClosed = false;
  mReceived.clear();
  mFd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (receiveBuffer > 0) {
    setsockopt(mFd, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  }
  const sockaddr_in address = Loopback(port);
  return connect(mFd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool TcpPeer::Send(const std::string& bytes) {
  const Deadline deadline;
  size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t n =
        send(mFd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n > 0) {
      sent += static_cast<size_t>(n);
    } else if (errno != EAGAIN || !::WaitFor(mFd, POLLOUT, deadline.LeftMs())) {
      return false;
    }
  }
  return true;
}

long TcpPeer::SendSome(const std::string& bytes) {
  return send(mFd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

const std::string& TcpPeer::Received() {
  std::array<char, 65536> block;
  while (mFd >= 0 && !mClosed) {
    const ssize_t n = recv(mFd, block.data(), block.size(), MSG_DONTWAIT);
    if (n > 0) {
      mReceived.append(block.data(), static_cast<size_t>(n));
      continue;
    }
    mClosed = n == 0 || (errno != EAGAIN && errno != EINTR);
    break;
  }
  return mReceived;
}

std::string TcpPeer::Take() {
  Received();
  return std::exchange(mReceived, std::string());
}

bool TcpPeer::IsClosed() {
  Received();
  return mClosed;
}

bool TcpPeer::WaitFor(size_t count) {
  const Deadline deadline;
  while (Received().size() < count) {
    if (mClosed || !WaitReadable(deadline.LeftMs())) return false;
  }
  return true;
}

bool TcpPeer::WaitForClose() {
  const Deadline deadline;
  while (!IsClosed()) {
    if (!WaitReadable(deadline.LeftMs())) return false;
  }
  return true;
}

void TcpPeer::Close() {
  if (mFd >= 0) close(mFd);
  mFd = -1;
}

void TcpPeer::Reset() {
  const linger now{1, 0};
  setsockopt(mFd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
  Close();
}

void TcpPeer::ShutdownWrite() { shutdown(mFd, SHUT_WR); }

int TcpPeer::LocalPort() const { return PortOf(mFd); }

bool TcpPeer::WaitReadable(int timeoutMs) const { return ::WaitFor(mFd, POLLIN, timeoutMs); }

TcpAcceptor::TcpAcceptor() : mFd(BoundSocket(SOCK_STREAM)) { listen(mFd, 16); }

TcpAcceptor::~TcpAcceptor() { close(mFd); }

int TcpAcceptor::Port() const { return PortOf(mFd); }

TcpPeer TcpAcceptor::Accept() {
  if (!WaitFor(mFd, POLLIN, static_cast<int>(TestTimeout().count()))) return TcpPeer();
  return TcpPeer(accept4(mFd, nullptr, nullptr, SOCK_CLOEXEC));
}

bool TcpAcceptor::IsPending() const { return WaitFor(mFd, POLLIN, 0); }

UdpPeer::UdpPeer() : mFd(BoundSocket(SOCK_DGRAM)) {}

UdpPeer::~UdpPeer() { close(mFd); }

int UdpPeer::Port() const { return PortOf(mFd); }

bool UdpPeer::Send(int port, const std::string& datagram) {
  const sockaddr_in address = Loopback(port);
  return sendto(mFd, datagram.data(), datagram.size(), 0,
                reinterpret_cast<const sockaddr*>(&address),
                sizeof address) == static_cast<ssize_t>(datagram.size());
}

bool UdpPeer::Receive(std::string* datagram) {
  if (!WaitFor(mFd, POLLIN, static_cast<int>(TestTimeout().count()))) return false;
  std::array<char, 65536> block;
  const ssize_t n = recv(mFd, block.data(), block.size(), MSG_DONTWAIT);
  if (n < 0) return false;
  datagram->assign(block.data(), static_cast<size_t>(n));
  return true;
}

int PortOf(int fd) {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) return -1;
  return ntohs(address.sin_port);
}

int UnusedPort() {
  const int fd = BoundSocket(SOCK_STREAM);
  const int port = PortOf(fd);
  close(fd);
  return port;
}
