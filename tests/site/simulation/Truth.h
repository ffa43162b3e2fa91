// What must hold of a site, checked as it happens. Knows nothing of how the hosts bring it about:
// it sees what they were handed, what they apply, and what they say of it.
#ifndef TESTS_SITE_SIMULATION_TRUTH_H_
#define TESTS_SITE_SIMULATION_TRUTH_H_

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "SharedLog.h"
#include "site/core/Entry.h"
#include "site/core/Node.h"

namespace dorn::site::simulation {

// A change, as it was handed in: by which start of a host, and the how-manieth of it.
struct Handed {
  int start = 0;
  int number = 0;
  bool operator<(const Handed& other) const {
    return start != other.start ? start < other.start : number < other.number;
  }
};

class Truth {
 public:
  // The first thing that did not hold; empty: all did.
  const std::string& Wrong() const { return mWrong; }
  void Fail(const std::string& what) {
    if (mWrong.empty()) mWrong = what;
  }

  // --- changes ---

  void OnHandedIn(const Handed& what, bool isProposal);
  void OnAccepted(const Handed& what);
  void OnRefused(const Handed& what);
  // A host applies its `place`-th change, with that entry.
  void OnApplied(std::size_t place, Sequence sequence, const Handed& what, Sequence token);

  // The log is another one: nothing behind that entry is in it. Where it is empty, the dialogs of
  // a host are the new beginning, with one of the counts of changes that the hosts `show`.
  void OnOtherLog(const SharedLog& log, std::set<std::size_t> show);
  // A host serves that has applied nothing but the beginning and what is in this log.
  void OnBegun(std::size_t applied);
  // A host shows dialogs with so many changes, perhaps of the former log.
  void OnShown(std::size_t applied) { mShown.insert(applied); }

  // So many changes were applied up to that entry, as far as any host has read.
  std::size_t AppliedUpTo(Sequence sequence) const;
  bool IsApplied(const Handed& what) const { return mPlaces.count(what) != 0; }

  // At the end: of each start, what was applied or refused has no holes.
  void CheckOrders();

  // --- sessions ---

  void OnSession(Sequence session, std::uint32_t intervalMs);
  // A keeper says that it has been idle for long enough.
  void OnEndPublished(const SessionEnd& end, Ms now);
  // The log grows: notes when each session was really extended.
  void OnEntered(Sequence sequence, const Entry& entry, Ms now);
  // An end with that sequence has counted.
  void OnEnded(Sequence sequence, const SessionEnd& end);

  std::size_t Applied() const { return mApplied.size(); }
  std::size_t Refused() const { return mRefused.size(); }
  std::size_t Ends() const { return mEnded.size(); }

 private:
  void ForgetSessions(Sequence last);
  void NoteItems(Sequence sequence, const Batch& batch, Ms now);

  struct Order {
    std::uint32_t generation = 0;
    std::uint64_t last = 0;
  };
  struct Application {
    Sequence sequence = 0;
    Handed what;
    Sequence token = 0;
  };

  std::string mWrong;
  std::map<Handed, bool> mHandedIn;   // Whether it is a proposal.
  std::vector<Application> mApplied;  // In the order of the first host that was there.
  std::map<Handed, std::size_t> mPlaces;
  std::set<Handed> mAccepted, mRefused;
  std::set<Handed> mLost;  // With a log that is no more.
  std::optional<std::size_t> mBegin =
      0;                         // So many changes were applied before the first of the log.
  std::set<std::size_t> mShown;  // One of which it is.
  Sequence mLastToken = 0;
  std::map<Sequence, std::uint32_t> mIntervals;
  std::map<std::pair<Sequence, Sequence>, Ms> mEndsPublished;  // By session and extension.
  std::map<OriginId, Order> mOrders;
  std::map<Sequence, Ms> mExtended;       // When a session was extended last, and
  std::map<Sequence, Ms> mExtendedAtEnd;  // how that was when an end came into the log.
  std::map<Sequence, Sequence> mEnded;    // Sessions, with the entries that have ended them.
};

}  // namespace dorn::site::simulation

#endif  // TESTS_SITE_SIMULATION_TRUTH_H_
