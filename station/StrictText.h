// Strict JSON, which most of what hosts send is. Internal to the library of stations.
#ifndef STATION_STRICTTEXT_H_
#define STATION_STRICTTEXT_H_

#include <string_view>

#include "station/Json.h"

namespace dorn::station {

// Reads a whole text of valid UTF-8. False, with `out` in any state, when it is not JSON, nests
// deeper than the reader's limit or has a lone surrogate.
bool ReadStrictly(std::string_view text, Json& out);

// Whether `text` is a number as JSON writes it.
bool IsJsonNumber(std::string_view text);

}  // namespace dorn::station

#endif  // STATION_STRICTTEXT_H_
