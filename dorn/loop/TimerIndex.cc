#include "dorn/loop/TimerIndex.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace dorn {

struct TimerIndexEntry {
  TimerIndex* mIndex;
  KZTimerList::iterator mTimer;
  TimerIndex::ByTime::iterator mPlace;
  unsigned int mId;  // As it was entered, whatever became of the timer's.
  TimerIndexEntry* mPrevious;
  TimerIndexEntry* mNext;
};

TimerIndex::TimerIndex(KZTimerList& list) : mList(list) {}

TimerIndex::~TimerIndex() { Detach(); }

void TimerIndex::Insert(const KZTimerData& timer) {
  Synchronise();
  auto place = FirstDueFrom(timer.mTime);
  auto next = place != mByTime.end() ? place->second->mTimer : mList.end();
  if (!Fits(next, timer.mTime)) {
    Rebuild();
    place = FirstDueFrom(timer.mTime);
    next = std::find_if(mList.begin(), mList.end(),
                        [&timer](const KZTimerData& other) { return other.mTime >= timer.mTime; });
  }
  Enter(mList.insert(next, timer), place);
}

void TimerIndex::EraseId(unsigned int id) {
  Synchronise();
  for (auto it = FindId(id); it != mById.end(); it = FindId(id)) {
    // The destructor of the timer takes it out of the index.
    mList.erase(it->second->mTimer);
  }
}

void TimerIndex::RestartSingle(std::uint64_t time, unsigned int id) {
  Synchronise();
  const auto found = FindId(id);
  if (found != mById.end() && Move(*found->second, time)) return;
  EraseId(id);
  KZTimerData timer;
  timer.mTime = time;
  timer.mId = id;
  Insert(timer);
}

bool TimerIndex::HasId(unsigned int id) {
  Synchronise();
  return FindId(id) != mById.end();
}

void TimerIndex::MoveFirstTo(KZTimerList& fired) {
  Forget(mList.front());
  fired.splice(fired.end(), mList, mList.begin());
}

// From the last one on, since a timer goes before those of the same time.
void TimerIndex::InsertDue(KZTimerList& unfired) {
  for (; !unfired.empty(); unfired.pop_back()) {
    unfired.back().mInterval = 0;
    Insert(unfired.back());
  }
}

void TimerIndex::Clear() {
  Detach();
  mList.clear();
}

void TimerIndex::Forget(KZTimerData& timer) {
  if (timer.mEntry == nullptr) return;
  TimerIndexEntry* entry = std::exchange(timer.mEntry, nullptr);
  entry->mIndex->Remove(entry);
}

void TimerIndex::Synchronise() {
  if (mByTime.size() != mList.size()) Rebuild();
}

void TimerIndex::Rebuild() {
  Detach();
  for (auto it = mList.begin(); it != mList.end(); ++it) {
    Forget(*it);
    Enter(it, mByTime.end());
  }
}

// Whoever writes a listed timer's public id leaves its entry under the old one.
TimerIndex::ById::iterator TimerIndex::FindId(unsigned int id) {
  const auto found = mById.find(id);
  if (found == mById.end() || found->second->mTimer->mId == id) return found;
  Rebuild();
  return mById.find(id);
}

// Empties the index. The timers stay where they are, which need not be the list.
void TimerIndex::Detach() {
  for (auto& [time, entry] : mByTime) entry->mTimer->mEntry = nullptr;
  mById.clear();
  mByTime.clear();
}

// The usual new timer is the last one to be due.
TimerIndex::ByTime::iterator TimerIndex::FirstDueFrom(std::uint64_t time) {
  if (mByTime.empty() || std::prev(mByTime.end())->first < time) return mByTime.end();
  return mByTime.lower_bound(time);
}

bool TimerIndex::Fits(KZTimerList::const_iterator place, std::uint64_t time) const {
  const bool isBeforeLater = place == mList.end() || place->mTime >= time;
  return isBeforeLater && (place == mList.begin() || std::prev(place)->mTime < time);
}

// False when it is not the only timer with its id, or has a name or a period, or when the place
// that the index knows does not fit.
bool TimerIndex::Move(TimerIndexEntry& entry, std::uint64_t time) {
  const KZTimerList::iterator timer = entry.mTimer;
  const bool isOnly = entry.mNext == nullptr && entry.mPrevious == nullptr;
  if (!isOnly || !timer->mName.empty() || timer->mInterval != 0) return false;
  auto place = FirstDueFrom(time);
  if (place == entry.mPlace) ++place;
  const auto next = place != mByTime.end() ? place->second->mTimer : mList.end();
  auto before = next;
  if (before != mList.begin() && std::prev(before) == timer) --before;
  const bool isBeforeLater = next == mList.end() || next->mTime >= time;
  if (!isBeforeLater || (before != mList.begin() && std::prev(before)->mTime >= time)) return false;
  auto node = mByTime.extract(entry.mPlace);
  node.key() = time;
  entry.mPlace = mByTime.insert(place, std::move(node));
  timer->mTime = time;
  mList.splice(next, mList, timer);
  return true;
}

void TimerIndex::Enter(KZTimerList::iterator timer, ByTime::const_iterator place) {
  TimerIndexEntry*& first = mById[timer->mId];
  const auto entered =
      mByTime.emplace_hint(place, timer->mTime, std::make_unique<TimerIndexEntry>());
  TimerIndexEntry* entry = entered->second.get();
  *entry = {this, timer, entered, timer->mId, nullptr, first};
  if (first != nullptr) first->mPrevious = entry;
  first = entry;
  timer->mEntry = entry;
}

void TimerIndex::Remove(TimerIndexEntry* entry) {
  if (entry->mNext != nullptr) entry->mNext->mPrevious = entry->mPrevious;
  if (entry->mPrevious != nullptr) {
    entry->mPrevious->mNext = entry->mNext;
  } else if (entry->mNext != nullptr) {
    mById[entry->mId] = entry->mNext;
  } else {
    mById.erase(entry->mId);
  }
  mByTime.erase(entry->mPlace);
}

}  // namespace dorn
