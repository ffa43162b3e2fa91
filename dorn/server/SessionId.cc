#include "dorn/server/SessionId.h"

#include <unistd.h>

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

// Waits until the system has enough to give, whatever interrupts it.
void FillWithRandomBytes(std::array<unsigned char, kBytes>& bytes) {
  if (getentropy(bytes.data(), bytes.size()) == 0) return;
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
