// Ports of this machine.
#ifndef BENCH_SUPPORT_LOOPBACK_H_
#define BENCH_SUPPORT_LOOPBACK_H_

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdint>

inline sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A port that was free a moment ago.
int FreePort();

// A connection that sends at once and waits a minute at most for what it is to receive; -1 when
// nobody listens.
int ConnectTo(int port);

#endif  // BENCH_SUPPORT_LOOPBACK_H_
