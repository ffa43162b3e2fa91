// The least that a server of this shape can do: a select loop that reads, looks for the end of a
// message, and writes once for each recipient. No parsing, no console, no timers.
// Usage: dorn_bench_bare PORT fanout|answer BYTES
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr char kEtx = 0x03;

class BareServer {
 public:
  BareServer(int listener, bool toAll, std::size_t bytes)
      : mListener(listener), mToAll(toAll), mFrame(bytes, 'x') {
    mFrame.front() = 0x02;
    mFrame.back() = kEtx;
  }

  [[noreturn]] void Run() {
    for (;;) RunPass();
  }

 private:
  void RunPass() {
    fd_set reads;
    FD_ZERO(&reads);
    FD_SET(mListener, &reads);
    int highest = mListener;
    for (const int fd : mPeers) {
      FD_SET(fd, &reads);
      highest = std::max(highest, fd);
    }
    if (select(highest + 1, &reads, nullptr, nullptr, nullptr) <= 0) return;
    std::vector<int>& ready = mReady;
    ready.clear();
    for (const int fd : mPeers) {
      if (FD_ISSET(fd, &reads)) ready.push_back(fd);
    }
    for (const int fd : ready) Serve(fd);
    if (FD_ISSET(mListener, &reads)) Accept();
  }

  void Accept() {
    const int fd = accept4(mListener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) return;
    const int on = 1;
    static_cast<void>(setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
    mPeers.push_back(fd);
  }

  // A message never spans two reads here: the peers write each one at once.
  void Serve(int fd) {
    char data[3000];
    const ssize_t length = read(fd, data, sizeof data);
    if (length <= 0) {
      close(fd);
      mPeers.erase(std::find(mPeers.begin(), mPeers.end(), fd));
      return;
    }
    const char* const end = data + length;
    for (const char* at = data; at < end; ++at) {
      at = static_cast<const char*>(std::memchr(at, kEtx, static_cast<std::size_t>(end - at)));
      if (at == nullptr) return;
      Answer(fd);
    }
  }

  void Answer(int sender) {
    if (!mToAll) {
      Write(sender);
      return;
    }
    for (const int fd : mPeers) {
      if (fd != sender) Write(fd);
    }
  }

  // What a peer does not take is lost; the peers of the benchmark always read.
  void Write(int fd) {
    if (write(fd, mFrame.data(), mFrame.size()) != static_cast<ssize_t>(mFrame.size())) _exit(3);
  }

  int mListener;
  bool mToAll;
  std::string mFrame;
  std::vector<int> mPeers;
  std::vector<int> mReady;
};

int Listen(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  static_cast<void>(setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return -1;
  return listen(fd, 128) == 0 ? fd : -1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  const int listener = Listen(std::atoi(argv[1]));
  if (listener < 0) return 1;
  const auto bytes = static_cast<std::size_t>(std::atoi(argv[3]));
  BareServer(listener, std::string(argv[2]) == "fanout", std::max<std::size_t>(bytes, 2)).Run();
}
