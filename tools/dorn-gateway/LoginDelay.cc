#include "tools/dorn-gateway/LoginDelay.h"

#include <algorithm>

namespace dorn::gateway {

Ms LoginDelay::DelayAfter(int failures) const {
  if (failures < kFree) return Ms(0);
  Ms delay = mFirst;
  for (int i = kFree; i < failures && delay < mFirst * kMaxFactor; ++i) delay *= 2;
  return delay;
}

LoginDelay::Failures& LoginDelay::Of(const std::string& address, Ms now) {
  if (mFailures.size() >= kMaxAddresses && mFailures.count(address) == 0) Forget(now);
  Failures& failures = mFailures[address];
  if (now - failures.mLast > kForgottenAfter) failures.mCount = 0;
  return failures;
}

bool LoginDelay::Enter(const std::string& address, Ms now) {
  Failures& failures = Of(address, now);
  if (failures.mCount < kFree && failures.mCount + failures.mUnderWay >= kFree) return false;
  ++failures.mUnderWay;
  return true;
}

void LoginDelay::Leave(const std::string& address) {
  const auto found = mFailures.find(address);
  if (found == mFailures.end()) return;
  Failures& failures = found->second;
  if (failures.mUnderWay > 0) --failures.mUnderWay;
  if (failures.mUnderWay == 0 && failures.mCount == 0) mFailures.erase(found);
}

std::optional<Ms> LoginDelay::Begin(const std::string& address, Ms now) {
  const auto found = mFailures.find(address);
  if (found == mFailures.end()) return Ms(0);
  Failures& failures = found->second;
  if (now - failures.mLast > kForgottenAfter) failures.mCount = 0;
  const Ms delay = DelayAfter(failures.mCount);
  if (delay == Ms(0)) return delay;
  const Ms start = std::max(now, failures.mNext) + delay;
  if (start - now > mLongestWait) return std::nullopt;
  failures.mNext = start;
  return start - now;
}

void LoginDelay::CountFailure(const std::string& address, Ms now) {
  Failures& failures = Of(address, now);
  ++failures.mCount;
  failures.mLast = now;
}

void LoginDelay::CountSuccess(const std::string& address) {
  const auto found = mFailures.find(address);
  if (found == mFailures.end()) return;
  found->second.mCount = 0;
  if (found->second.mUnderWay == 0) mFailures.erase(found);
}

// What is old goes; if nothing is, what failed longest ago. Attempts under way are not forgotten:
// there are no more of them than pages.
void LoginDelay::Forget(Ms now) {
  auto oldest = mFailures.end();
  for (auto entry = mFailures.begin(); entry != mFailures.end();) {
    const Failures& failures = entry->second;
    if (failures.mUnderWay == 0 && now - failures.mLast > kForgottenAfter) {
      entry = mFailures.erase(entry);
      continue;
    }
    if (failures.mUnderWay == 0 &&
        (oldest == mFailures.end() || failures.mLast < oldest->second.mLast)) {
      oldest = entry;
    }
    ++entry;
  }
  if (mFailures.size() >= kMaxAddresses && oldest != mFailures.end()) mFailures.erase(oldest);
}

}  // namespace dorn::gateway
