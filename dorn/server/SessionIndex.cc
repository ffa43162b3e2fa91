#include "dorn/server/SessionIndex.h"

#include "dorn/server/App.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQSession.h"

namespace dorn {

namespace {

// Up to so many sessions are walked: that is as cheap, and exact whatever was written by hand.
constexpr std::size_t kFewSessions = 32;

constexpr std::size_t kMinOrphanLimit = 1024;

std::uint64_t gSessionSteps = 0;

// Never destroyed: sessions may be used until the process ends.
SessionIndex& TheSessionIndex() {
  static auto* const index = new SessionIndex;
  return *index;
}

bool HasTimerId(const VQSession* session, unsigned int timerId) {
  return session != nullptr && session->mTimerId == timerId;
}

}  // namespace

SessionIndex& SessionIndex::Of(const VQSessionList& list) {
  SessionIndex& index = TheSessionIndex();
  if (index.mList != &list) {
    index.Clear();
    index.mList = &list;
  }
  return index;
}

SessionIndex::Map::const_iterator SessionIndex::Find(unsigned int timerId) {
  const Map& sessions = mList->mSessionList;
  if (sessions.size() <= kFewSessions) {
    mOrphans.erase(timerId);
    return Walk(timerId);
  }
  if (mSize != sessions.size()) Rebuild();
  const auto found = Look(timerId);
  if (found != sessions.end() || (!mIsShared && mOrphans.erase(timerId) != 0)) return found;
  Rebuild();
  return Look(timerId);
}

SessionIndex::Map::const_iterator SessionIndex::Walk(unsigned int timerId) const {
  const Map& sessions = mList->mSessionList;
  auto it = sessions.begin();
  while (it != sessions.end() && !HasTimerId(it->second, timerId)) ++it;
  return it;
}

SessionIndex::Map::const_iterator SessionIndex::Look(unsigned int timerId) const {
  const Map& sessions = mList->mSessionList;
  const auto key = mKeys.find(timerId);
  if (key == mKeys.end()) return sessions.end();
  const auto found = sessions.find(key->second);
  return found != sessions.end() && HasTimerId(found->second, timerId) ? found : sessions.end();
}

// In the order of the keys, so that the first of several sessions with one timer stays.
void SessionIndex::Rebuild() {
  const Map& sessions = mList->mSessionList;
  mKeys.clear();
  mIsShared = false;
  for (const auto& [key, session] : sessions) {
    ++gSessionSteps;
    if (session != nullptr && !mKeys.emplace(session->mTimerId, key).second) mIsShared = true;
  }
  mSize = sessions.size();
}

void SessionIndex::Added(std::size_t size, const KZString& key, unsigned int timerId) {
  if (mSize != size) return;
  mSize = mList->mSessionList.size();
  const auto [known, isNew] = mKeys.try_emplace(timerId, key);
  if (isNew) return;
  mIsShared = true;
  if (key < known->second) known->second = key;
}

void SessionIndex::Erased(std::size_t size, const KZString& key, unsigned int timerId) {
  if (mSize == size) mSize = mList->mSessionList.size();
  const auto known = mKeys.find(timerId);
  if (known != mKeys.end() && known->second == key) mKeys.erase(known);
}

void SessionIndex::Removed(unsigned int timerId) {
  mOrphans.insert(timerId);
  if (mOrphans.size() > mOrphanLimit) DropCancelled();
}

// Some never had a timer, and a host may cancel that of a session that it removes.
void SessionIndex::DropCancelled() {
  for (auto it = mOrphans.begin(); it != mOrphans.end();) {
    it = App().HasTimer(*it) ? std::next(it) : mOrphans.erase(it);
  }
  mOrphanLimit = 2 * mOrphans.size() + kMinOrphanLimit;
}

void SessionIndex::Clear() { *this = SessionIndex(); }

void SessionIndex::Forget(const VQSessionList& list) {
  if (TheSessionIndex().mList == &list) TheSessionIndex().Clear();
}

std::uint64_t SessionIndex::Steps() { return gSessionSteps; }

}  // namespace dorn
