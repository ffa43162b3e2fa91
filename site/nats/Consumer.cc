#include "site/nats/Consumer.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>
#include <utility>
#include <vector>

namespace dorn::site {
namespace {

constexpr std::int64_t kHeartbeatNs = 500'000'000;
constexpr std::string_view kBeat = "100";  // A heartbeat, or a question whether there is room.

std::vector<std::string_view> Words(std::string_view subject) {
  std::vector<std::string_view> words;
  for (std::size_t begin = 0; begin <= subject.size();) {
    const std::size_t end = std::min(subject.find('.', begin), subject.size());
    words.push_back(subject.substr(begin, end - begin));
    begin = end + 1;
  }
  return words;
}

template <typename Number>
bool IsNumber(std::string_view word, Number& number) {
  const auto result = std::from_chars(word.data(), word.data() + word.size(), number);
  return result.ec == std::errc() && result.ptr == word.data() + word.size();
}

std::string_view HeaderOf(natsMsg* message, const char* key) {
  const char* value = nullptr;
  if (natsMsgHeader_Get(message, key, &value) != NATS_OK || value == nullptr) return {};
  return value;
}

// What comes beside entries: that the consumer lives, perhaps asking whether there is room, or why
// it does not any more.
void OnStatus(const Subscription& subscription, natsMsg* message, std::string_view reply) {
  const std::string_view status = HeaderOf(message, "Status");
  if (status.empty()) return;  // Of somebody else.
  if (status != kBeat) return subscription.exchange->Lose(subscription);
  const std::string_view asks = reply.empty() ? HeaderOf(message, "Nats-Consumer-Stalled") : reply;
  subscription.exchange->Beat(subscription, asks);
}

void OnMessage(natsConnection* /*connection*/, natsSubscription* /*subscription*/, natsMsg* message,
               void* closure) {
  const Nats<natsMsg> owned(message);
  const auto& subscription = *static_cast<const Subscription*>(closure);
  const char* const given = natsMsg_GetReply(message);
  const std::string_view reply = given != nullptr ? given : "";
  const std::optional<Place> place = PlaceIn(reply);
  if (!place) return OnStatus(subscription, message, reply);
  subscription.exchange->Arrive(subscription, *place, DataOf(owned));
}

}  // namespace

std::optional<Place> PlaceIn(std::string_view reply) {
  constexpr std::string_view kPrefix = "$JS.ACK.";
  constexpr std::size_t kShort = 9, kLong = 11;
  if (reply.substr(0, kPrefix.size()) != kPrefix) return std::nullopt;
  const std::vector<std::string_view> words = Words(reply);
  if (words.size() != kShort && words.size() < kLong) return std::nullopt;
  const std::size_t stream = words.size() == kShort ? 2 : 4;
  Place place;
  const bool isGood = IsNumber(words[stream + 3], place.sequence) &&
                      IsNumber(words[stream + 4], place.delivered) &&
                      IsNumber(words[stream + 5], place.stamp);
  if (!isGood) return std::nullopt;
  return place;
}

Nats<natsSubscription> Consume(natsConnection& connection, jsCtx& context,
                               const std::string& stream, Sequence first,
                               Subscription& subscription) {
  const std::string inbox = NewInbox();
  natsSubscription* made = nullptr;
  if (inbox.empty() || natsConnection_Subscribe(&made, &connection, inbox.c_str(), OnMessage,
                                                &subscription) != NATS_OK) {
    return nullptr;
  }
  Nats<natsSubscription> reading(made);
  // No limit: whoever is slow is held back by the consumer, not left out.
  if (natsSubscription_SetPendingLimits(made, -1, -1) != NATS_OK) return nullptr;

  jsConsumerConfig wanted;
  jsConsumerConfig_Init(&wanted);
  wanted.DeliverSubject = inbox.c_str();
  wanted.DeliverPolicy = js_DeliverByStartSequence;
  wanted.OptStartSeq = first;
  wanted.AckPolicy = js_AckNone;
  wanted.FlowControl = true;
  wanted.Heartbeat = kHeartbeatNs;
  // It is not to outlive its broker: whoever reads makes another one.
  wanted.Replicas = 1;
  wanted.MemoryStorage = true;
  const natsStatus status =
      js_AddConsumer(nullptr, &context, stream.c_str(), &wanted, nullptr, nullptr);
  return status == NATS_OK ? std::move(reading) : nullptr;
}

}  // namespace dorn::site
