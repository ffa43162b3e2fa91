#include "site/core/SessionClock.h"

namespace dorn::site {

bool SessionClock::MayTell(Sequence session, std::uint32_t intervalMs, Ms now) const {
  if (intervalMs == 0) return false;
  const auto told = mToldAt.find(session);
  return told == mToldAt.end() || 4 * (now - told->second) >= Ms(intervalMs);
}

void SessionClock::OnEnd(Sequence session) {
  mToldAt.erase(session);
  mUsed.erase(session);
  mUsedAt.erase(session);
}

void SessionClock::OnTake() {
  mUsed.clear();
  mUsedAt.clear();
  mAskedAt = Ms(0);
}

void SessionClock::Tick(Ms keptAtMost) {
  for (const Sequence session : mUsed) mUsedAt[session] = keptAtMost;
  mUsed.clear();
}

std::vector<SessionEnd> SessionClock::Due(const State& state, Ms kept) {
  std::vector<SessionEnd> due;
  if (kept <= mAskedAt) return due;
  mAskedAt = kept;
  for (const auto& [sequence, session] : state.Sessions()) {
    if (session.start.intervalMs == 0) continue;
    const auto used = mUsedAt.find(sequence);
    const Ms idle = kept - (used == mUsedAt.end() ? Ms(0) : used->second);
    const Ms interval(session.start.intervalMs);
    if (4 * idle >= 5 * interval) due.push_back({state.Token(), sequence, session.extended});
  }
  return due;
}

}  // namespace dorn::site
