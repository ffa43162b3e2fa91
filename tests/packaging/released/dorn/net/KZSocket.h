#ifndef DORN_NET_KZSOCKET_H_
#define DORN_NET_KZSOCKET_H_
#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>
#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/loop/KZFdData.h"
class DORN_EXPORT KZSocket : public KZFdData {
 public:
  KZSocket(int size, KZStream* stream, KZFdDataList* list);
  explicit KZSocket(KZFdDataList* list);
  ~KZSocket() override;
  void ReadyToRead() override;
  virtual int Send(const void* data, int length);
  virtual void OnOpen();
  virtual void OnClose();
  virtual void OnListen();
  virtual void OnConnect();
  virtual void OnAccept(int sd, sockaddr* addr, unsigned int* addrlen);
  virtual int OnReceive(sockaddr* addr, unsigned int addrlen);
  using KZFdData::OnReceive;
  virtual void OnTimeout(timeval time);
  int GetAddrInfo(int flags, int family, int type, const char* addr, int port, addrinfo** ai);
  void FreeAddrInfo(addrinfo* ai);
  int Socket(int family, int type, int protocol);
  int Bind(const sockaddr* addr, unsigned int addrlen);
  int Connect(const sockaddr* addr, unsigned int addrlen);
  int Listen(int backlog);
  int Accept();
  int Close();
  int SendTo(const void* data, int length, const sockaddr* addr, unsigned int addrlen);
  KZLog& Log() { return mLog; }
  int mStatus = 0;
  KZLog mLog;

 private:
  bool IsUnopened();
};
#include "dorn/net/KZClientSocket.h"
#include "dorn/net/KZServerSocket.h"
#include "dorn/net/KZSocketUdp.h"
#endif
