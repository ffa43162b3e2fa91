#include "site/core/Lease.h"

#include <algorithm>
#include <utility>

namespace dorn::site {

void Lease::OnTake(Sequence token, const OriginId& keeper, Ms now) {
  if (token <= mToken) return;
  mToken = token;
  mIsMine = keeper == mOrigin;
  mHasHeard = true;
  mSent.clear();
  mSureFrom.reset();
  mKept = Ms(0);
  // The first renewal goes out at once, and a former keeper does not take back in the same breath.
  mAsked = mIsMine ? now - kRenewEach : now;
}

void Lease::OnRenew(const Renew& renew) {
  if (renew.token != mToken) return;
  mHasHeard = true;
  while (!mSent.empty() && mSent.front().count < renew.count) mSent.pop_front();
  if (!IsMine() || mSent.empty() || mSent.front().count != renew.count) return;
  const Ms sentAt = mSent.front().at;
  mSent.pop_front();
  if (mSureFrom && sentAt - *mSureFrom < kSureFor) mKept += sentAt - *mSureFrom;
  mSureFrom = sentAt;
}

Ms Lease::KeptAtMost(Ms now) const {
  // Older renewals are forgotten, so they cannot move the clock any more.
  constexpr Ms kOnTheirWay = kSureFor + kRenewEach;
  return mKept + (mSureFrom ? std::min(now - *mSureFrom, kOnTheirWay) : kOnTheirWay);
}

std::optional<Entry> Lease::Tick(bool mayKeep, Ms now) {
  if (std::exchange(mHasHeard, false) || IsAway(now)) mQuietSince = now;
  if (!mayKeep) return std::nullopt;
  if (IsMine()) return Renewal(now);
  const bool isFree = mToken == 0 || now - mQuietSince >= kTakeAfter;
  if (IsAway(now) || !isFree || now - mAsked < kRenewEach) return std::nullopt;
  mAsked = now;
  return Take{mOrigin, mToken};
}

std::optional<Entry> Lease::Renewal(Ms now) {
  if (now - mAsked < kRenewEach) return std::nullopt;
  mAsked = now;
  // Those that are too old to make sure by coming back are forgotten.
  while (!mSent.empty() && now - mSent.front().at >= kSureFor) mSent.pop_front();
  mSent.push_back({++mCount, now});
  return Renew{mToken, mCount};
}

}  // namespace dorn::site
