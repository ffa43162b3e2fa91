// Assertions that hold in every build type: what they guard against is misuse that would otherwise
// read foreign memory. Internal: not installed.
#ifndef DORN_BASE_CHECK_H_
#define DORN_BASE_CHECK_H_

namespace dorn {

// Flushes standard output (abort() does not), reports on standard error as assert() words it, and
// aborts.
[[noreturn]] void CheckFailed(const char* expression, const char* file, int line,
                              const char* function);

}  // namespace dorn

// Ends the process when `expression` is false, with its text in the report.
#define DORN_CHECK(expression)   \
  (static_cast<bool>(expression) \
       ? static_cast<void>(0)    \
       : ::dorn::CheckFailed(#expression, __FILE__, __LINE__, __PRETTY_FUNCTION__))

#endif  // DORN_BASE_CHECK_H_
