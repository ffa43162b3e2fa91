// Times as dorn-load counts them: microseconds of the steady clock.
#ifndef TOOLS_DORN_LOAD_TIMES_H_
#define TOOLS_DORN_LOAD_TIMES_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dorn::load {

using Us = std::int64_t;

constexpr Us kMillisecond = 1'000;
constexpr Us kSecond = 1'000'000;

Us SteadyUs();

// "250us", "50ms", "1.5s", "2m"; seconds without a unit. Nothing for all else, 0 included.
std::optional<Us> ReadDuration(std::string_view text);

inline double InMs(Us us) { return static_cast<double>(us) / kMillisecond; }
inline double InSeconds(Us us) { return static_cast<double>(us) / kSecond; }

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_TIMES_H_
