// What an application does and has done: see VQApplication::Statistics(). Loop thread only.
#ifndef DORN_SERVER_STATISTICS_H_
#define DORN_SERVER_STATISTICS_H_

#include <cstdint>
#include <string>

#include "dorn/base/Export.h"

namespace dorn {

struct Statistics {
  // At the moment.
  std::uint64_t stations = 0;  // Connections, logged in or not.
  std::uint64_t loggedIn = 0;
  std::uint64_t sessions = 0;  // "SessionIdShared" included.
  std::uint64_t dialogs = 0;
  std::uint64_t timers = 0;
  std::uint64_t queuedBytes = 0;  // Memory that holds what stations have not taken yet.

  // Since the process began. Bytes count with those that frame a message; files do not count.
  std::uint64_t messagesIn = 0;
  std::uint64_t bytesIn = 0;
  std::uint64_t messagesOut = 0;
  std::uint64_t bytesOut = 0;
  std::uint64_t unreadable = 0;  // Messages that are no commands.

  std::uint64_t accepted = 0;  // Connections.
  std::uint64_t refused = 0;   // Because too many were open.

  // Connections that ended, by reason.
  std::uint64_t closedByStation = 0;     // It ended or reset the connection.
  std::uint64_t closedNoLogin = 0;       // Not logged in after 10 s.
  std::uint64_t closedNoAnswer = 0;      // KEEPALIVE not answered.
  std::uint64_t closedNotReading = 0;    // Too much was waiting for it.
  std::uint64_t closedTooLong = 0;       // Its message does not fit.
  std::uint64_t closedBadSession = 0;    // It presented a session id that is none.
  std::uint64_t closedSessionEnded = 0;  // Its session expired.
  std::uint64_t closedForAnother = 0;    // Not logged in, and another one needed its slot.
  std::uint64_t closedByHost = 0;        // Any other.

  std::uint64_t passes = 0;
  std::uint64_t longestPassUs = 0;  // Without the wait; since the statistics were first asked for.

  // As text for Prometheus: "dorn_stations 3" and so on, with types and help.
  DORN_EXPORT std::string Text() const;
};

}  // namespace dorn

#endif  // DORN_SERVER_STATISTICS_H_
