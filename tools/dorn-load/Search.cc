#include "tools/dorn-load/Search.h"

#include <algorithm>
#include <cmath>

namespace dorn::load {

void Search::Tell(bool held) {
  if (!mNext) return;
  (held ? mHolds : mFails) = *mNext;
  mNext = Following();
}

std::optional<double> Search::Following() const {
  if (!mFails) {
    if (*mHolds >= kHighest) return std::nullopt;
    return std::min(*mHolds * 2, kHighest);
  }
  if (!mHolds) {
    if (*mFails <= kLowest) return std::nullopt;
    return std::max(*mFails / 2, kLowest);
  }
  if (*mFails <= *mHolds * kClose) return std::nullopt;
  // Rates differ by factors, so the middle is that of factors.
  return std::sqrt(*mHolds * *mFails);
}

}  // namespace dorn::load
