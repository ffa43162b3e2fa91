#include "dorn/base/Clock.h"

#include <atomic>

namespace dorn {

namespace {
std::atomic<ClockFunction> gReplacement{nullptr};
}

timeval Now() {
  if (const ClockFunction replacement = gReplacement.load(std::memory_order_relaxed)) {
    return replacement();
  }
  timeval now{};
  // Fails only for a bad address.
  static_cast<void>(gettimeofday(&now, nullptr));
  return now;
}

ClockFunction SetClock(ClockFunction replacement) { return gReplacement.exchange(replacement); }

}  // namespace dorn
