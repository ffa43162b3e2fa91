// How long a session waits for what. Internal to the library of stations.
#ifndef STATION_SESSIONTIMES_H_
#define STATION_SESSIONTIMES_H_

#include "station/Session.h"

namespace dorn::station {

constexpr Session::Ms kLogInLimit = 10'000;     // From the wish for a line to the first OPEN.
constexpr Session::Ms kAnswerLimit = 5'000;     // A fence that is not answered by then is a sign.
constexpr Session::Ms kPayloadLimit = 5'000;    // An announced file that does not come.
constexpr Session::Ms kHeartbeat = 20'000;      // Between two fences while somebody looks.
constexpr Session::Ms kRefetch = 600'000;       // Between two entries into the same dialog.
constexpr Session::Ms kEnterAgain = 200;        // Until what the host did not send is fetched.
constexpr Session::Ms kEnterAgainRest = 1'500;  // Between two of these.
constexpr Session::Ms kAssumedInterval = 600'000;  // Of a session whose length was not told.
constexpr long kLongestInterval = 1'000'000'000;   // In seconds; what is told beyond is cut.

}  // namespace dorn::station

#endif  // STATION_SESSIONTIMES_H_
