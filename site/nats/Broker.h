// The thread that talks to the brokers: the only one that calls the client library, but for what
// the library's callbacks need.
#ifndef SITE_NATS_BROKER_H_
#define SITE_NATS_BROKER_H_

#include <nats/nats.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "site/nats/Answers.h"
#include "site/nats/Exchange.h"
#include "site/nats/NatsOwned.h"
#include "site/nats/NatsTransport.h"

namespace dorn::site {

// Between two tries of what has failed.
inline constexpr std::chrono::milliseconds kTriesApart{200};

inline constexpr int kAskedMs = 1000;  // For an answer to a question.

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
  Nats<natsOptions> ConnectOptions(std::string& wrong) const;
  void TellWrongOptions(const std::string& why);
  bool MakeContext();
  bool IsConnected() const;

  bool HasReconnected();
  void End();

  void Step();

  bool Open();
  bool HasLog();
  bool HasSnapshots();
  bool HasStream(const std::string& name, const char** subjects, int count);
  Nats<natsMsg> AskForMessage(const std::string& stream, const std::string& which) const;
  Outcome LastOf(const std::string& stream, const std::string& subject, StoredMessage& found);
  bool TellNewest();

  void SendWaiting();
  bool Send(const Outgoing& outgoing);
  natsStatus SendEntry(const std::string& entry);
  natsStatus SendPiece(const Outgoing& piece);
  void Probe();
  void ProbeSnapshots();
  void Ask(const std::string& stream, const std::string& inbox);
  bool Listen(Nats<natsSubscription>& subscription, std::string& inbox, const char* below,
              natsMsgHandler handler);

  void Serve();
  void TryLater() { mNextTry = Clock::now() + kTriesApart; }
  void StartReading();
  void StopReading();
  void LookAfterReading();
  void AnswerConsumers();
  bool IsStuck();
  Outcome FirstKept(Sequence from, Sequence& found) const;
  std::optional<Sequence> BehindHole(Sequence next) const;
  bool IsOddForLong(bool isOdd);
  void BeginOtherLog();
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
  Nats<natsSubscription> mProbingSnapshots;
  Nats<natsSubscription> mPieces;  // What becomes of those that are sent.
  Nats<natsSubscription> mReading;
  Nats<natsStatistics> mStatistics;
  std::string mProbeInbox, mSnapshotsInbox, mPieceInbox;
  std::uint64_t mReconnects = 0;

  bool mIsOpen = false;
  bool mMustReopen = false;  // Entries are gone that were not read yet.
  bool mIsOtherLog = false;  // ... with all that was read, which is still to be told.
  std::optional<Clock::time_point> mOddSince;  // There was no log, or a shorter one.
  Requests mAsked;
  std::string mToldWrong;  // About the options.
  std::string mFetched;
  std::uint32_t mFetchedPieces = 0;
  Clock::time_point mNextTry, mNextProbe, mNextSnapshotsProbe;
  Sequence mStuckAt = 0;
  Clock::time_point mStuckSince;

  // What should have come and has not, and in how many readings in a row.
  struct Gap {
    Sequence next = 0;
    int times = 0;
  };
  Gap mGap;
};

}  // namespace dorn::site

#endif  // SITE_NATS_BROKER_H_
