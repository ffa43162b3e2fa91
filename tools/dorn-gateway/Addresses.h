// Addresses of browsers, proxies and hosts.
#ifndef TOOLS_DORN_GATEWAY_ADDRESSES_H_
#define TOOLS_DORN_GATEWAY_ADDRESSES_H_

#include <boost/asio/ip/address.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dorn::gateway {

using Address = boost::asio::ip::address;

// An IPv4 address inside IPv6 is the IPv4 address.
Address Plain(const Address& address);
std::optional<Address> ReadAddress(std::string_view text);

// An address, or a network such as 192.168.1.0/24.
class Network {
 public:
  static std::optional<Network> Read(std::string_view text);

  bool Contains(const Address& address) const;

 private:
  Network(const Address& address, unsigned bits) : mAddress(address), mBits(bits) {}

  Address mAddress;
  unsigned mBits;
};

std::vector<Network> ReadNetworks(const std::vector<std::string>& texts);
bool IsIn(const std::vector<Network>& networks, const Address& address);

// Where a connection to a host on loopback comes from, so that the host can tell browsers apart:
// 127.b.c.d for a.b.c.d, and for IPv6 one that follows from the first half of the address.
Address DerivedLoopback(const Address& browser);

// What counts as one place when failures are counted: an IPv4 address, or the first half of an
// IPv6 one, as everybody has many of these.
std::string PlaceOf(const Address& address);

// HOST:PORT, with IPv6 in brackets.
std::string WrittenEndpoint(std::string_view host, unsigned short port);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_ADDRESSES_H_
