// When actions are meant to happen: so many a second, evenly, whatever the host does. An action
// that could not be sent in time keeps the time that it was meant for, and its latency counts from
// there: a slow host is not given fewer actions for being slow.
#ifndef TOOLS_DORN_LOAD_PACE_H_
#define TOOLS_DORN_LOAD_PACE_H_

#include <cmath>
#include <cstdint>

#include "tools/dorn-load/Times.h"

namespace dorn::load {

class Pace {
 public:
  // The first action is meant for `start`.
  Pace(double perSecond, Us start) : mPerSecond(perSecond), mStart(start) {}

  // What the next action is meant for. Counted from the start, so that no rounding adds up.
  Us NextAt() const {
    return mStart + std::llround(static_cast<double>(mTaken) * kSecond / mPerSecond);
  }
  bool IsDue(Us now) const { return NextAt() <= now; }
  // That, and goes on to the one behind it.
  Us Take() {
    const Us at = NextAt();
    ++mTaken;
    return at;
  }
  // How many that are meant for before `end` are not taken.
  std::uint64_t LeftBefore(Us end) const {
    const double meant = std::ceil(static_cast<double>(end - mStart) * mPerSecond / kSecond);
    const long long left = static_cast<long long>(meant) - mTaken;
    return left > 0 ? static_cast<std::uint64_t>(left) : 0;
  }

 private:
  double mPerSecond;
  Us mStart;
  long long mTaken = 0;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_PACE_H_
