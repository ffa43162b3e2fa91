// The thread that talks to the brokers: the only one that calls the client library, but for what
// the library's callbacks need.
#ifndef SITE_NATS_BROKER_H_
#define SITE_NATS_BROKER_H_

#include <nats/nats.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "site/nats/Exchange.h"
#include "site/nats/NatsTransport.h"

namespace dorn::site {

// Between two tries of what has failed.
inline constexpr std::chrono::milliseconds kTriesApart{200};

// Destroys what the client library has made.
struct NatsDestroy {
  void operator()(natsOptions* options) const { natsOptions_Destroy(options); }
  void operator()(natsConnection* connection) const { natsConnection_Destroy(connection); }
  void operator()(natsSubscription* subscription) const { natsSubscription_Destroy(subscription); }
  void operator()(natsMsg* message) const { natsMsg_Destroy(message); }
  void operator()(jsCtx* stream) const { jsCtx_Destroy(stream); }
  void operator()(jsStreamInfo* info) const { jsStreamInfo_Destroy(info); }
};
template <typename Thing>
using Nats = std::unique_ptr<Thing, NatsDestroy>;

class Broker {
 public:
  Broker(const NatsOptions& options, Exchange& exchange);

  // Until the exchange is stopped.
  void Run();

 private:
  using Clock = std::chrono::steady_clock;

  // What became of a question to the brokers.
  enum class Outcome { kDone, kMissing, kAgain };

  bool Connect();
  Nats<natsOptions> ConnectOptions() const;
  bool MakeContext();
  bool IsConnected() const;

  // The client library makes a reading anew on a thread of its own when a broker has been silent.
  // If the reading, or the connection, is destroyed just then, it crashes. So that is done only
  // when no broker has been silent for long enough.
  void NoteCalm();
  bool IsCalm() const;
  void StopReading();
  void End();

  void Step();

  bool Open();
  bool HasStream(const std::string& name, const char** subjects, int count);
  Outcome LastOf(const std::string& stream, const std::string& subject,
                 TransportListener::NewestManifest& found);
  bool TellNewest();

  void SendWaiting();
  bool Send(const Outgoing& outgoing);
  void Probe();

  void Serve();
  void StartReading();
  void LookAfterReading();
  bool IsHole(Sequence next) const;
  void FetchPieces();
  void ForgetOld();
  void ForgetSnapshots(Sequence first);

  const NatsOptions mOptions;
  Exchange& mExchange;

  const std::string mLog, mSnapshots;  // Streams.
  const std::string mLogSubject, mManifestSubject, mSnapshotPrefix;

  // Each is made of the one before it, and destroyed before it.
  Nats<natsConnection> mConnection;
  Nats<jsCtx> mContext;
  Nats<natsSubscription> mProbing;
  Nats<natsSubscription> mReading;
  std::string mProbeInbox;

  std::vector<Nats<natsSubscription>> mOldReadings;  // To be destroyed when it is calm.
  Clock::time_point mRestlessAt;

  bool mIsOpen = false;
  bool mMustReopen = false;  // Entries are gone that were not read yet.
  Requests mAsked;
  std::string mFetched;
  std::uint32_t mFetchedPieces = 0;
  Clock::time_point mNextTry, mNextProbe;
  Sequence mStuckAt = 0;
  Clock::time_point mStuckSince;

  // What was left out last, and by how many readings in a row.
  struct Gap {
    Sequence next = 0;  // This should have come,
    Sequence came = 0;  // and this has.
    int times = 0;
  };
  Gap mGap;
};

}  // namespace dorn::site

#endif  // SITE_NATS_BROKER_H_
