#include "tools/dorn-top/Sample.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace dorn::top {

namespace {

constexpr std::string_view kPrefix = "dorn_";
constexpr std::string_view kClosed = "closed_total";
constexpr std::string_view kReason = "reason=\"";

bool IsNameByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == ':';
}

// Of the counts of hosts, which have 64 bits.
constexpr double kLargest = 18446744073709551616.0;

// Counts are neither negative nor endless.
std::optional<double> ReadNumber(std::string_view text) {
  double number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  if (!(number >= 0 && number <= kLargest)) return std::nullopt;
  return number;
}

// No word, no reason: what is shown on a terminal must not move its cursor.
std::string ReasonIn(std::string_view labels) {
  const std::size_t start = labels.find(kReason);
  if (start == std::string_view::npos) return "";
  labels.remove_prefix(start + kReason.size());
  const std::string_view reason = labels.substr(0, labels.find('"'));
  return std::all_of(reason.begin(), reason.end(), IsNameByte) ? std::string(reason) : "";
}

// name{labels} number
void ReadLine(std::string_view line, Sample& sample) {
  if (line.substr(0, kPrefix.size()) != kPrefix) return;
  line.remove_prefix(kPrefix.size());
  const auto end = std::find_if_not(line.begin(), line.end(), IsNameByte);
  const std::string_view name = line.substr(0, static_cast<std::size_t>(end - line.begin()));
  line.remove_prefix(name.size());
  std::string_view labels;
  if (!line.empty() && line.front() == '{') {
    const std::size_t close = line.rfind('}');
    if (close == std::string_view::npos) return;
    labels = line.substr(1, close - 1);
    line.remove_prefix(close + 1);
  }
  if (name.empty() || line.empty() || line.front() != ' ') return;
  const auto number = ReadNumber(line.substr(1));
  if (!number) return;
  if (name != kClosed && labels.empty()) sample.mNumbers[std::string(name)] = *number;
  const std::string reason = name == kClosed ? ReasonIn(labels) : "";
  if (!reason.empty()) sample.mClosed[reason] = *number;
}

}  // namespace

std::optional<double> Sample::Number(const std::string& name) const {
  const auto place = mNumbers.find(name);
  if (place == mNumbers.end()) return std::nullopt;
  return place->second;
}

std::optional<Sample> ReadSample(std::string_view text) {
  Sample sample;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) return std::nullopt;
    ReadLine(text.substr(0, end), sample);
    text.remove_prefix(end + 1);
  }
  if (!sample.Number("stations")) return std::nullopt;
  return sample;
}

}  // namespace dorn::top
