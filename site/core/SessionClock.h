// How the sessions of a site live on and end.
//
// A host tells the log at most four times an interval that a session was used. The keeper ends it
// when its own clock has counted an interval and a quarter since the last extension that came back;
// the quarter makes up for what was not told. The keeper's clock counts only while the log is there
// (Lease::Kept), so that no session ends because an extension could not travel.
#ifndef SITE_CORE_SESSIONCLOCK_H_
#define SITE_CORE_SESSIONCLOCK_H_

#include <map>
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

  // Entries that counted have come back. `kept` as Lease::Kept() says.
  void OnUsed(Sequence session, Ms kept) { mUsedAt[session] = kept; }
  void OnEnd(Sequence session);
  // Somebody keeps the site anew; from then on all sessions count from the beginning.
  void OnTake();

  // The sessions that the keeper is to end. To be asked in each tick; says it again each time that
  // the clock has moved on.
  std::vector<SessionEnd> Due(const State& state, Ms kept);

 private:
  std::map<Sequence, Ms> mToldAt;  // By this host, its own time.
  std::map<Sequence, Ms> mUsedAt;  // By anybody, as the keeper's clock stood; missing: 0.
  Ms mAskedAt{0};
};

}  // namespace dorn::site

#endif  // SITE_CORE_SESSIONCLOCK_H_
