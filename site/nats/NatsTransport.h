// A site's log and snapshots on NATS JetStream.
//
// The log of the site "plant" is the stream DORN_plant with the subjects dorn.plant.log and
// dorn.plant.manifest; its snapshots are in the stream DORN_plant_SNAP, in pieces of 256 KB, each
// under dorn.plant.snap.<mark>.<number>. Streams that are missing are made, by whoever comes first.
//
// One thread of the transport's own makes all calls of the client library, which block. While no
// broker answers it tries for ever; what is published meanwhile waits, as far as there is room.
#ifndef SITE_NATS_NATSTRANSPORT_H_
#define SITE_NATS_NATSTRANSPORT_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "site/core/Transport.h"

namespace dorn::site {

// Letters, digits, '-' and '_'; not "_SNAP" at its end, which would make its log the snapshots of
// another site.
bool IsSiteName(std::string_view name);

struct NatsOptions {
  std::string site;                  // As IsSiteName() says.
  std::vector<std::string> servers;  // Such as nats://10.0.0.1:4222, or tls:// with TLS.
  int replicas = 1;                  // Of streams that are made: 1, 3 or 5.

  // Empty: without.
  std::string user, password;
  std::string credentialsFile;  // As nsc writes it.
  std::string caFile;  // PEM, as the next two: whoever has signed the brokers' certificates.
  std::string certificateFile, keyFile;  // The host's own.

  // Entries that may wait each way, and their bytes.
  std::size_t maxWaiting = 4096;
  std::size_t maxWaitingBytes = std::size_t{16} << 20;
};

class Exchange;

// Loop thread only.
class NatsTransport final : public Transport {
 public:
  // Begins at once; whether a broker answers shows by OnOpened().
  explicit NatsTransport(const NatsOptions& options);

  // Takes less than a second. What waits to be published may still be, or not.
  ~NatsTransport() override;

  NatsTransport(const NatsTransport&) = delete;
  NatsTransport& operator=(const NatsTransport&) = delete;

  // Readable when there is something to deliver. Not to be closed, nor read by others.
  int Descriptor() const;

  // Tells the listener what has come since, a thousand things at most: the descriptor stays
  // readable if there is more. The listener may call the transport, but not destroy it.
  void Deliver(TransportListener& listener);

  bool Publish(std::string entry) override;
  void Read(Sequence last) override;
  void Store(Sequence mark, std::string bytes) override;
  void Fetch(Sequence mark, std::uint32_t pieces) override;
  void Forget(Sequence first) override;

 private:
  Exchange& mExchange;
  std::thread mThread;
};

}  // namespace dorn::site

#endif  // SITE_NATS_NATSTRANSPORT_H_
