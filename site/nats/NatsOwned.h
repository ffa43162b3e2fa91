// Short words for the client library: owners of what it makes, and what its messages hold.
#ifndef SITE_NATS_NATSOWNED_H_
#define SITE_NATS_NATSOWNED_H_

#include <nats/nats.h>

#include <cstddef>
#include <memory>
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
};
template <typename Thing>
using Nats = std::unique_ptr<Thing, NatsDestroy>;

// Valid as long as the message.
inline std::string_view DataOf(const Nats<natsMsg>& message) {
  return {natsMsg_GetData(message.get()),
          static_cast<std::size_t>(natsMsg_GetDataLength(message.get()))};
}

// What the brokers say of a stream; of the subjects in it only if the options ask.
struct StreamAnswer {
  natsStatus status;
  Nats<jsStreamInfo> info;  // Null unless the status is good.
};
inline StreamAnswer AskOf(const std::string& stream, jsCtx& context, jsOptions* options = nullptr) {
  jsStreamInfo* info = nullptr;
  const natsStatus status = js_GetStreamInfo(&info, &context, stream.c_str(), options, nullptr);
  return {status, Nats<jsStreamInfo>(info)};
}

// A new address for answers; empty if there is no memory.
inline std::string NewInbox() {
  natsInbox* inbox = nullptr;
  if (natsInbox_Create(&inbox) != NATS_OK) return {};
  std::string name(inbox);
  natsInbox_Destroy(inbox);
  return name;
}

}  // namespace dorn::site

#endif  // SITE_NATS_NATSOWNED_H_
