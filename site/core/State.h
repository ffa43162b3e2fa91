// What every host of a site knows alike besides the dialogs: which items of each origin were
// applied, who keeps the site, its sessions, and how far its snapshots are. Decides of each entry,
// from nothing but the entries before it, whether it counts.
//
// What holds behind every entry, on all hosts:
// - of each origin the items 1 to `last` of the present generation were applied, each once;
// - what names a token counts only if it is that of the last take that counted;
// - before the first manifest no item counts.
#ifndef SITE_CORE_STATE_H_
#define SITE_CORE_STATE_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "site/core/Bytes.h"
#include "site/core/Entry.h"
#include "site/core/Rules.h"

namespace dorn::site {

// So many hosts' starts are remembered; of older ones a doubled entry would count again.
inline constexpr std::size_t kMaxOrigins = 4096;

// What an entry has changed.
struct Verdict {
  bool counts = false;  // The entry; of a batch: at least one item was new.
  // Of a batch only. Items before `firstNew` are repetitions; of those behind it, `applied` says
  // which count (the others are fenced). `isGap`: items before the batch are missing.
  std::size_t firstNew = 0;
  std::vector<bool> applied;
  bool isGap = false;
  // A session that gave way to one of the same identifier; 0: none.
  Sequence replaced = 0;
};

class State {
 public:
  struct Origin {
    std::uint32_t generation = 0;
    std::uint64_t last = 0;    // The last applied item.
    std::uint64_t before = 0;  // The last applied item of the generation before.
    Sequence used = 0;         // The last entry of it that counted.
  };
  struct KnownSession {
    SessionStart start;
    Sequence extended = 0;  // The entry that started or extended it last.
  };

  explicit State(const Rules& rules) : mRules(rules) {}

  Verdict Apply(Sequence sequence, const Entry& entry);

  // Zeros for an unknown one.
  Origin FindOrigin(const OriginId& origin) const;
  Sequence FindSession(const Digest& sid) const;
  const KnownSession* Session(Sequence session) const;
  const std::map<Sequence, KnownSession>& Sessions() const { return mSessions; }

  Sequence Token() const { return mToken; }  // 0: nobody has ever kept.
  const OriginId& Keeper() const { return mKeeper; }
  std::uint64_t Renewals() const { return mRenewals; }
  std::uint64_t Marks() const { return mMarks; }
  bool HasBegun() const { return mNewestMark != 0; }
  Sequence NewestMark() const { return mNewestMark; }  // With a manifest that counted.
  Sequence OlderMark() const { return mOlderMark; }    // The one before it; 0: none.

  // The same bytes on hosts that have applied the same entries.
  void Save(ByteWriter& out) const;
  // What is wrong makes the reader fail; the state is unusable then.
  void Load(ByteReader& in);

 private:
  Verdict Count(Sequence sequence, const Batch& batch);
  Verdict Count(Sequence sequence, const NewGeneration& next);
  Verdict Count(Sequence sequence, const Take& take);
  Verdict Count(Sequence sequence, const Renew& renew);
  Verdict Count(Sequence sequence, const Mark& mark);
  Verdict Count(Sequence sequence, const Manifest& manifest);
  Verdict Count(Sequence sequence, const SessionEnd& end);
  bool CountItem(Sequence sequence, const Change& change, Verdict& verdict);
  bool CountItem(Sequence sequence, const SessionStart& start, Verdict& verdict);
  bool CountItem(Sequence sequence, const SessionExtend& extend, Verdict& verdict);

  bool IsFenced(Sequence token) const { return mRules.fencing && (token == 0 || token != mToken); }
  // The origin's record, which becomes the one that was used last.
  Origin& Use(const OriginId& origin, Sequence sequence);
  void EndSession(Sequence session);

  Rules mRules;
  std::map<OriginId, Origin> mOrigins;
  std::map<Sequence, OriginId> mOriginsByUse;  // An entry uses one origin at most.
  std::map<Sequence, KnownSession> mSessions;
  std::map<Digest, Sequence> mSessionsBySid;
  OriginId mKeeper{};
  Sequence mToken = 0;
  std::uint64_t mRenewals = 0;  // The count of the last renewal, and of the last mark, under
  std::uint64_t mMarks = 0;     // this token.
  Sequence mNewestMark = 0;
  Sequence mOlderMark = 0;
};

}  // namespace dorn::site

#endif  // SITE_CORE_STATE_H_
