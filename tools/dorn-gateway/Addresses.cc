#include "tools/dorn-gateway/Addresses.h"

#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ip/address_v6.hpp>
#include <charconv>
#include <cstdint>

namespace dorn::gateway {

namespace {

using boost::asio::ip::address_v4;
using boost::asio::ip::address_v6;

// Whether the first bits are equal.
template <class Bytes>
bool AgreeIn(const Bytes& a, const Bytes& b, unsigned bits) {
  for (unsigned i = 0; i < bits; ++i) {
    const unsigned shift = 7 - i % 8;
    if (((a[i / 8] ^ b[i / 8]) >> shift & 1U) != 0) return false;
  }
  return true;
}

}  // namespace

Address Plain(const Address& address) {
  if (!address.is_v6()) return address;
  const address_v6 six = address.to_v6();
  if (six.is_v4_mapped()) {
    return boost::asio::ip::make_address_v4(boost::asio::ip::v4_mapped, six);
  }
  return address_v6(six.to_bytes());  // Without the name of an interface.
}

std::optional<Address> ReadAddress(std::string_view text) {
  boost::system::error_code error;
  const Address address = boost::asio::ip::make_address(std::string(text), error);
  if (error) return std::nullopt;
  return Plain(address);
}

std::optional<Network> Network::Read(std::string_view text) {
  const std::size_t slash = text.find('/');
  const auto address = ReadAddress(text.substr(0, slash));
  if (!address) return std::nullopt;
  const unsigned all = address->is_v4() ? 32 : 128;
  if (slash == std::string_view::npos) return Network(*address, all);
  unsigned bits = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + slash + 1, end, bits);
  if (error != std::errc() || stop != end || bits > all) return std::nullopt;
  return Network(*address, bits);
}

bool Network::Contains(const Address& address) const {
  const Address plain = Plain(address);
  if (plain.is_v4() != mAddress.is_v4()) return false;
  if (plain.is_v4()) {
    return AgreeIn(plain.to_v4().to_bytes(), mAddress.to_v4().to_bytes(), mBits);
  }
  return AgreeIn(plain.to_v6().to_bytes(), mAddress.to_v6().to_bytes(), mBits);
}

std::vector<Network> ReadNetworks(const std::vector<std::string>& texts) {
  std::vector<Network> networks;
  for (const std::string& text : texts) {
    if (const auto network = Network::Read(text)) networks.push_back(*network);
  }
  return networks;
}

bool IsIn(const std::vector<Network>& networks, const Address& address) {
  for (const Network& network : networks) {
    if (network.Contains(address)) return true;
  }
  return false;
}

Address DerivedLoopback(const Address& browser) {
  const Address plain = Plain(browser);
  std::uint32_t low = 0;
  if (plain.is_v4()) {
    low = plain.to_v4().to_uint() & 0xFFFFFFU;
  } else if (!plain.is_loopback()) {
    const auto bytes = plain.to_v6().to_bytes();
    std::uint32_t hash = 2166136261U;  // FNV-1a
    for (std::size_t i = 0; i < bytes.size() / 2; ++i) hash = (hash ^ bytes[i]) * 16777619U;
    low = (hash >> 24 ^ hash) & 0xFFFFFFU;
  }
  // Neither the network's own address nor that of all.
  if (low == 0 || low == 0xFFFFFFU) low = 1;
  return address_v4(0x7F000000U | low);
}

std::string PlaceOf(const Address& address) {
  const Address plain = Plain(address);
  if (plain.is_v4()) return plain.to_string();
  auto bytes = plain.to_v6().to_bytes();
  if (plain.is_loopback()) return plain.to_string();
  for (std::size_t i = bytes.size() / 2; i < bytes.size(); ++i) bytes[i] = 0;
  return address_v6(bytes).to_string() + "/64";
}

std::string WrittenEndpoint(std::string_view host, unsigned short port) {
  const bool isSix = host.find(':') != std::string_view::npos;
  std::string text = isSix ? "[" : "";
  text += host;
  if (isSix) text += ']';
  return text + ":" + std::to_string(port);
}

}  // namespace dorn::gateway
