// Backslash escapes: those of JSON texts that are read, and those inside stored values.
#ifndef STATION_ESCAPES_H_
#define STATION_ESCAPES_H_

#include <optional>
#include <string>
#include <string_view>

namespace dorn::station {

// What stands for a text that contains escapes. Without a result one of them is not legal (an
// unknown letter, a lone surrogate, a backslash at the end).
std::optional<std::string> Unescaped(std::string_view text);

// The text as it is stored in an attribute of a host that writes its texts unescaped: quotes,
// backslashes and control characters become escapes, so that what the host writes is JSON.
std::string EscapedValue(std::string_view text);

}  // namespace dorn::station

#endif  // STATION_ESCAPES_H_
