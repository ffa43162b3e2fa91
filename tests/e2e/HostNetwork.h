// What a host does with the network besides its stations: datagrams and a connection of its own.
#ifndef TESTS_E2E_HOSTNETWORK_H_
#define TESTS_E2E_HOSTNETWORK_H_

#include "dorn/dorn.h"

// Answers each datagram with "echo:" and its bytes, to 127.0.0.1 and the sender's port.
class EchoSocket : public KZSocketUdp {
 public:
  explicit EchoSocket(KZFdDataList* list);
  using KZSocketUdp::OnReceive;
  int OnReceive(sockaddr* addr, unsigned int addrlen) override;
};

// Says "hello" to whom it is connected and hands every text that it gets to all stations.
class Uplink : public KZClientSocket {
 public:
  explicit Uplink(KZFdDataList* list);
  using KZClientSocket::OnReceive;
  void OnOpen() override;
  void OnClose() override;
  int OnReceive(sockaddr* addr, unsigned int addrlen) override;
};

// Several threads add and cancel timers and add and remove records, all at once; when the last one
// is done the host's timer kThreadsDone fires.
constexpr unsigned int kThreadsDone = 4711;
void RunThreads();

#endif  // TESTS_E2E_HOSTNETWORK_H_
