#include "dorn/server/Console.h"

#include <cstdio>

namespace dorn {

// The results are ignored: there is nowhere else to say that nobody listens.
void PrintLine(std::initializer_list<std::string_view> parts) {
  flockfile(stdout);
  for (const std::string_view part : parts) {
    static_cast<void>(fwrite_unlocked(part.data(), 1, part.size(), stdout));
  }
  static_cast<void>(putc_unlocked('\n', stdout));
  funlockfile(stdout);
}

}  // namespace dorn
