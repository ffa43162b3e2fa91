// One host's part in its site: what it hands to the log, what it does with what comes back, and
// whether it keeps the site. Loop thread only; knows no clock, socket or thread: it is told the
// time and the entries, so that a test can play years of a site in a second.
#ifndef SITE_CORE_NODE_H_
#define SITE_CORE_NODE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "site/core/Entry.h"
#include "site/core/Transport.h"

namespace dorn::site {

// Of a clock that never goes back and counts on while the process is stopped (CLOCK_BOOTTIME).
using Ms = std::chrono::milliseconds;

// Something that this host has handed in, until its outcome is known; never 0, never used twice.
using Ticket = std::uint64_t;

// The host's dialogs, as the node sees them.
class SharedState {
 public:
  virtual ~SharedState() = default;

  // The next change of the site; the same on every host. `mine` is the ticket if it was handed in
  // here.
  virtual void Apply(Sequence sequence, const Change& change, std::optional<Ticket> mine) = 0;

  // The exact bytes of all dialogs, the same on hosts that have applied the same.
  virtual std::string Save() = 0;

  // Takes over what Save() of another host has written. False, and nothing is changed, when the
  // bytes are broken.
  virtual bool Load(std::string_view bytes) = 0;

  // False while this host lacks something that the site has, so that what it saves is not what the
  // site knows: it does not keep the site then.
  virtual bool IsWhole() const { return true; }

  // Whether Load() of any host takes these bytes, which Save() has written.
  virtual bool IsLoadable(std::string_view /*bytes*/) { return true; }

  // Of the resource files that this host would begin with.
  virtual Digest Resources() = 0;
};

// What the host hears beside it. May hand in more from within each call.
class NodeListener {
 public:
  virtual ~NodeListener() = default;

  // Changes are taken from now on, or no longer: before the first snapshot, and while another one
  // is loaded.
  virtual void OnServing(bool isServing) = 0;

  // Whether the log answers. False for more than 15 s: the health check should fail.
  virtual void OnLogAway(bool isAway) = 0;

  // Nobody knows yet what became of it: 2 s without an answer.
  virtual void OnUnknown(Ticket ticket) = 0;

  // It was applied nowhere and never will be: it was not handed to the engine, a newer generation
  // has come back before it, or, for a proposal, another host keeps the site by now.
  virtual void OnRefused(Ticket ticket) = 0;

  // It was applied everywhere, but this host was away for so long that it knows the result only
  // from a snapshot: Apply() or OnSessionStart() is not called with it any more.
  virtual void OnPassed(Ticket /*ticket*/) {}

  // A session is the site's now, known by `session` from here on; `mine` if it was handed in here.
  virtual void OnSessionStart(Sequence session, const SessionStart& start,
                              std::optional<Ticket> mine) = 0;
  virtual void OnSessionEnd(Sequence session) = 0;

  // This host keeps the site at the moment; asked in each Tick() in which that is sure.
  virtual void OnKeep() = 0;

  // This host's state differed from the keeper's at that mark. It is loaded anew, at most once a
  // minute; `mustStop` says that it happened again before that, so that the port is to be closed.
  virtual void OnDiverged(Sequence mark, bool mustStop) = 0;

  // One line for the console: an entry that was refused, other resource files, and the like.
  virtual void OnWord(const std::string& line) = 0;
};

struct Rules;

class Node final : public TransportListener {
 public:
  struct Counters {
    std::uint64_t entries = 0;  // That were read.
    std::uint64_t applied = 0;  // Changes.
    std::uint64_t dropped = 0;  // Items and entries that did not count: doubled, late, fenced.
    std::uint64_t refusedEntries = 0;  // Bytes that are no entry of this version.
    std::uint64_t sentAgain = 0;       // Batches.
    std::uint64_t unknown = 0, refused = 0, diverged = 0, takes = 0, snapshots = 0;
  };

  // Nothing is owned but what the node makes itself; the others must outlive it.
  Node(const OriginId& origin, Transport& transport, SharedState& state, NodeListener& listener);
  // The same with a rule taken out, for tests.
  Node(const OriginId& origin, Transport& transport, SharedState& state, NodeListener& listener,
       const Rules& rules);
  ~Node() override;

  // To be called at least ten times a second, with the time that has come.
  void Tick(Ms now);

  // Hands in a change; `change.token` is ignored. Nothing when 1,000 or 8 MB wait, or the oldest
  // has waited for 12 s, or the node does not serve: the change is refused.
  std::optional<Ticket> Submit(Change change);

  // Hands in a change of the keeper. Nothing unless OnKeep() may be called at the moment.
  std::optional<Ticket> Propose(Change change);

  std::optional<Ticket> StartSession(SessionStart start);

  // The session of that identifier's digest, if the site has it; 0 if not.
  Sequence FindSession(const Digest& sid) const;
  // Null for an unknown one. Valid until the next entry.
  const SessionStart* Session(Sequence session) const;

  // A command of the session came. Travels at most four times an interval.
  void ExtendSession(Sequence session);

  // Publishes what was handed in since, as few entries. Called by Tick(), and at the end of a loop
  // pass in which something was handed in.
  void Flush();

  bool IsServing() const;
  bool IsKeeper() const;  // Sure at the moment, as for OnKeep().
  std::size_t Waiting() const;
  const Counters& Count() const;
  Sequence LastApplied() const;
  Sequence Token() const;                 // Of the site's keeper, as far as this host has read.
  std::optional<Ms> SinceAnswer() const;  // Since the log has answered last, at the last Tick().

  void OnOpened(const std::optional<NewestManifest>& newest) override;
  void OnOtherLog(const std::optional<NewestManifest>& newest) override;
  void OnHole(Sequence next) override;
  void OnEntry(Sequence sequence, std::string_view entry) override;
  void OnCaughtUp() override;
  void OnAnswered() override;
  void OnStored(Sequence mark, bool isStored) override;
  void OnNoSnapshots() override;
  void OnFetched(Sequence mark, std::optional<std::string> bytes) override;

 private:
  class Body;
  std::unique_ptr<Body> mBody;
};

}  // namespace dorn::site

#endif  // SITE_CORE_NODE_H_
