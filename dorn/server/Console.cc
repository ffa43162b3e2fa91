#include "dorn/server/Console.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace dorn {

namespace {

// Lines up to this length are put together first: one call of the standard library for each.
constexpr std::size_t kShortLine = 2048;

void PrintInParts(std::initializer_list<std::string_view> parts) {
  flockfile(stdout);
  for (const std::string_view part : parts) {
    static_cast<void>(fwrite_unlocked(part.data(), 1, part.size(), stdout));
  }
  static_cast<void>(putc_unlocked('\n', stdout));
  funlockfile(stdout);
}

}  // namespace

// The results are ignored: there is nowhere else to say that nobody listens.
void PrintLine(std::initializer_list<std::string_view> parts) {
  std::size_t length = 1;
  for (const std::string_view part : parts) length += part.size();
  if (length > kShortLine) {
    PrintInParts(parts);
    return;
  }
  char line[kShortLine];
  char* end = line;
  for (const std::string_view part : parts) end = std::copy(part.begin(), part.end(), end);
  *end = '\n';
  static_cast<void>(std::fwrite(line, 1, length, stdout));
}

}  // namespace dorn
