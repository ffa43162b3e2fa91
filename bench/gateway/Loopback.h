// The address of a port of this machine.
#ifndef BENCH_GATEWAY_LOOPBACK_H_
#define BENCH_GATEWAY_LOOPBACK_H_

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

#endif  // BENCH_GATEWAY_LOOPBACK_H_
