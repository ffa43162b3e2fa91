// What carries a site's log and keeps its snapshots, as seen from the loop thread.
//
// Nothing here blocks. Whoever implements it hands everything to the engine on a thread of its own,
// with a bounded queue each way, and calls the listener on the loop thread alone, never from inside
// a call of Transport.
#ifndef SITE_CORE_TRANSPORT_H_
#define SITE_CORE_TRANSPORT_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "site/core/Entry.h"

namespace dorn::site {

// Snapshots are stored in pieces of so many bytes; only the last is shorter.
inline constexpr std::size_t kPieceBytes = std::size_t{256} * 1024;

class TransportListener {
 public:
  virtual ~TransportListener() = default;

  // The engine was reached for the first time, or what was to be read next was forgotten meanwhile:
  // the newest manifest that the log holds, with its own sequence, if there is one. Nothing more is
  // delivered before Read() is called.
  struct NewestManifest {
    Sequence sequence = 0;
    std::string entry;
  };
  virtual void OnOpened(const std::optional<NewestManifest>& newest) = 0;

  // The same, but of another log than the one that was read until now: it was deleted, or has lost
  // its end, or was put back to what it was long ago. What came before is not in it.
  virtual void OnOtherLog(const std::optional<NewestManifest>& newest) { OnOpened(newest); }

  // The next entry of the log. Each comes once, without a gap, in order; only what was forgotten
  // meanwhile is missing, which the sequence shows.
  virtual void OnEntry(Sequence sequence, std::string_view entry) = 0;

  // The entries before `next` that have not come never will, to nobody: the engine has lost them
  // from the midst of the log.
  virtual void OnHole(Sequence /*next*/) {}

  // The log has been read up to what it held when it was asked; calls itself again after each
  // Read().
  virtual void OnCaughtUp() = 0;

  // The engine that orders the log has answered just now: an entry, an acknowledgement, a
  // heartbeat. At most ten times a second.
  virtual void OnAnswered() = 0;

  // All pieces of the snapshot of `mark` are stored, or not.
  virtual void OnStored(Sequence mark, bool isStored) = 0;

  // The engine keeps no snapshot at all. Said again while that holds, each few seconds; before the
  // first one is stored as well.
  virtual void OnNoSnapshots() {}

  // The pieces of the snapshot of `mark`, joined; nothing if one was missing.
  virtual void OnFetched(Sequence mark, std::optional<std::string> bytes) = 0;
};

class Transport {
 public:
  virtual ~Transport() = default;

  // Hands an entry to the engine. False: it was never handed over and never will be. True says
  // little: it may be in the log soon, late, twice or never.
  virtual bool Publish(std::string entry) = 0;

  // Delivers the entries behind `last` from now on, and none of those before: also nothing that was
  // on its way from an earlier reading. What was forgotten is left out behind 0, so that it is the
  // first kept entry that comes; elsewhere OnOpened() is called instead.
  virtual void Read(Sequence last) = 0;

  // Stores a snapshot in pieces.
  virtual void Store(Sequence mark, std::string bytes) = 0;
  virtual void Fetch(Sequence mark, std::uint32_t pieces) = 0;

  // Forgets the entries before `first` and the snapshots of marks before it.
  virtual void Forget(Sequence first) = 0;
};

}  // namespace dorn::site

#endif  // SITE_CORE_TRANSPORT_H_
