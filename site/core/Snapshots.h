// Snapshots of a site: their bytes, when the keeper makes one, and by what every host sees that its
// own state is the same.
//
// The keeper publishes a mark. Each host takes the digest of its state behind that entry; the
// keeper also stores the bytes, and says so by a manifest, which comes back with the keeper's
// digest.
#ifndef SITE_CORE_SNAPSHOTS_H_
#define SITE_CORE_SNAPSHOTS_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "site/core/Entry.h"
#include "site/core/Node.h"
#include "site/core/State.h"
#include "site/core/Transport.h"

namespace dorn::site {

inline constexpr std::uint64_t kMarkAfterChanges = 10'000;
inline constexpr Ms kMarkAfter{60'000};  // If anything has changed.
inline constexpr Ms kMarkAtMostEach{5000};
inline constexpr Ms kForgetAfter{60'000};    // Who reads the old log may go on so long.
inline constexpr Ms kStoringAtMost{60'000};  // Then another one is made.

std::string WriteSnapshot(const State& state, std::string_view dialogs);

// The state, and the bytes of the dialogs within `bytes`. Nothing when they are broken.
struct SnapshotParts {
  State state;
  std::string_view dialogs;
};
std::optional<SnapshotParts> ReadSnapshot(std::string_view bytes, const Rules& rules);

class Snapshots {
 public:
  explicit Snapshots(Transport& transport) : mTransport(transport) {}

  // --- every host ---

  // So many items that count in a snapshot have had their turn.
  void OnChanged(std::uint64_t items) { mChanges += items; }
  void Remember(Sequence mark, const Digest& digest);
  // Of this host's own state behind that mark, if it is known.
  std::optional<Digest> DigestAt(Sequence mark) const;
  void OnMark(Ms now);
  // There is none any more.
  void OnGone() { mAreGone = true; }
  // The marks that are known are those of another log.
  void ForgetLog() { mKnown.clear(); }

  // --- the keeper ---

  // Stores what it has saved behind its own mark.
  void Store(Sequence mark, std::string bytes, const Digest& digest, const Digest& resources,
             Ms now);
  void OnStored(Sequence mark, bool isStored);
  // The newest manifest, which counted, and the one before it.
  void OnManifest(Sequence newest, Sequence older, Ms now);
  // Somebody else keeps the site, or this host does so anew.
  void OnTake();

  // What the keeper is to publish now.
  std::optional<Entry> Tick(const State& state, Ms now);
  // Lets the log forget what nobody needs any more.
  void Forget(Ms now);

 private:
  struct Known {
    Sequence mark = 0;
    Digest digest{};
  };
  struct Making {
    Manifest manifest;
    std::string bytes;
    Ms since{0};
    bool isStored = false, isStoring = true;
    Ms askedAt{0};
  };
  struct Old {
    Sequence first = 0;
    Ms from{0};
  };

  bool IsMarkDue(const State& state, Ms now) const;
  std::optional<Entry> GoOnMaking(const State& state, Ms now);

  Transport& mTransport;
  std::deque<Known> mKnown;  // Of the last few marks.
  std::uint64_t mChanges = 0;
  bool mAreGone = false;
  Ms mMarkedAt{0};             // The last mark that came back, of anybody,
  std::optional<Ms> mAskedAt;  // and the last that this keeper published.
  std::optional<Making> mMaking;
  std::deque<Old> mOld;
};

}  // namespace dorn::site

#endif  // SITE_CORE_SNAPSHOTS_H_
