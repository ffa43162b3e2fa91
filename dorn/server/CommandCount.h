// How lively a station is.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_COMMANDCOUNT_H_
#define DORN_SERVER_COMMANDCOUNT_H_

#include <cstdint>

#include "dorn/base/Export.h"

class VQClientSocket;

namespace dorn {

// How many commands of this connection have counted the interval of a session anew, had it one: all
// that came while it was logged in, but HELLO and CHANGE. Grows as long as the object lives, also
// for sessions that never expire, so that a host can let those end by a rule of its own.
DORN_EXPORT std::uint64_t CommandCount(const VQClientSocket& client);

}  // namespace dorn

#endif  // DORN_SERVER_COMMANDCOUNT_H_
