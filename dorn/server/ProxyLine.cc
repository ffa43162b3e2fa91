#include "dorn/server/ProxyLine.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <sstream>
#include <string_view>
#include <vector>

#include "dorn/base/SemaphoreLock.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/server/Connection.h"
#include "dorn/server/PeerAddress.h"
#include "dorn/server/Slots.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

namespace {

constexpr std::string_view kStart = "PROXY ";
constexpr std::string_view kEnd = "\r\n";
constexpr std::size_t kMaxLine = 107;  // Both included.

std::set<std::string>& Proxies() {
  static auto* const proxies = new std::set<std::string>;
  return *proxies;
}

// The front of the buffer, as much of it as a line may be long.
std::string Front(VQClientSocket& client) {
  const SemaphoreLock lock(client.mSemData);
  const auto held = static_cast<std::size_t>(std::max(LoadShared(client.mBufferPos), 0));
  return std::string(client.mDataBuffer, std::min(held, kMaxLine));
}

// Whether more bytes may make a line of it.
bool MayBecomeLine(std::string_view front) {
  const std::size_t length = std::min(front.size(), kStart.size());
  return front.substr(0, length) == kStart.substr(0, length) && front.size() < kMaxLine;
}

bool IsAddress(int family, const std::string& text) {
  in6_addr address{};
  return inet_pton(family, text.c_str(), &address) == 1;
}

bool IsPort(const std::string& text) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  return !text.empty() && text.size() <= 5 && std::all_of(text.begin(), text.end(), isDigit);
}

// Hooks run, of the connection that makes room too: it may be closed, and open for another station.
void ComeFrom(VQClientSocket& client, const std::string& source) {
  Connection& connection = Connection::Of(client);
  const int ends = connection.Ends();
  KeepShare(client.GetFD(), source);
  if (connection.HasEndedSince(ends)) return;
  connection.Station().mAddress = source;
  // "The other side is"
  client.Log().LogPrintf("相手は %s\n", source.c_str());
}

// The source that a line without its end names; empty for a line that is none, or names nobody.
std::string SourceOf(const std::string& line) {
  std::istringstream words(line);
  const std::vector<std::string> word{std::istream_iterator<std::string>(words), {}};
  if (word.size() != 6) return {};
  const int family = word[1] == "TCP4" ? AF_INET : AF_INET6;
  const bool isValid = (word[1] == "TCP4" || word[1] == "TCP6") && IsAddress(family, word[2]) &&
                       IsAddress(family, word[3]) && IsPort(word[4]) && IsPort(word[5]);
  return isValid ? word[2] : std::string();
}

}  // namespace

bool IsTrustedProxy(const std::string& address) { return Proxies().count(address) != 0; }

bool TakeProxyLine(VQClientSocket& client) {
  if (Proxies().empty()) return false;
  Peer& peer = Connection::Of(client).Station();
  if (!peer.mMayTell || client.mDataBuffer == nullptr) return false;
  const std::string front = Front(client);
  const std::size_t end = front.find(kEnd);
  if (end == std::string::npos && MayBecomeLine(front)) return false;
  peer.mMayTell = false;
  if (end == std::string::npos || front.compare(0, kStart.size(), kStart) != 0) return false;
  char line[kMaxLine];
  client.GetData(line, static_cast<int>(end + kEnd.size()));
  const std::string source = SourceOf(front.substr(0, end));
  if (!source.empty()) ComeFrom(client, source);
  return true;
}

KZString PeerAddress(const VQClientSocket& client) {
  return KZString(Connection::Of(client).Station().mAddress);
}

void SetTrustedProxies(const std::vector<KZString>& addresses) {
  Proxies() = std::set<std::string>(addresses.begin(), addresses.end());
}

}  // namespace dorn
