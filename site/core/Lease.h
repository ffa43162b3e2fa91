// Who keeps the site, as far as this host can be sure of it by its own clock.
//
// The lease lies in the log: a take that counted names the keeper, its sequence is the token, and
// the keeper renews it by entries. This class only says when to publish which of them:
// - The keeper renews each second, and is sure while a renewal that it *sent* less than 2 s ago has
//   come back. So it has stopped before anybody can have waited for 3 s behind that renewal.
// - Another host takes when it has seen no new renewal for 3 s in which the log answered it.
// - Two may be sure for a moment all the same, if one's entries arrive late. That does no harm:
//   what the former proposes then names a token that is no longer the site's.
#ifndef SITE_CORE_LEASE_H_
#define SITE_CORE_LEASE_H_

#include <cstdint>
#include <deque>
#include <optional>

#include "site/core/Entry.h"
#include "site/core/Node.h"

namespace dorn::site {

inline constexpr Ms kRenewEach{1000};
inline constexpr Ms kSureFor{2000};
inline constexpr Ms kTakeAfter{3000};
inline constexpr Ms kAnswersWithin{1500};  // Of a log that is not away.

class Lease {
 public:
  explicit Lease(const OriginId& origin) : mOrigin(origin) {}

  // The log has answered just now.
  void OnAnswered(Ms now) { mAnswered = now; }

  // Entries that counted have come back. Those of former tokens, which come again when the log is
  // read again, change nothing.
  void OnTake(Sequence token, const OriginId& keeper, Ms now);
  void OnRenew(const Renew& renew);

  // The log is another one, in which nobody is known to keep. The rest goes with the next take;
  // what counts the renewals goes on, since each still says when it was sent.
  void ForgetLog() { mToken = 0; }

  // What to publish now, if anything. `mayKeep`: this host has a state that could be the site's.
  std::optional<Entry> Tick(bool mayKeep, Ms now);

  bool IsMine() const { return mToken != 0 && mIsMine; }
  bool IsSure(Ms now) const { return IsMine() && mSureFrom && now - *mSureFrom < kSureFor; }
  Sequence Token() const { return mToken; }
  bool IsAway(Ms now) const { return now - mAnswered > kAnswersWithin; }

  // So long this host has kept the site under its present token, counted only while renewals came
  // back in time: it stands while the log is away.
  Ms Kept() const { return mKept; }
  // Where that clock stands at most at this moment, which Kept() shows only when the renewals that
  // are on their way have come back.
  Ms KeptAtMost(Ms now) const;

 private:
  struct Sent {
    std::uint64_t count = 0;
    Ms at{0};
  };

  std::optional<Entry> Renewal(Ms now);

  const OriginId mOrigin;
  Sequence mToken = 0;
  bool mIsMine = false;
  Ms mAnswered{0};
  bool mHasHeard = false;    // Of the keeper, since the last tick: what is delivered may be old.
  Ms mQuietSince{0};         // The last new renewal, or the end of the last time the log was away.
  Ms mAsked = -kTakeAfter;   // The last own entry.
  std::uint64_t mCount = 0;  // Grows as long as the process lives: each says when it was sent.
  std::deque<Sent> mSent;    // Renewals that have not come back.
  std::optional<Ms> mSureFrom;  // When the last renewal that has come back was sent.
  Ms mKept{0};
};

}  // namespace dorn::site

#endif  // SITE_CORE_LEASE_H_
