// The least that a relay between WebSockets and TCP can do: what one side has sent goes to the
// other side in one piece. Nothing is read, checked, limited or told. Usage: dorn_bench_bare_relay
// PORT HOST-PORT
#include <netinet/tcp.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unordered_map>

#include "bench/support/Loopback.h"

namespace {

std::string Accepted(std::string_view request) {
  const std::size_t at = request.find("Sec-WebSocket-Key: ") + 19;
  std::string key(request.substr(at, request.find('\r', at) - at));
  key += "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
  unsigned char hash[SHA_DIGEST_LENGTH];
  SHA1(reinterpret_cast<const unsigned char*>(key.data()), key.size(), hash);
  unsigned char text[32];
  EVP_EncodeBlock(text, hash, sizeof hash);
  return "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
         "Sec-WebSocket-Accept: " +
         std::string(reinterpret_cast<const char*>(text)) + "\r\n\r\n";
}

struct Side {
  int mOther = -1;
  bool mIsPage = false;
  bool mIsOpen = false;
};

class Relay {
 public:
  Relay(int listener, int hostPort)
      : mListener(listener), mHostPort(hostPort), mPoll(epoll_create1(EPOLL_CLOEXEC)) {
    Watch(listener);
  }

  [[noreturn]] void Run() {
    for (;;) {
      epoll_event events[64];
      const int count = epoll_wait(mPoll, events, 64, -1);
      for (int i = 0; i < count; ++i) {
        if (events[i].data.fd == mListener) {
          Accept();
        } else {
          Serve(events[i].data.fd);
        }
      }
    }
  }

 private:
  void Watch(int fd) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    epoll_ctl(mPoll, EPOLL_CTL_ADD, fd, &event);
  }

  void Accept() {
    const int page = accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
    const int host = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(mHostPort);
    if (page < 0 ||
        connect(host, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      return;
    }
    const int on = 1;
    for (const int fd : {page, host}) {
      setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      mSides[fd] = {fd == page ? host : page, fd == page, false};
      Watch(fd);
    }
  }

  void Serve(int fd) {
    Side& side = mSides[fd];
    char bytes[65536];
    const ssize_t got = recv(fd, bytes, sizeof bytes, 0);
    if (got <= 0) return Close(fd);
    const std::string_view text(bytes, static_cast<std::size_t>(got));
    if (!side.mIsPage) return ToPage(side.mOther, text);
    if (!side.mIsOpen) {
      side.mIsOpen = true;
      const std::string answer = Accepted(text);
      send(fd, answer.data(), answer.size(), MSG_NOSIGNAL);
      return;
    }
    ToHost(side.mOther, text);
  }

  static void ToPage(int fd, std::string_view text) {
    std::string frame = "\x82";
    if (text.size() < 126) {
      frame += static_cast<char>(text.size());
    } else {
      frame += '\x7E';
      frame += static_cast<char>(text.size() >> 8);
      frame += static_cast<char>(text.size());
    }
    frame += text;
    send(fd, frame.data(), frame.size(), MSG_NOSIGNAL);
  }

  // Short frames, each in one packet: that is what the clients here send.
  static void ToHost(int fd, std::string_view frame) {
    const std::size_t head = (frame[1] & 0x7F) < 126 ? 2 : 4;
    if (frame.size() < head + 4) return;
    std::string text(frame.substr(head + 4));
    for (std::size_t i = 0; i < text.size(); ++i) text[i] ^= frame[head + i % 4];
    send(fd, text.data(), text.size(), MSG_NOSIGNAL);
  }

  void Close(int fd) {
    const int other = mSides[fd].mOther;
    for (const int each : {fd, other}) {
      mSides.erase(each);
      close(each);
    }
  }

  const int mListener;
  const int mHostPort;
  const int mPoll;
  std::unordered_map<int, Side> mSides;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in address = Loopback(std::atoi(argv[1]));
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return 1;
  listen(listener, 1024);
  Relay(listener, std::atoi(argv[2])).Run();
}
