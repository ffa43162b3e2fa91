// Session ids that cannot be guessed. Any thread.
#ifndef DORN_SERVER_SESSIONID_H_
#define DORN_SERVER_SESSIONID_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

namespace dorn {

// 128 bits from the system's source of randomness as 32 hexadecimal digits: a session id for
// CreateSession(). Whoever knows the id of a session is in, so it must not be a name, a counter or
// a time. Ends the process when the system gives no randomness: any other id would let others in.
DORN_EXPORT KZString MakeSessionId();

}  // namespace dorn

#endif  // DORN_SERVER_SESSIONID_H_
