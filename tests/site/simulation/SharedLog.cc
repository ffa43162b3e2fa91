#include "SharedLog.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace dorn::site::simulation {

void SharedLog::Step(Ms now) {
  mNow = now;
  if (!mForwarded.empty() && now >= mFollowerUntil) ForwardAgain();
  while (!mOnTheWay.empty() && mOnTheWay.begin()->first <= now) {
    const std::string bytes = std::move(mOnTheWay.extract(mOnTheWay.begin()).mapped());
    if (!IsAway()) {
      Enter(bytes);
    } else if (mRandom.Chance(700)) {
      Arrive(bytes, mElectionUntil + mRandom.Ms(0, 300));
    }
  }
}

void SharedLog::Publish(const std::string& bytes, Ms now) {
  if (now < mFollowerUntil && mRandom.Chance(300)) mForwarded.push_back(bytes);
  if (mRandom.Chance(weather.doubled)) Arrive(bytes, now + mRandom.Ms(10, 20'000));
  if (mRandom.Chance(weather.lost)) return;
  const bool isLate = mRandom.Chance(weather.late);
  Arrive(bytes, now + (isLate ? mRandom.Ms(20, 3000) : mRandom.Ms(1, 5)));
}

void SharedLog::Arrive(const std::string& bytes, Ms at) { mOnTheWay.emplace(at, bytes); }

void SharedLog::Enter(const std::string& bytes) {
  mEntries.push_back({bytes, mNow, ++mLastStamp});
  const auto entry = DecodeEntry(bytes);
  if (std::holds_alternative<Manifest>(*entry)) mNewestManifest = Last();
  if (onEnter) onEnter(Last(), *entry);
}

void SharedLog::ForwardAgain() {
  for (const std::string& bytes : std::exchange(mForwarded, {})) {
    Arrive(bytes, mNow + mRandom.Ms(0, 50));
  }
}

void SharedLog::CalmDown(Ms now) {
  weather = {};
  mElectionUntil = std::min(mElectionUntil, now);
  mFollowerUntil = std::min(mFollowerUntil, now);
  mPieceMissingUntil = std::min(mPieceMissingUntil, now);
}

void SharedLog::LoseEnd(Ms since, Ms until) {
  Sequence last = Last();
  while (last > 0 && At(last).at >= since) --last;
  CutAt(last, until);
}

void SharedLog::Empty(bool alsoSnapshots, Ms until) {
  CutAt(0, until);
  mFirstKept = 1;
  if (alsoSnapshots) mSnapshots.clear();
}

void SharedLog::PutBack(Ms until) {
  const Copy copy = mBackUp;
  CutAt(copy.last, until);
  mFirstKept = copy.firstKept;
  mSnapshots = copy.snapshots;
}

void SharedLog::CutAt(Sequence last, Ms until) {
  mEntries.resize(last);
  mFirstKept = std::min(mFirstKept, last + 1);
  mOnTheWay.clear();
  mForwarded.clear();
  mElectionUntil = until;
  if (mBackUp.last > last) mBackUp = {};  // Its entries are another log's.
  mNewestManifest = last;
  const auto isManifest = [this](Sequence at) { return IsManifest(At(at).bytes); };
  while (mNewestManifest > 0 && !isManifest(mNewestManifest)) --mNewestManifest;
}

std::optional<TransportListener::NewestManifest> SharedLog::NewestManifest() const {
  if (mNewestManifest == 0) return std::nullopt;
  return TransportListener::NewestManifest{mNewestManifest, At(mNewestManifest).bytes};
}

void SharedLog::Forget(Sequence first) {
  mFirstKept = std::max(mFirstKept, std::min(first, Last() + 1));
  mSnapshots.erase(mSnapshots.begin(), mSnapshots.lower_bound(first));
}

std::optional<std::string> SharedLog::Fetch(Sequence mark) const {
  const auto found = mSnapshots.find(mark);
  if (found == mSnapshots.end() || mNow < mPieceMissingUntil) return std::nullopt;
  return found->second;
}

}  // namespace dorn::site::simulation
