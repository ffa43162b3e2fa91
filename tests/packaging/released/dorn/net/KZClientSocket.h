#ifndef DORN_NET_KZCLIENTSOCKET_H_
#define DORN_NET_KZCLIENTSOCKET_H_
#include "dorn/base/Export.h"
#include "dorn/net/KZSocket.h"
class KZApplication;
class DORN_EXPORT KZClientSocket : public KZSocket {
 public:
  KZClientSocket(int size, KZStream* stream, KZFdDataList* list);
  ~KZClientSocket() override;
  int Open(const char* host, int port, int buffersize);
  int Create(int sd, int buffersize);
  void ReadyToWrite() override;
  void OnClose() override;
  KZApplication* mApp = nullptr;
};
#endif
