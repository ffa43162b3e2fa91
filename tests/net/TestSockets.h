// Sockets that note their hooks, for the tests of this folder.
#ifndef TESTS_NET_TESTSOCKETS_H_
#define TESTS_NET_TESTSOCKETS_H_

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "dorn/net/KZSocket.h"
#include "tests/support/LoopRunner.h"
#include "tests/support/RecordingStream.h"
#include "tests/support/TcpPeer.h"
#include "tests/support/TestApplication.h"

// A log sink that spoils errno, as one that writes to a file may.
class SpoilingStream : public RecordingStream {
 public:
  int Output(char* text) override {
    const int length = RecordingStream::Output(text);
    errno = ENOTTY;
    return length;
  }
};

// Notes the hooks of a socket class by name and then calls the class's own.
template <typename Base>
class Noting : public Base {
 public:
  using Base::Base;

  int OnReceive() override {
    mEvents.push_back("receive without address");
    return Base::OnReceive();
  }
  int OnReceive(sockaddr* addr, unsigned int addrlen) override {
    if (addr == nullptr) {
      mEvents.push_back("receive null " + std::to_string(addrlen));
    } else {
      const auto* const from = reinterpret_cast<const sockaddr_in*>(addr);
      mSenderPort = from->sin_family == AF_INET ? ntohs(from->sin_port) : -1;
      mEvents.push_back("receive");
    }
    if (mOnReceive) mOnReceive();
    return Base::OnReceive(addr, addrlen);
  }
  int OnNotice(int code, int value) override {
    mEvents.push_back("notice " + std::to_string(code) + " " + std::to_string(value));
    errno = ENOTTY;
    return Base::OnNotice(code, value);
  }
  void OnOpen() override {
    mEvents.push_back("open");
    Base::OnOpen();
  }
  void OnClose() override {
    mEvents.push_back("close");
    Base::OnClose();
    if (mOnClose) mOnClose();
  }
  void OnListen() override {
    mEvents.push_back("listen");
    Base::OnListen();
  }
  void OnConnect() override { mEvents.push_back("connect"); }
  void OnTimeout(timeval) override { mEvents.push_back("timeout"); }
  void OnAccept(int sd, sockaddr* addr, unsigned int* addrlen) override {
    mEvents.push_back("accept");
    mAccepted.push_back(sd);
    if (addr != nullptr && addrlen != nullptr) {
      const auto* const from = reinterpret_cast<const sockaddr_in*>(addr);
      mSenderPort = from->sin_family == AF_INET ? ntohs(from->sin_port) : -1;
      mAddressLength = *addrlen;
    }
    Base::OnAccept(sd, addr, addrlen);
  }

  std::string Take() {
    std::string bytes(100000, '\0');
    bytes.resize(static_cast<size_t>(this->GetData(bytes.data(), static_cast<int>(bytes.size()))));
    return bytes;
  }
  std::vector<std::string> TakeEvents() { return std::exchange(mEvents, {}); }
  bool Has(const std::string& event) const {
    for (const std::string& each : mEvents) {
      if (each == event) return true;
    }
    return false;
  }

  std::vector<std::string> mEvents;
  std::vector<int> mAccepted;
  int mSenderPort = -1;
  unsigned int mAddressLength = 0;
  std::function<void()> mOnReceive;
  std::function<void()> mOnClose;
};

using TestSocket = Noting<KZSocket>;
using TestServer = Noting<KZServerSocket>;
using TestClient = Noting<KZClientSocket>;
using TestUdp = Noting<KZSocketUdp>;

inline const sockaddr* Generic(const sockaddr_in& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

inline sockaddr_in LoopbackAddress(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A listener on 127.0.0.1 that answers no further connect: each one stays under way.
class FullListener {
 public:
  FullListener() {
    mFds.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in any = LoopbackAddress(0);
    EXPECT_EQ(bind(mFds[0], Generic(any), sizeof any), 0);
    EXPECT_EQ(listen(mFds[0], 0), 0);
    const sockaddr_in address = LoopbackAddress(Port());
    pollfd state{};
    do {
      mFds.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
      connect(mFds.back(), Generic(address), sizeof address);
      state = {mFds.back(), POLLOUT, 0};
    } while (poll(&state, 1, 20) == 1 && mFds.size() < 10);
  }
  ~FullListener() {
    for (const int fd : mFds) close(fd);
  }
  FullListener(const FullListener&) = delete;
  FullListener& operator=(const FullListener&) = delete;

  int Port() const {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(mFds[0], reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
  }

 private:
  std::vector<int> mFds;  // The listening one first.
};

// An application whose loop the test runs, and a log.
class SocketTest : public ::testing::Test {
 protected:
  static constexpr int kLogSize = 1024;

  KZFdDataList* List() { return mApp.GetFdDataList(); }
  bool RunUntil(const std::function<bool()>& condition) {
    return LoopRunner(mApp).RunUntil(condition);
  }
  void Settle() { LoopRunner(mApp).Settle(); }
  bool IsLinked(const KZFdData* record) {
    for (const KZFdData* linked : *List()) {
      if (linked == record) return true;
    }
    return false;
  }

  // Puts `socket` on one end of a TCP connection, selected and active; the result is the other end.
  static TcpPeer Join(KZSocket& socket) {
    TcpAcceptor acceptor;
    TcpPeer peer;
    EXPECT_TRUE(peer.Connect(acceptor.Port()));
    const TcpPeer accepted = acceptor.Accept();
    socket.SetFD(dup(accepted.Fd()));
    fcntl(socket.GetFD(), F_SETFL, O_NONBLOCK);
    socket.SetFDStatus(2);
    socket.SetSelect(1);
    return peer;
  }

  TestApplication mApp;
  RecordingStream mLog;
};

#endif  // TESTS_NET_TESTSOCKETS_H_
