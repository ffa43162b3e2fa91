#include "site/nats/Answers.h"

#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace dorn::site {
namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// What stands between the quotes behind `key`; no text in it has quotes of its own.
std::optional<std::string_view> TextIn(std::string_view json, std::string_view key) {
  const std::size_t found = json.find(key);
  if (found == std::string_view::npos) return std::nullopt;
  const std::size_t begin = found + key.size();
  const std::size_t end = json.find('"', begin);
  if (end == std::string_view::npos) return std::nullopt;
  return json.substr(begin, end - begin);
}

}  // namespace

std::optional<std::uint64_t> NumberIn(std::string_view json, std::string_view key) {
  const std::size_t found = json.find(key);
  if (found == std::string_view::npos) return std::nullopt;
  const std::string digits(json.substr(found + key.size(), 20));
  return std::strtoull(digits.c_str(), nullptr, 10);
}

std::optional<std::string> FromBase64(std::string_view text) {
  while (!text.empty() && text.back() == '=') text.remove_suffix(1);
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3 + 2);
  std::uint32_t waiting = 0;
  int bits = 0;
  for (const char letter : text) {
    const std::size_t digit = kDigits.find(letter);
    if (digit == std::string_view::npos) return std::nullopt;
    waiting = (waiting << 6) | static_cast<std::uint32_t>(digit);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes.push_back(static_cast<char>((waiting >> bits) & 0xffU));
  }
  return bytes;
}

std::optional<StoredMessage> MessageIn(std::string_view json) {
  const std::size_t begin = json.find(R"("message":{)");
  if (begin == std::string_view::npos) return std::nullopt;
  const std::string_view message = json.substr(begin);
  const std::optional<std::uint64_t> sequence = NumberIn(message, R"("seq":)");
  if (sequence.value_or(0) == 0) return std::nullopt;
  // An empty one has none.
  std::optional<std::string> data = FromBase64(TextIn(message, R"("data":")").value_or(""));
  if (!data) return std::nullopt;
  const std::int64_t stamp = StampIn(TextIn(message, R"("time":")").value_or(""));
  return StoredMessage{*sequence, *std::move(data), stamp};
}

std::int64_t StampIn(std::string_view time) {
  std::tm date{};
  const std::string text(time);
  const char* rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &date);
  if (rest == nullptr) return 0;
  std::int64_t nanoseconds = 0;
  if (*rest == '.') {
    ++rest;
    for (std::int64_t unit = 100'000'000; unit > 0 && *rest >= '0' && *rest <= '9'; unit /= 10) {
      nanoseconds += unit * (*rest++ - '0');
    }
  }
  if (std::string_view(rest) != "Z") return 0;
  // What nanoseconds cannot hold, some three centuries before and after, is no time of a log.
  constexpr std::int64_t kSecond = 1'000'000'000;
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / kSecond - 1;
  const std::int64_t seconds = timegm(&date);
  if (seconds < -kMost || seconds > kMost) return 0;
  return seconds * kSecond + nanoseconds;
}

bool SaysMissing(std::string_view json) {
  return json.find(R"("error":{)") != std::string_view::npos && NumberIn(json, R"("code":)") == 404;
}

}  // namespace dorn::site
