// Puts a made-up clock in the place of the library's own. Header only: whoever includes it links
// the base layer.
#ifndef TESTS_SUPPORT_FAKECLOCK_H_
#define TESTS_SUPPORT_FAKECLOCK_H_

#include <sys/time.h>

#include <atomic>
#include <cstdint>

#include "dorn/base/Clock.h"

// The library reads this clock from construction to destruction. It stands still until a test
// moves it; any thread may read it meanwhile. At most one at a time.
//
// The loop's `select` still waits in real time for what the made-up clock says is left, so tests
// call BaseTimer() with instants of their own, or run the loop through LoopRunner, which never
// sleeps longer than one tick.
class FakeClock {
 public:
  explicit FakeClock(int64_t seconds = 1700000000, int64_t microseconds = 0) {
    Set(seconds, microseconds);
    mPrevious = dorn::SetClock(&FakeClock::Read);
  }
  ~FakeClock() { dorn::SetClock(mPrevious); }
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  void Set(int64_t seconds, int64_t microseconds = 0) {
    sMicroseconds = seconds * 1000000 + microseconds;
  }
  // A negative number steps the clock back.
  void AdvanceMs(int64_t ms) { sMicroseconds += ms * 1000; }

  // As timers count: whole milliseconds since the epoch.
  uint64_t NowMs() const { return static_cast<uint64_t>(sMicroseconds / 1000); }
  timeval Now() const { return Read(); }

 private:
  static timeval Read() {
    const int64_t now = sMicroseconds;
    timeval time{};
    time.tv_sec = static_cast<time_t>(now / 1000000);
    time.tv_usec = static_cast<suseconds_t>(now % 1000000);
    return time;
  }

  static inline std::atomic<int64_t> sMicroseconds{0};
  dorn::ClockFunction mPrevious = nullptr;
};

#endif  // TESTS_SUPPORT_FAKECLOCK_H_
