// What Statistics() tells about the past. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_COUNTERS_H_
#define DORN_SERVER_COUNTERS_H_

#include <cstdint>

#include "dorn/server/Statistics.h"

namespace dorn {

// The counting members are kept here as they are handed out; those for a moment stay 0. An addition
// is all that counting costs.
inline Statistics& Counters() {
  extern Statistics gCounters;
  return gCounters;
}

// Says why connections that are closed while it lives are closed. Without any: because the host
// asked for it.
class ClosingFor {
 public:
  using Reason = std::uint64_t Statistics::*;

  explicit ClosingFor(Reason reason) : mOuter(sReason) { sReason = reason; }
  ~ClosingFor() { sReason = mOuter; }

  ClosingFor(const ClosingFor&) = delete;
  ClosingFor& operator=(const ClosingFor&) = delete;

  // Called when a connection has been closed.
  static void CountOne() { ++(Counters().*sReason); }

 private:
  static Reason sReason;

  Reason mOuter;
};

}  // namespace dorn

#endif  // DORN_SERVER_COUNTERS_H_
