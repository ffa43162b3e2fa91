#ifndef DORN_NET_KZSERVERSOCKET_H_
#define DORN_NET_KZSERVERSOCKET_H_
#include "dorn/base/Export.h"
#include "dorn/net/KZSocket.h"
class DORN_EXPORT KZServerSocket : public KZSocket {
 public:
  KZServerSocket(int size, KZStream* stream, KZFdDataList* list);
  ~KZServerSocket() override;
  int Open(const char* host, int port);
  void ReadyToRead() override;
  void OnOpen() override;
  void OnClose() override;
  void OnListen() override;
  void OnAccept(int sd, sockaddr* addr, unsigned int* addrlen) override;
};
#endif
