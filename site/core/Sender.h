// The origin's side of the log: what this host has handed in and has not seen coming back.
//
// - Items have numbers without holes, in the order in which they were handed in. They leave only
//   from the front: come back, or refused all together.
// - What is published says little: it may be in the log soon, late, twice or never. So everything
//   that waits is published again, from the lowest on, until it comes back.
// - Nothing that may be in the log is refused before a newer generation of this origin has come
//   back; then the log itself drops what comes later.
#ifndef SITE_CORE_SENDER_H_
#define SITE_CORE_SENDER_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "site/core/Entry.h"
#include "site/core/Node.h"
#include "site/core/Rules.h"
#include "site/core/Transport.h"

namespace dorn::site {

inline constexpr std::size_t kMaxWaiting = 1000;
inline constexpr std::size_t kMaxWaitingBytes = std::size_t{8} << 20;
inline constexpr Ms kMaxWait{12'000};  // The oldest has waited so long: nothing more is taken.
inline constexpr Ms kUnknownAfter{2000};
inline constexpr Ms kFirstPause{100};     // Until what has not come back is published again,
inline constexpr Ms kLongestPause{1000};  // doubling up to this while nothing comes.
inline constexpr Ms kAskAgain{1000};  // Between entries of the same purpose, until one comes back.

class Sender {
 public:
  Sender(const OriginId& origin, Transport& transport, const Rules& rules);

  // Nothing if no more is taken at the moment, or if the item is too large for any entry. The
  // ticket of an extension is 0, and is never among those below: nobody asks what became of it.
  std::optional<Ticket> Add(Item item, Ms now);

  // Publishes what was added since.
  void Flush(Ms now);

  // Publishes again what is due, and gives up what has waited too long.
  void Tick(Ms now);

  // An item of this origin has come back as the next of its generation, for the first time. Nothing
  // if it was none that waits: applied before, when this host read this part of the log already.
  std::optional<Ticket> CameBack(std::uint32_t generation, std::uint64_t number, Ms now);

  // Something of this origin came back before what it follows.
  void SawGap(Ms now);

  // A newer generation of this origin has come back: whose outcome is known by it.
  std::vector<Ticket> CameBack(const NewGeneration& next, Ms now);

  // A snapshot was loaded, in which this origin's items up to `last` of that generation, and up to
  // `before` of the one before it, were applied.
  struct Settled {
    std::vector<Ticket> passed, refused;
  };
  Settled Settle(std::uint32_t generation, std::uint64_t last, std::uint64_t before, Ms now);

  // The log is another one, which may hold less of this origin than was seen coming back: numbers
  // begin anew with the next generation, and what waits is refused when that has come back.
  void Fence(Ms now);

  // Those that wait for 2 s by now, each once.
  std::vector<Ticket> TakeUnknown(Ms now);
  // Those that were given up without a word to the log, which has never been handed them.
  std::vector<Ticket> TakeRefused();

  std::size_t Waiting() const { return mWaiting.size(); }
  bool IsOpen(Ms now) const;
  std::uint64_t SentAgain() const { return mSentAgain; }

 private:
  struct Pending {
    Ticket ticket = 0;
    Item item;
    std::size_t bytes = 0;
    Ms since{0};
    bool wasHandedOver = false;  // An entry with it may be in the log.
    bool isUnknown = false;      // ... which the host was told.
  };

  bool PublishBatch(std::size_t& begin);
  Ticket TakeFront();
  std::size_t BatchEnd(std::size_t begin) const;
  void SendAgain(Ms now);
  void GiveUp(Ms now);
  void Withdraw();
  void Progress(Ms now);
  std::vector<Ticket> TakeAll();

  const OriginId mOrigin;
  Transport& mTransport;
  const Rules mRules;
  std::deque<Pending> mWaiting;
  std::size_t mWaitingBytes = 0;
  std::uint64_t mFirst = 1;  // The number of the first that waits.
  std::uint32_t mGeneration = 0;
  std::size_t mSent = 0;  // So many of those that wait were published at least once.
  Ticket mLastTicket = 0;
  Ms mQuietSince{0};  // Nothing has come back, nor was anything sent again.
  Ms mSentAgainAt{-kLongestPause};
  Ms mPause = kFirstPause;
  bool mIsClosed = false;  // Until the next generation has come back.
  Ms mAskedAt{0};
  std::vector<Ticket> mRefused;
  std::uint64_t mSentAgain = 0;
};

}  // namespace dorn::site

#endif  // SITE_CORE_SENDER_H_
