#include "site/NatsCarrier.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "site/nats/NatsTransport.h"

namespace dorn::site {

namespace {

class NatsCarrier final : public Carrier {
 public:
  explicit NatsCarrier(const NatsOptions& options) : mTransport(options) {}

  int Descriptor() const override { return mTransport.Descriptor(); }
  void Deliver(TransportListener& listener) override { mTransport.Deliver(listener); }

  bool Publish(std::string entry) override { return mTransport.Publish(std::move(entry)); }
  void Read(Sequence last) override { mTransport.Read(last); }
  void Store(Sequence mark, std::string bytes) override {
    mTransport.Store(mark, std::move(bytes));
  }
  void Fetch(Sequence mark, std::uint32_t pieces) override { mTransport.Fetch(mark, pieces); }
  void Forget(Sequence first) override { mTransport.Forget(first); }

 private:
  NatsTransport mTransport;
};

}  // namespace

std::unique_ptr<Carrier> MakeNatsCarrier(const SiteOptions& options) {
  if (!IsSiteName(std::string_view(options.name))) {
    std::fputs(
        "dorn-site: a site's name has letters, digits, '-' and '_', and does not end in _SNAP\n",
        stderr);
    return nullptr;
  }
  if (options.brokers.empty()) {
    std::fputs("dorn-site: no brokers are named, such as nats://127.0.0.1:4222\n", stderr);
    return nullptr;
  }
  NatsOptions nats;
  nats.site = options.name;
  nats.servers.assign(options.brokers.begin(), options.brokers.end());
  nats.replicas = options.replicas;
  nats.user = options.user;
  nats.password = options.password;
  nats.credentialsFile = options.credentialsFile;
  nats.caFile = options.authorityFile;
  nats.certificateFile = options.certificateFile;
  nats.keyFile = options.keyFile;
  return std::make_unique<NatsCarrier>(nats);
}

}  // namespace dorn::site
