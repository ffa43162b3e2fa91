// A connection that is closed while it sends, and perhaps opened again.
#ifndef TESTS_SERVER_LEAVINGCLIENT_H_
#define TESTS_SERVER_LEAVINGCLIENT_H_

#include <utility>

#include "dorn/server/VQClientSocket.h"

class LeavingClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int SendData(const KZString&) override {
    Close();
    if (mNext >= 0) Create(std::exchange(mNext, -1), 3000);
    return -1;
  }
  int mNext = -1;  // The descriptor of its next line, or -1.
};

#endif  // TESTS_SERVER_LEAVINGCLIENT_H_
