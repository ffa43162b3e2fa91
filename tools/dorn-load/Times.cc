#include "tools/dorn-load/Times.h"

#include <charconv>
#include <chrono>
#include <cmath>

namespace dorn::load {

namespace {

// 0: no unit of this name.
double UsOfUnit(std::string_view unit) {
  if (unit == "us") return 1;
  if (unit == "ms") return kMillisecond;
  if (unit == "s" || unit.empty()) return kSecond;
  if (unit == "m") return 60 * kSecond;
  return 0;
}

constexpr double kLongest = 30.0 * 86400 * kSecond;

}  // namespace

Us SteadyUs() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

std::optional<Us> ReadDuration(std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (read.ec != std::errc()) return std::nullopt;
  const double us = number * UsOfUnit({read.ptr, static_cast<std::size_t>(end - read.ptr)});
  if (!(us >= 1) || us > kLongest) return std::nullopt;
  return static_cast<Us>(std::llround(us));
}

}  // namespace dorn::load
