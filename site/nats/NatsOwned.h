// Short words for the client library: owners of what it makes, and what its messages hold.
#ifndef SITE_NATS_NATSOWNED_H_
#define SITE_NATS_NATSOWNED_H_

#include <nats/nats.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace dorn::site {

struct NatsDestroy {
  void operator()(natsOptions* options) const { natsOptions_Destroy(options); }
  void operator()(natsConnection* connection) const { natsConnection_Destroy(connection); }
  void operator()(natsSubscription* subscription) const { natsSubscription_Destroy(subscription); }
  void operator()(natsMsg* message) const { natsMsg_Destroy(message); }
  void operator()(natsStatistics* statistics) const { natsStatistics_Destroy(statistics); }
  void operator()(jsCtx* stream) const { jsCtx_Destroy(stream); }
  void operator()(jsStreamInfo* info) const { jsStreamInfo_Destroy(info); }
  void operator()(jsConsumerInfo* info) const { jsConsumerInfo_Destroy(info); }
};
template <typename Thing>
using Nats = std::unique_ptr<Thing, NatsDestroy>;

// Valid as long as the message.
inline std::string_view DataOf(const Nats<natsMsg>& message) {
  return {natsMsg_GetData(message.get()),
          static_cast<std::size_t>(natsMsg_GetDataLength(message.get()))};
}

// A new address for answers; empty if there is no memory.
inline std::string NewInbox() {
  natsInbox* inbox = nullptr;
  if (natsInbox_Create(&inbox) != NATS_OK) return {};
  std::string name(inbox);
  natsInbox_Destroy(inbox);
  return name;
}

// The number behind `key` in what the brokers have written, or nothing.
inline std::optional<std::uint64_t> NumberIn(std::string_view json, std::string_view key) {
  const std::size_t found = json.find(key);
  if (found == std::string_view::npos) return std::nullopt;
  const std::string digits(json.substr(found + key.size(), 20));
  return std::strtoull(digits.c_str(), nullptr, 10);
}

}  // namespace dorn::site

#endif  // SITE_NATS_NATSOWNED_H_
