// Finds timers of a sorted timer list by due time and by id without walking it. Every receive of
// every connection cancels and registers a timer, and there may be many thousands.
// Internal: not installed. Takes no lock: the caller holds the lock of the list.
#ifndef DORN_LOOP_TIMERINDEX_H_
#define DORN_LOOP_TIMERINDEX_H_

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>

#include "dorn/loop/KZTimer.h"

namespace dorn {

// The list is the truth and public; hosts may change it by hand. Hence:
// - Each indexed timer knows its entry and takes it out of the index when it is destroyed or
//   assigned to, so that no entry ever names a timer that is gone.
// - The index is built anew when it does not have as many timers as the list.
// - A position found in the index is compared with the neighbours in the list; if it does not fit,
//   the list is walked.
// - A timer found by its id still has it; if not, the index is built anew.
class TimerIndex {
 public:
  explicit TimerIndex(KZTimerList& list);
  ~TimerIndex();

  TimerIndex(const TimerIndex&) = delete;
  TimerIndex& operator=(const TimerIndex&) = delete;

  // Puts a copy before the first timer that is due at the same time or later.
  void Insert(const KZTimerData& timer);

  // Erases every timer with this id.
  void EraseId(unsigned int id);

  // Erases every timer with this id and inserts one without name and period that is due at `time`.
  // When there is exactly such a one, it is moved.
  void RestartSingle(std::uint64_t time, unsigned int id);

  bool HasId(unsigned int id);

  // Moves the first timer to the end of `fired`.
  void MoveFirstTo(KZTimerList& fired);

  // Puts timers that were taken but did not fire back to the front, in their order; each is to fire
  // once, as the next firing of a periodic one is in the list already.
  void InsertDue(KZTimerList& unfired);

  // Erases all timers.
  void Clear();

  // Takes a timer out of the index that knows it, if there is one.
  static void Forget(KZTimerData& timer);

 private:
  using ByTime = std::multimap<std::uint64_t, std::unique_ptr<TimerIndexEntry>>;
  using ById = std::unordered_map<unsigned int, TimerIndexEntry*>;
  friend struct TimerIndexEntry;

  void Synchronise();
  void Rebuild();
  void Detach();
  ById::iterator FindId(unsigned int id);
  ByTime::iterator FirstDueFrom(std::uint64_t time);
  bool Fits(KZTimerList::const_iterator place, std::uint64_t time) const;
  bool Move(TimerIndexEntry& entry, std::uint64_t time);
  void Enter(KZTimerList::iterator timer, ByTime::const_iterator place);
  void Remove(TimerIndexEntry* entry);

  KZTimerList& mList;
  ByTime mByTime;  // In the order of the list.
  // The first of a chain of entries for each id.
  ById mById;
};

}  // namespace dorn

#endif  // DORN_LOOP_TIMERINDEX_H_
