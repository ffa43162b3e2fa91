#include "dorn/server/SessionId.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace dorn {

namespace {

constexpr std::size_t kBytes = 16;

// A request of up to 256 bytes is answered whole, once the system has enough to give.
void FillWithRandomBytes(std::array<unsigned char, kBytes>& bytes) {
  ssize_t got;
  do {
    got = getrandom(bytes.data(), bytes.size(), 0);
  } while (got < 0 && errno == EINTR);
  if (got == static_cast<ssize_t>(bytes.size())) return;
  std::fprintf(stderr, "dorn: no random bytes for a session id: %s\n", std::strerror(errno));
  std::fflush(stdout);
  std::abort();
}

}  // namespace

KZString MakeSessionId() {
  constexpr char kDigits[] = "0123456789abcdef";
  std::array<unsigned char, kBytes> bytes{};
  FillWithRandomBytes(bytes);
  std::string id;
  for (const unsigned char byte : bytes) {
    id += kDigits[byte >> 4];
    id += kDigits[byte & 0xF];
  }
  return KZString(std::move(id));
}

}  // namespace dorn
