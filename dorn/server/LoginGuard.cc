#include "dorn/server/LoginGuard.h"

#include <algorithm>

namespace dorn {

namespace {

std::string_view Counted(std::string_view id) { return id.substr(0, LoginGuard::kCountedIdBytes); }

}  // namespace

void FailureCounts::Count(std::string_view name) {
  const auto found = mIndex.find(name);
  if (found != mIndex.end()) {
    mEntries.splice(mEntries.begin(), mEntries, found->second);
    ++found->second->count;
    return;
  }
  mEntries.push_front({std::string(name), 1});
  mIndex[mEntries.front().name] = mEntries.begin();
  if (mEntries.size() > kMost) Forget(mEntries.back().name);
}

void FailureCounts::Forget(std::string_view name) {
  const auto found = mIndex.find(name);
  if (found == mIndex.end()) return;
  const auto entry = found->second;
  mIndex.erase(found);  // Before the name that it looks at.
  mEntries.erase(entry);
}

std::int64_t FailureCounts::Of(std::string_view name) const {
  const auto found = mIndex.find(name);
  return found != mIndex.end() ? found->second->count : 0;
}

unsigned long LoginGuard::DelayMs(std::string_view id, unsigned int connection) const {
  const std::int64_t wrong =
      std::max(mById.Of(Counted(id)), mByConnection.Of(std::to_string(connection)));
  if (wrong < kFreeAttempts) return 0;
  unsigned long delayMs = kFirstDelayMs;
  for (std::int64_t i = kFreeAttempts; i < wrong && delayMs < kLongestDelayMs; ++i) delayMs *= 2;
  return delayMs;
}

void LoginGuard::CountWrong(std::string_view id, unsigned int connection) {
  mById.Count(Counted(id));
  mByConnection.Count(std::to_string(connection));
}

void LoginGuard::CountRight(std::string_view id, unsigned int connection) {
  mById.Forget(Counted(id));
  ForgetConnection(connection);
}

void LoginGuard::ForgetConnection(unsigned int connection) {
  mByConnection.Forget(std::to_string(connection));
}

}  // namespace dorn
