#include "tools/dorn-gateway/LoginDelay.h"

#include <algorithm>
#include <iterator>

namespace dorn::gateway {

Ms LoginDelay::DelayAfter(int failures) const {
  if (failures < kFree) return Ms(0);
  Ms delay = mFirst;
  for (int i = kFree; i < failures && delay < mFirst * kMaxFactor; ++i) delay *= 2;
  return delay;
}

std::optional<Ms> LoginDelay::Begin(const std::string& address, Ms now) {
  const auto found = mFailures.find(address);
  if (found == mFailures.end()) return Ms(0);
  Failures& failures = found->second;
  if (now - failures.mLast > kForgottenAfter) {
    mFailures.erase(found);
    return Ms(0);
  }
  const Ms delay = DelayAfter(failures.mCount);
  if (delay == Ms(0)) return delay;
  const Ms start = std::max(now, failures.mNext) + delay;
  if (start - now > mLongestWait) return std::nullopt;
  failures.mNext = start;
  return start - now;
}

void LoginDelay::CountFailure(const std::string& address, Ms now) {
  if (mFailures.size() >= kMaxAddresses && mFailures.count(address) == 0) Forget(now);
  Failures& failures = mFailures[address];
  ++failures.mCount;
  failures.mLast = now;
}

// What is old goes; if nothing is, what failed longest ago.
void LoginDelay::Forget(Ms now) {
  for (auto entry = mFailures.begin(); entry != mFailures.end();) {
    entry = now - entry->second.mLast > kForgottenAfter ? mFailures.erase(entry) : std::next(entry);
  }
  if (mFailures.size() < kMaxAddresses) return;
  mFailures.erase(std::min_element(
      mFailures.begin(), mFailures.end(),
      [](const auto& a, const auto& b) { return a.second.mLast < b.second.mLast; }));
}

}  // namespace dorn::gateway
