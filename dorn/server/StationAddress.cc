#include "dorn/server/StationAddress.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace dorn {

namespace {

constexpr int kHighestPort = 65535;

bool IsPort(int port) { return port >= 0 && port <= kHighestPort; }

bool WriteWhole(const std::string& path, const std::string& text) {
  std::FILE* file = std::fopen(path.c_str(), "we");
  if (file == nullptr) return false;
  const bool isWritten = std::fputs(text.c_str(), file) >= 0;
  return std::fclose(file) == 0 && isWritten;
}

}  // namespace

std::optional<StationAddress> ReadStationAddress(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  StationAddress address;
  address.host = std::string(text.substr(0, colon));
  const std::string_view port = text.substr(colon + 1);
  const char* const end = port.data() + port.size();
  const auto [stop, error] = std::from_chars(port.data(), end, address.port);
  if (error != std::errc() || stop != end || !IsPort(address.port)) return std::nullopt;
  return address;
}

// The resolver would cut a port that is too large down to another one.
bool CheckPort(const StationAddress& address) {
  if (IsPort(address.port)) return true;
  std::fprintf(stderr, "dorn: %d is no TCP port\n", address.port);
  return false;
}

bool ObeyEnvironment(StationAddress& address) {
  const char* text = secure_getenv("DORN_STATION");
  if (text == nullptr || *text == '\0') return true;
  const std::optional<StationAddress> given = ReadStationAddress(text);
  if (!given.has_value()) {
    std::fprintf(stderr, "dorn: DORN_STATION is \"%s\"; write it as address:port\n", text);
    return false;
  }
  address = *given;
  return true;
}

StationAddress AddressOf(int listener) {
  StationAddress address;
  address.port = 0;
  sockaddr_in name{};
  socklen_t length = sizeof name;
  if (getsockname(listener, reinterpret_cast<sockaddr*>(&name), &length) != 0) return address;
  if (name.sin_family != AF_INET) return address;
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &name.sin_addr, text, sizeof text);
  address.host = text;
  address.port = ntohs(name.sin_port);
  return address;
}

// Through a second name, so that whoever waits for the file never reads a part of it.
void PublishStationAddress(int listener) {
  const char* path = secure_getenv("DORN_STATION_FILE");
  if (path == nullptr || *path == '\0') return;
  const StationAddress address = AddressOf(listener);
  const std::string fresh = std::string(path) + "." + std::to_string(getpid());
  const std::string text = address.host + ":" + std::to_string(address.port) + "\n";
  if (WriteWhole(fresh, text) && std::rename(fresh.c_str(), path) == 0) return;
  const int error = errno;
  static_cast<void>(std::remove(fresh.c_str()));  // It may never have been made.
  std::fprintf(stderr, "dorn: the station address cannot be written to %s: %s\n", path,
               std::strerror(error));
}

}  // namespace dorn
