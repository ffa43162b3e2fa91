#include "dorn/net/KZSocketUdp.h"

#include <algorithm>

namespace {
constexpr int kSmallestDatagramBuffer = 3000;
}

KZSocketUdp::KZSocketUdp(int size, KZStream* stream, KZFdDataList* list)
    : KZSocket(size, stream, list) {
  SetType(kTypeListener);
}

KZSocketUdp::~KZSocketUdp() = default;

int KZSocketUdp::Open(const char* host, int port, int buffersize) {
  // Without memory for a buffer what arrives is dropped.
  static_cast<void>(CreateBuffer(std::max(buffersize, kSmallestDatagramBuffer)));
  addrinfo* ai = nullptr;
  if (GetAddrInfo(AI_PASSIVE | AI_ADDRCONFIG, AF_INET, SOCK_DGRAM, host, port, &ai) != 0) {
    return -1;
  }
  const int fd = Socket(ai->ai_family, ai->ai_socktype, ai->ai_protocol);
  if (fd >= 0) {
    // Kept: each step is made even when the bind has failed, logged and closed the socket. The
    // record is then linked without a descriptor and never watched.
    Bind(ai->ai_addr, ai->ai_addrlen);
    // "Waiting for connections"
    mLog.LogPrintf("接続待ち開始 %s:%d\n", host != nullptr ? host : "(null)", port);
    AddEvent();
    SetFDStatus(kStatusActive);
    OnOpen();
  }
  FreeAddrInfo(ai);
  return fd;
}

int KZSocketUdp::SendTo(const void* data, unsigned int length, const char* host,
                        unsigned short port) {
  addrinfo* ai = nullptr;
  if (GetAddrInfo(AI_ADDRCONFIG, AF_INET, SOCK_DGRAM, host, port, &ai) != 0) return -1;
  const int result = KZSocket::SendTo(data, static_cast<int>(length), ai->ai_addr, ai->ai_addrlen);
  FreeAddrInfo(ai);
  return result;
}

void KZSocketUdp::OnOpen() {
  // "Connected"
  mLog.LogPrintf("接続しました(%d)\n", GetFD());
}

void KZSocketUdp::OnClose() {
  // "Disconnected"
  mLog.LogPrintf("切断しました\n");
}
