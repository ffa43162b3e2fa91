#ifndef DORN_NET_KZSOCKETUDP_H_
#define DORN_NET_KZSOCKETUDP_H_
#include "dorn/base/Export.h"
#include "dorn/net/KZSocket.h"
class KZApplication;
class DORN_EXPORT KZSocketUdp : public KZSocket {
 public:
  KZSocketUdp(int size, KZStream* stream, KZFdDataList* list);
  ~KZSocketUdp() override;
  int Open(const char* host, int port, int buffersize);
  int SendTo(const void* data, unsigned int length, const char* host, unsigned short port);
  using KZSocket::SendTo;
  void OnOpen() override;
  void OnClose() override;
  KZApplication* mApp = nullptr;
};
#endif
