// The engine as it was measured: one ordered log, and little that can be believed about it.
//
// - What is published comes into the log late, twice, out of order or never, at random.
// - In an election nothing comes in. Part of what was published meanwhile comes in behind it, long
//   after its sender has given it up.
// - A follower that is stopped forwards a second time, when it wakes up, what it had forwarded.
// - Snapshots are stored in pieces, of which one may be missing for a while.
// - It may become another log: without its end, put back to a back-up, or empty.
#ifndef TESTS_SITE_SIMULATION_SHAREDLOG_H_
#define TESTS_SITE_SIMULATION_SHAREDLOG_H_

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Random.h"
#include "site/core/Node.h"
#include "site/core/Transport.h"

namespace dorn::site::simulation {

class SharedLog {
 public:
  struct Stored {
    std::string bytes;
    Ms at{0};
    std::uint64_t stamp = 0;  // No other entry has it, in whatever log.
  };
  // How bad the times are, in thousandths.
  struct Weather {
    int lost = 0, doubled = 0, late = 0;
  };

  explicit SharedLog(Random& random) : mRandom(random) {}

  // Entries whose time has come go into the log.
  void Step(Ms now);

  void Publish(const std::string& bytes, Ms now);

  // --- faults ---
  Weather weather;
  void BeginElection(Ms until) { mElectionUntil = until; }
  void StopFollower(Ms until) { mFollowerUntil = until; }
  void LoseAPiece(Ms until) { mPieceMissingUntil = until; }
  void CalmDown(Ms now);

  // Another log is the same up to an entry, after which none is left. It is away until then, and
  // what was on its way is gone with the brokers.
  void LoseEnd(Ms since, Ms until);
  void Empty(bool alsoSnapshots, Ms until);
  void BackUp() { mBackUp = {Last(), mFirstKept, mSnapshots}; }
  bool HasBackUp() const { return mBackUp.last != 0; }
  void PutBack(Ms until);

  bool IsAway() const { return mNow < mElectionUntil; }

  // Sees each entry that comes in.
  std::function<void(Sequence, const Entry&)> onEnter;

  // --- what it holds ---
  Sequence Last() const { return mEntries.size(); }
  Sequence FirstKept() const { return mFirstKept; }
  const Stored& At(Sequence sequence) const { return mEntries[sequence - 1]; }
  std::optional<TransportListener::NewestManifest> NewestManifest() const;
  void Forget(Sequence first);
  void Store(Sequence mark, const std::string& bytes) { mSnapshots[mark] = bytes; }
  std::optional<std::string> Fetch(Sequence mark) const;

 private:
  // What the copied folders of the brokers hold; with the entries that the log has still.
  struct Copy {
    Sequence last = 0;
    Sequence firstKept = 1;
    std::map<Sequence, std::string> snapshots;
  };

  void CutAt(Sequence last, Ms until);
  void Arrive(const std::string& bytes, Ms at);
  void Enter(const std::string& bytes);
  void ForwardAgain();

  Random& mRandom;
  Ms mNow{0};
  std::vector<Stored> mEntries;
  Sequence mFirstKept = 1;
  std::uint64_t mLastStamp = 0;
  Copy mBackUp;
  std::multimap<Ms, std::string> mOnTheWay;  // By when they arrive.
  std::map<Sequence, std::string> mSnapshots;
  Sequence mNewestManifest = 0;
  Ms mElectionUntil{0};
  Ms mFollowerUntil{0};
  std::vector<std::string> mForwarded;  // By the follower that is stopped.
  Ms mPieceMissingUntil{0};
};

}  // namespace dorn::site::simulation

#endif  // TESTS_SITE_SIMULATION_SHAREDLOG_H_
