// How the sessions of a site live on and end.
//
// A host tells the log at most four times an interval that a session was used. The keeper ends it
// when its own clock has counted an interval and a quarter since the last extension that came back;
// the quarter makes up for what was not told. The keeper's clock counts only while the log is there
// (Lease::Kept), so that no session ends because an extension could not travel.
#ifndef SITE_CORE_SESSIONCLOCK_H_
#define SITE_CORE_SESSIONCLOCK_H_

#include <map>
#include <set>
#include <vector>

#include "site/core/Entry.h"
#include "site/core/Node.h"
#include "site/core/State.h"

namespace dorn::site {

class SessionClock {
 public:
  // A command of the session came: whether that is to be told now.
  bool MayTell(Sequence session, std::uint32_t intervalMs, Ms now) const;
  void OnTold(Sequence session, Ms now) { mToldAt[session] = now; }

  // It was started or extended by an entry that has come back.
  void OnUsed(Sequence session) { mUsed.insert(session); }
  void OnEnd(Sequence session);
  // Somebody keeps the site anew; from then on all sessions count from the beginning.
  void OnTake();

  // To be called in each tick, with Lease::KeptAtMost(): what was used since the last one counts as
  // used now. A session lives too long rather than too short.
  void Tick(Ms keptAtMost);

  // The sessions that the keeper is to end. Says it again each time that the clock, Lease::Kept(),
  // has moved on.
  std::vector<SessionEnd> Due(const State& state, Ms kept);

 private:
  std::map<Sequence, Ms> mToldAt;  // By this host, its own time.
  std::set<Sequence> mUsed;        // By anybody, since the last tick.
  std::map<Sequence, Ms> mUsedAt;  // By anybody, as the keeper's clock stood; missing: 0.
  Ms mAskedAt{0};
};

}  // namespace dorn::site

#endif  // SITE_CORE_SESSIONCLOCK_H_
