#include "dorn/base/Check.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace dorn {

void CheckFailed(const char* expression, const char* file, int line, const char* function) {
  static_cast<void>(std::fflush(stdout));
  static_cast<void>(std::fprintf(stderr, "%s: %s:%d: %s: Assertion `%s' failed.\n",
                                 program_invocation_short_name, file, line, function, expression));
  static_cast<void>(std::fflush(stderr));
  std::abort();
}

}  // namespace dorn
