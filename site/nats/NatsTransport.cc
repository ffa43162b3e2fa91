#include "site/nats/NatsTransport.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "site/nats/Broker.h"
#include "site/nats/Exchange.h"

namespace dorn::site {
namespace {

constexpr std::chrono::milliseconds kPatience{900};
constexpr int kDeliveredAtOnce = 1000;

// To the call that belongs to each.
class Teller {
 public:
  explicit Teller(TransportListener& listener) : mListener(listener) {}

  void operator()(const Opened& opened) const {
    if (opened.isOther) {
      mListener.OnOtherLog(opened.newest);
    } else {
      mListener.OnOpened(opened.newest);
    }
  }
  void operator()(const EntryCame& came) const { mListener.OnEntry(came.sequence, came.entry); }
  void operator()(const HoleCame& hole) const { mListener.OnHole(hole.next); }
  void operator()(CaughtUp /*unused*/) const { mListener.OnCaughtUp(); }
  void operator()(const SnapshotStored& stored) const {
    mListener.OnStored(stored.mark, stored.isStored);
  }
  void operator()(SnapshotFetched& fetched) const {
    mListener.OnFetched(fetched.mark, std::move(fetched.bytes));
  }

 private:
  TransportListener& mListener;
};

}  // namespace

bool IsSiteName(std::string_view name) {
  const auto ends = [name](std::string_view end) {
    return name.size() >= end.size() && name.substr(name.size() - end.size()) == end;
  };
  return !name.empty() && !ends("_SNAP") &&
         std::all_of(name.begin(), name.end(),
                     [](unsigned char c) { return std::isalnum(c) != 0 || c == '-' || c == '_'; });
}

NatsTransport::NatsTransport(const NatsOptions& options)
    : mExchange(Exchange::Make(options.maxWaiting, options.maxWaitingBytes)),
      mThread([options, &exchange = mExchange] {
        Broker(options, exchange).Run();
        exchange.SayEnded();
      }) {}

// A call of the client library may take longer than anybody wants to wait; it ends by itself.
NatsTransport::~NatsTransport() {
  if (mExchange.Stop(kPatience)) {
    mThread.join();
  } else {
    mThread.detach();
  }
}

int NatsTransport::Descriptor() const { return mExchange.Descriptor(); }

void NatsTransport::Deliver(TransportListener& listener) {
  for (int i = 0; i < kDeliveredAtOnce; ++i) {
    std::optional<Incoming> incoming = mExchange.Take();
    if (!incoming) break;
    std::visit(Teller(listener), *incoming);
  }
  if (mExchange.TakeAnswered()) listener.OnAnswered();
  if (mExchange.TakeNoSnapshots()) listener.OnNoSnapshots();
}

bool NatsTransport::Publish(std::string entry) { return mExchange.Publish(std::move(entry)); }

void NatsTransport::Read(Sequence last) { mExchange.Read(last); }

void NatsTransport::Store(Sequence mark, std::string bytes) { mExchange.Store(mark, bytes); }

void NatsTransport::Fetch(Sequence mark, std::uint32_t pieces) { mExchange.Fetch(mark, pieces); }

void NatsTransport::Forget(Sequence first) { mExchange.Forget(first); }

}  // namespace dorn::site
