// What a host has told of itself at one moment.
#ifndef TOOLS_DORN_TOP_SAMPLE_H_
#define TOOLS_DORN_TOP_SAMPLE_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace dorn::top {

struct Sample {
  std::map<std::string, double> mNumbers;  // By name, without the "dorn_" of all of them.
  std::map<std::string, double> mClosed;   // Connections that ended, by reason.
  std::int64_t mTakenMs = 0;               // By the steady clock.

  // What a host does not count is not there.
  std::optional<double> Number(const std::string& name) const;
};

// Reads the text for Prometheus that ServeStatistics() offers, and passes over what it does not
// know. None when the last line is cut, or there is no word of stations.
std::optional<Sample> ReadSample(std::string_view text);

}  // namespace dorn::top

#endif  // TOOLS_DORN_TOP_SAMPLE_H_
