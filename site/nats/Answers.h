// What is taken from the brokers' answers. Whatever they write, it is only searched: the client
// library ends the process over an answer that lacks what it expects.
#ifndef SITE_NATS_ANSWERS_H_
#define SITE_NATS_ANSWERS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "site/core/Transport.h"

namespace dorn::site {

// The number behind `key`, or nothing.
std::optional<std::uint64_t> NumberIn(std::string_view json, std::string_view key);

// Of the kinds of letters that the brokers use; nothing if it is none of it.
std::optional<std::string> FromBase64(std::string_view text);

// A stored message. Nothing if the answer holds none.
struct StoredMessage {
  Sequence sequence = 0;
  std::string data;
  std::int64_t stamp = 0;  // When the log took it, in nanoseconds since 1970; 0: it does not say.
};
std::optional<StoredMessage> MessageIn(std::string_view json);

// Nanoseconds since 1970, of "2026-11-22T20:00:00.5Z"; 0 if it is no such time.
std::int64_t StampIn(std::string_view time);

// That there is no such message, or no such stream.
bool SaysMissing(std::string_view json);

}  // namespace dorn::site

#endif  // SITE_NATS_ANSWERS_H_
