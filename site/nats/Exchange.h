// What the loop thread and the broker thread hand to each other. Knows nothing of NATS.
//
// Both ways are bounded. When there is no room outwards, nothing more is taken; when there is none
// inwards, whoever brings an entry waits, so that the broker holds the rest back.
#ifndef SITE_NATS_EXCHANGE_H_
#define SITE_NATS_EXCHANGE_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "site/core/Transport.h"

namespace dorn::site {

// For the loop thread.
struct Opened {
  std::optional<TransportListener::NewestManifest> newest;
  bool isOther = false;  // Not the log that was read before.
};
struct EntryCame {
  Sequence sequence;
  std::string entry;
};
struct HoleCame {
  Sequence next;
};
struct CaughtUp {};
struct SnapshotStored {
  Sequence mark;
  bool isStored;
};
struct SnapshotFetched {
  Sequence mark;
  std::optional<std::string> bytes;
};
using Incoming =
    std::variant<Opened, EntryCame, HoleCame, CaughtUp, SnapshotStored, SnapshotFetched>;

// For the broker thread. A piece has the mark of its snapshot, and says in which try at storing one
// it is sent; an entry has 0.
struct Outgoing {
  std::string bytes;
  Sequence mark = 0;
  std::uint32_t piece = 0;
  unsigned storing = 0;
};
struct ReadRequest {
  unsigned number;  // What is read for an earlier one is not delivered any more.
  Sequence last;
};
struct FetchRequest {
  Sequence mark;
  std::uint32_t pieces;
};
struct Requests {
  std::optional<ReadRequest> read;
  std::deque<FetchRequest> fetches;
  std::optional<Sequence> forget;
};

// Where an entry stands: in the log, among what its consumer has sent, and when the log took it, in
// nanoseconds, which no other entry at that place has.
struct Place {
  Sequence sequence = 0;
  std::uint64_t delivered = 0;
  std::int64_t stamp = 0;
};

class Exchange;

// One subscription; what its callbacks bring counts as long as it is the active one.
struct Subscription {
  Exchange* exchange;
  unsigned number;
};

class Exchange {
 public:
  // Lives as long as the process: callbacks may come when the connection is long closed, and
  // nothing tells which one is the last.
  static Exchange& Make(std::size_t maxWaiting, std::size_t maxWaitingBytes);

  Exchange(std::size_t maxWaiting, std::size_t maxWaitingBytes);
  ~Exchange();
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  // --- The loop thread ---

  int Descriptor() const { return mDescriptor; }
  bool Publish(std::string entry);
  void Read(Sequence last);
  void Store(Sequence mark, const std::string& bytes);
  void Fetch(Sequence mark, std::uint32_t pieces);
  void Forget(Sequence first);

  // The next thing that has come; nothing when that was all, and then the descriptor is not
  // readable any more.
  std::optional<Incoming> Take();
  bool TakeAnswered();
  bool TakeNoSnapshots();

  // Nobody takes anything any more. Gives the thread so long to end, and says whether it has.
  bool Stop(std::chrono::milliseconds patience);

  // --- The broker thread ---

  bool IsStopped() const;
  void SayEnded();

  // Until there is something to do, or the time is over. Without a connection nothing can be sent.
  void Wait(std::chrono::milliseconds time, bool canSend);

  // Entries before pieces.
  std::optional<Outgoing> Next();
  void PutBack(Outgoing outgoing);  // It is the next once more.
  void GiveUp(const Outgoing& outgoing);

  Requests TakeRequests();
  bool TakeHasFailed();  // Pieces were not stored, or are gone.
  // The snapshot whose pieces are all sent, and of which nothing was heard for so long, is not
  // stored.
  void GiveUpStoring(std::chrono::milliseconds patience);
  void Put(Incoming incoming);

  // From here on entries behind `last` count, when that subscription brings them. Everything up to
  // `target` is what is read now. The result lives as long as the process.
  Subscription& Subscribe(const ReadRequest& request, Sequence target);

  // The same once more from where it stands; nothing if there has not been one.
  std::optional<ReadRequest> Interrupt();

  // Whether the active subscription has left out some entries, or has ended.
  bool IsLost() const;
  // When it was last heard of, as far as it could be heard.
  std::chrono::steady_clock::time_point HeardAt() const;
  // To be answered with nothing, for consumers that ask whether there is room.
  std::vector<std::string> TakeAsked();

  // The last entry that was read, by which the log is known again; 0: none.
  Sequence Known() const;
  // By this one, which was not read yet, until one has been. What was read stays what the log is
  // known by: it is asked for once more whenever reading goes on there.
  void Know(const Place& place);
  // At that place the log has another entry.
  bool IsOther() const;
  // What was read is of a log that is no more.
  void ForgetLog();

  // The log does not hold what was left out any more: reading goes on with `next`.
  ReadRequest SkipHole(const ReadRequest& request, Sequence next);
  Sequence NextExpected() const;  // 0: nothing is read.
  bool IsFull() const;

  // --- Callbacks, on any thread ---

  // Waits for room.
  void Arrive(const Subscription& subscription, const Place& place, std::string_view entry);
  // The consumer lives; `asks` if it wants to know that there is room.
  void Beat(const Subscription& subscription, std::string_view asks);
  // It does not any more.
  void Lose(const Subscription& subscription);
  // Counts once for each piece, and only while that try lasts.
  void PieceDone(unsigned storing, std::uint32_t piece, bool isStored);
  void SayNoSnapshots();           // Perhaps not even their stream.
  void AnswerLast(Sequence last);  // The last one that the log holds.
  std::optional<Sequence> LastKnown() const;

 private:
  using Lock = std::unique_lock<std::mutex>;

  struct Tagged {
    unsigned reading;  // 0: of none.
    Incoming incoming;
  };
  struct Storing {
    Sequence mark;
    unsigned number;
    std::set<std::uint32_t> left;
    bool isStored;
    std::chrono::steady_clock::time_point heardAt;  // Or sent at.
  };

  bool HasRoom() const;
  void EndActive(bool isOther);
  void Push(unsigned reading, Incoming incoming);
  void EndStoring();
  void NoteAnswer();
  void Signal();

  const std::size_t mMaxWaiting;
  const std::size_t mMaxWaitingBytes;
  int mDescriptor;

  mutable std::mutex mMutex;  // Guards what follows.
  std::condition_variable mWork;
  std::condition_variable mRoom;
  std::condition_variable mEnd;
  bool mIsStopped = false;
  bool mHasEnded = false;
  bool mHasFailed = false;  // Pieces were not stored, or are gone.

  std::deque<std::string> mEntries;
  std::size_t mEntryBytes = 0;
  std::deque<Outgoing> mPieces;
  std::optional<Storing> mStoring;
  unsigned mStorings = 0;
  Requests mRequests;
  unsigned mReading = 0;  // The newest request.

  std::deque<Tagged> mIncoming;
  std::size_t mArrived = 0;  // Entries among them, and their bytes.
  std::size_t mArrivedBytes = 0;
  bool mIsSignalled = false;
  bool mIsAnswered = false;
  bool mHasNoSnapshots = false;
  bool mIsLost = false;   // The active subscription,
  bool mIsOther = false;  // since the log is another one.
  std::chrono::steady_clock::time_point mAnsweredAt;
  std::optional<Sequence> mLastKnown;

  std::deque<Subscription> mSubscriptions;
  unsigned mActive = 0;  // 0: none.
  ReadRequest mActiveRequest{0, 0};
  Sequence mNext = 0;
  Sequence mTarget = 0;
  std::uint64_t mDelivered = 0;  // By the active subscription.
  std::chrono::steady_clock::time_point mHeardAt;
  std::vector<std::string> mAsked;
  Place mKnown;
};

}  // namespace dorn::site

#endif  // SITE_NATS_EXCHANGE_H_
