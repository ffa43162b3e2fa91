#ifndef DORN_SERVER_VQSTATIONSOCKET_H_
#define DORN_SERVER_VQSTATIONSOCKET_H_
#include <sys/socket.h>
#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/net/KZServerSocket.h"
class DORN_EXPORT VQStationSocket : public KZServerSocket {
 public:
  VQStationSocket(KZStream* stream, KZFdDataList* list);
  ~VQStationSocket() override;
  VQStationSocket(const VQStationSocket&) = delete;
  VQStationSocket& operator=(const VQStationSocket&) = delete;
  void ReadyToRead() override;
  void OnListen() override;
  void OnAccept(int fd, sockaddr* addr, unsigned int* addrlen) override;
  KZStream* mStream;

 private:
  void OpenSpare();
  bool RefuseOne();
  int mSpare = -1;
};
#endif
