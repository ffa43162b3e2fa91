#include "dorn/net/KZServerSocket.h"

#include <netinet/in.h>

#include "dorn/net/AddressText.h"

namespace {
constexpr int kBacklog = 128;
}

KZServerSocket::KZServerSocket(int size, KZStream* stream, KZFdDataList* list)
    : KZSocket(size, stream, list) {
  SetType(kTypeListener);
}

KZServerSocket::~KZServerSocket() = default;

int KZServerSocket::Open(const char* host, int port) {
  addrinfo* ai = nullptr;
  if (GetAddrInfo(AI_PASSIVE | AI_ADDRCONFIG, AF_INET, SOCK_STREAM, host, port, &ai) != 0) {
    return -1;
  }
  const int fd = Socket(ai->ai_family, ai->ai_socktype, ai->ai_protocol);
  if (fd >= 0) {
    // Kept: each step is made even when the one before has failed, logged and closed the socket.
    Bind(ai->ai_addr, ai->ai_addrlen);
    Listen(kBacklog);
    OnOpen();
  }
  FreeAddrInfo(ai);
  return fd;
}

void KZServerSocket::ReadyToRead() { Accept(); }

void KZServerSocket::OnOpen() {
  // "Listening socket opened"
  mLog.LogPrintf("待受けソケットオープンしました(%d)\n", GetFD());
}

void KZServerSocket::OnClose() {
  // "Stopped listening"
  mLog.LogPrintf("待ち受けを中止しました\n");
}

void KZServerSocket::OnListen() {
  // "Began to listen"
  mLog.LogPrintf("待ち受け開始しました\n");
}

void KZServerSocket::OnAccept(int /*sd*/, sockaddr* addr, unsigned int* /*addrlen*/) {
  // "Connection permitted"
  mLog.LogPrintf("接続許可\n");
  if (addr == nullptr) return;
  const auto* from = reinterpret_cast<const sockaddr_in*>(addr);
  // "The other side is"
  mLog.LogPrintf("相手は %s:%d\n", dorn::AddressText(from->sin_addr).Get(), ntohs(from->sin_port));
}
