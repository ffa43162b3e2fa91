#include "dorn/net/KZClientSocket.h"

#include <netinet/in.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "dorn/loop/NextPass.h"

namespace {

constexpr int kSmallestBuffer = 3000;

// Neither connected nor failed: the connect is still in progress. A socket that has failed is not
// connected either, and has no error to tell any more when somebody has asked for it before.
bool IsConnecting(int fd) {
  sockaddr_in peer{};
  socklen_t length = sizeof peer;
  if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) == 0 || errno != ENOTCONN) {
    return false;
  }
  pollfd state[] = {{fd, POLLOUT, {}}};
  return poll(state, std::size(state), 0) == 0;
}

}  // namespace

KZClientSocket::KZClientSocket(int size, KZStream* stream, KZFdDataList* list)
    : KZSocket(size, stream, list) {
  SetType(kTypeClient);
}

KZClientSocket::~KZClientSocket() = default;

int KZClientSocket::Open(const char* host, int port, int buffersize) {
  // Without memory for a buffer what arrives is dropped.
  static_cast<void>(CreateBuffer(std::max(buffersize, kSmallestBuffer)));
  addrinfo* ai = nullptr;
  if (GetAddrInfo(AI_ADDRCONFIG, AF_INET, SOCK_STREAM, host, port, &ai) != 0) return -1;
  const int fd = Socket(ai->ai_family, ai->ai_socktype, ai->ai_protocol);
  if (fd >= 0) {
    // Kept: added even when the connect failed at once; the pending removal then wins.
    Connect(ai->ai_addr, ai->ai_addrlen);
    AddEvent();
  }
  FreeAddrInfo(ai);
  return fd;
}

int KZClientSocket::Create(int sd, int buffersize) {
  dorn::NextPass::Forget(this);
  SetFD(sd);
  SetAutoDelete(1);
  static_cast<void>(CreateBuffer(buffersize));
  SetFDStatus(kStatusActive);
  AddEvent();
  return 1;
}

void KZClientSocket::ReadyToWrite() {
  const int fd = GetFD();
  int pending = 0;
  socklen_t length = sizeof pending;
  if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &pending, &length) < 0) {
    // "Could not connect."
    mLog.LogPrintf("接続できませんでした。 .(%s)\n", strerror(errno));
    Close();
    return;
  }
  if (pending != 0) {
    // "Could not connect."
    mLog.LogPrintf("接続できませんでした。 (%s)\n", strerror(pending));
    Close();
    return;
  }
  // A socket that was closed and opened again earlier in this pass is served for the readiness of
  // its former descriptor, and nothing is known of the new one yet.
  if (IsConnecting(fd)) return;
  SetFDStatus(kStatusActive);
  OnOpen();
}

void KZClientSocket::OnClose() {
  // "Disconnected"
  mLog.LogPrintf("切断しました\n");
}
