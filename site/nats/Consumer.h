// The reading of a log from one place on: a consumer at the brokers, and the subscription that it
// sends to.
//
// The client library has readings of its own that make themselves anew; it does that on threads of
// its own, and ends the process if a broker stands still at that moment. So this one never does
// anything by itself: what it notices is written down in the exchange, and the broker thread drops
// it and makes another one.
#ifndef SITE_NATS_CONSUMER_H_
#define SITE_NATS_CONSUMER_H_

#include <nats/nats.h>

#include <optional>
#include <string>
#include <string_view>

#include "site/nats/Exchange.h"
#include "site/nats/NatsOwned.h"

namespace dorn::site {

// Where a message stands, as the subject says that it would be acknowledged to. Nothing for other
// messages. Of
//   $JS.ACK.STREAM.CONSUMER.TIMES.SEQUENCE.DELIVERED.STAMP.LEFT
// or the same with a domain and an account before the stream, and more behind it.
std::optional<Place> PlaceIn(std::string_view reply);

// Delivers the entries of that stream from `first` on to the exchange, as those of `subscription`.
// Null, and nothing is delivered any more, when the brokers do not answer.
Nats<natsSubscription> Consume(natsConnection& connection, jsCtx& context,
                               const std::string& stream, Sequence first,
                               Subscription& subscription);

}  // namespace dorn::site

#endif  // SITE_NATS_CONSUMER_H_
