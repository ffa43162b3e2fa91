#include "dorn/server/VQStationSocket.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "dorn/loop/SettledRecords.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Console.h"
#include "dorn/server/Counters.h"
#include "dorn/server/Peers.h"
#include "dorn/server/ProxyLine.h"
#include "dorn/server/Slots.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"

namespace {

constexpr int kListenerLogSize = 1024;
constexpr int kReceiveBufferSize = 0x80000;

constexpr int kMaxAttempts = 16;
constexpr useconds_t kPauseUs = 10000;

// Failures that say something about one peer or one moment, not about the listener.
bool IsPassing(int error) {
  switch (error) {
    case EINTR:
    case ECONNABORTED:
    case ECONNRESET:
    case EPROTO:
    case EPERM:
    case ENETDOWN:
    case ENETUNREACH:
    case ENOPROTOOPT:
    case EHOSTDOWN:
    case EHOSTUNREACH:
    case ENONET:
    case EOPNOTSUPP:
    case ETIMEDOUT:
      return true;
    default:
      return false;
  }
}

// What ReadyToRead() has just accepted: it does not block and is closed on exec already.
thread_local int tPrepared = -1;

bool IsShortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

// The same connection on the lowest descriptor that is free.
int MoveToLowest(int fd) {
  const int lowest = fcntl(fd, F_DUPFD_CLOEXEC, 0);
  if (lowest < 0) return fd;
  close(fd);
  return lowest;
}

}  // namespace

VQStationSocket::VQStationSocket(KZStream* stream, KZFdDataList* list)
    : KZServerSocket(kListenerLogSize, stream, list), mStream(stream) {}

VQStationSocket::~VQStationSocket() {
  if (mSpare >= 0) close(mSpare);
}

// The base would close the listener for any failed accept. Only a failure that will not pass is
// left to it.
void VQStationSocket::ReadyToRead() {
  OpenSpare();
  int error = 0;
  bool hasMadeRoom = false;
  for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    const int fd = accept4(GetFD(), reinterpret_cast<sockaddr*>(&address), &length,
                           SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd >= 0) {
      tPrepared = fd;
      OnAccept(fd, reinterpret_cast<sockaddr*>(&address), &length);
      tPrepared = -1;  // Whatever an override made of it.
      return;
    }
    error = errno;
    if (error == EMFILE && !std::exchange(hasMadeRoom, true) && dorn::MakeRoom()) continue;
    if (!IsPassing(error)) break;
  }
  if (error == EAGAIN || error == EWOULDBLOCK) return;
  if (IsShortage(error) && RefuseOne()) return;
  if (IsShortage(error) || IsPassing(error)) {
    dorn::PrintLine({"No connection can be accepted now: ", std::strerror(error)});
    usleep(kPauseUs);  // The connection waits; the loop must not spin meanwhile.
    return;
  }
  Accept();
  if (GetFD() < 0) dorn::PrintLine({"The station port is closed: ", std::strerror(error)});
}

void VQStationSocket::OnListen() {
  KZServerSocket::OnListen();
  dorn::CountSlotsAnew();
  OpenSpare();
}

void VQStationSocket::OnAccept(int fd, sockaddr* addr, unsigned int* addrlen) {
  const bool isPrepared = std::exchange(tPrepared, -1) == fd;
  const std::string address = dorn::PeerAddressOf(fd, addr);
  if (!dorn::IsSlot(fd) && dorn::MakeRoom()) fd = MoveToLowest(fd);
  if (!dorn::IsSlot(fd)) {
    ++dorn::Counters().refused;
    dorn::PrintLine(
        {"Connection refused: too many are open (descriptor ", std::to_string(fd), ")"});
    close(fd);
    return;
  }
  ++dorn::Counters().accepted;
  const bool isProxy = dorn::IsTrustedProxy(address);
  if (!isProxy) dorn::KeepShare(fd, address);  // A proxy's stations are not known yet.
  KZServerSocket::OnAccept(fd, addr, addrlen);
  auto* client = new VQClientSocket(mStream, GetFdDataList());
  dorn::Peer& peer = dorn::Connection::Of(*client).Station();
  peer.mAddress = address;
  peer.mMayTell = isProxy;
  peer.mIsStation = true;
  dorn::LetRecordSettle(*client);
  if (!isPrepared) {
    fcntl(fd, F_SETFL, O_NONBLOCK);
    fcntl(fd, F_SETFD, FD_CLOEXEC);
  }
  // A message is one write: there is nothing to wait for. Fails on what is no TCP socket.
  const int on = 1;
  static_cast<void>(setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
  client->Create(fd, kReceiveBufferSize);
  dorn::Connection::Of(*client).Timers().AwaitLogIn();
  if (client->mDataBuffer == nullptr) {
    dorn::PrintLine({"Connection closed: no memory for its receive buffer"});
    client->Close();
  }
}

void VQStationSocket::OpenSpare() {
  if (mSpare < 0) mSpare = open("/dev/null", O_RDONLY | O_CLOEXEC);
}

// Out of descriptors, the next peer is turned away instead of being kept waiting.
bool VQStationSocket::RefuseOne() {
  if (mSpare < 0) return false;
  close(std::exchange(mSpare, -1));
  const int fd = accept4(GetFD(), nullptr, nullptr, SOCK_CLOEXEC);
  if (fd >= 0) close(fd);
  OpenSpare();
  if (fd < 0) return false;
  ++dorn::Counters().refused;
  dorn::PrintLine({"Connection refused: no descriptor is left"});
  return true;
}
