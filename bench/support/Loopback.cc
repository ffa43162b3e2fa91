#include "bench/support/Loopback.h"

#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

int FreePort() {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  static_cast<void>(bind(fd, reinterpret_cast<sockaddr*>(&address), length));
  static_cast<void>(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length));
  close(fd);
  return ntohs(address.sin_port);
}

int ConnectTo(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = Loopback(port);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(fd);
    return -1;
  }
  const int on = 1;
  static_cast<void>(setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
  timeval patience{};
  patience.tv_sec = 60;
  static_cast<void>(setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience));
  return fd;
}
