// The base of the application object: the event loop of the process and its timers.
#ifndef DORN_LOOP_KZAPPLICATION_H_
#define DORN_LOOP_KZAPPLICATION_H_

#include <sys/time.h>

#include <cstdint>
#include <memory>

#include "dorn/base/Export.h"
#include "dorn/base/KZSemaphore.h"
#include "dorn/base/KZString.h"
#include "dorn/loop/KZFdDataList.h"
#include "dorn/loop/KZTimer.h"

class KZApplication;

namespace dorn {
class TimerIndex;
void RestartSingleTimer(KZApplication& app, unsigned long interval, unsigned int id);
}  // namespace dorn

// Everything is called on the thread that runs AppMain(), except what is marked "any thread".
//
// Due times follow the wall clock: setting it forward makes timers fire early, setting it back
// suspends them for as long.
class DORN_EXPORT KZApplication {
 public:
  // Opens the wake-up pipe; ends the process when there is none.
  KZApplication();

  // No other thread may use the object any more; stop the threads that call WakeUp(), AddEventFd()
  // or the timer operations before main returns.
  virtual ~KZApplication();

  KZApplication(const KZApplication&) = delete;
  KZApplication& operator=(const KZApplication&) = delete;

  // The event loop: RunPass() for ever. Never returns, but from a callback, as RunPass() does.
  virtual void AppMain();

  // Called when a timer without a name is due, `time` being the clock at the beginning of the pass.
  // No lock is held; the callback may register and cancel timers. A timer that is due in the same
  // pass is called even when an earlier callback has cancelled it. The base prints a trace line.
  // Hooks should not throw: what they throw leaves the loop, and AppMain() with it. The timers that
  // were due and not called yet then stay due, once each.
  virtual void ApplicationTimer(timeval time, unsigned int id);

  // The same for a timer with a name.
  virtual void DialogTimer(timeval time, unsigned int id, KZString name);

  // The records that this loop watches; valid as long as the application.
  virtual KZFdDataList* GetFdDataList();

  // Ignores SIGPIPE and returns 1. The arguments are for derived classes.
  int Initialize(int argc, char** argv);

  // Exactly one pass of the loop: fires the timers that are due, waits until a descriptor is ready
  // or the next timer is due, and serves the ready records. Without a timer it waits for ever.
  // From a callback, whose record the inner pass might destroy, it does nothing, with one line on
  // standard error.
  void RunPass();

  // As KZFdDataList::Add(), Remove() and WakeUp(). Any thread.
  int AddEventFd(KZFdData* rec);
  void RemoveEventFd(KZFdData* rec);
  void WakeUp();

  // Registers a timer that is due in `interval` milliseconds, and every `interval` milliseconds
  // from then on if `cont` is not 0. With an empty `name` it goes to ApplicationTimer(), else to
  // DialogTimer(). A timer with the same id stays beside it. Among timers that are due at the same
  // millisecond the last registered one fires first.
  // Kept: 32 bits of the period count, so that one of 2^32 milliseconds (49.7 days) fires once.
  // An `interval` of 0 cancels every timer with this id instead, whatever its name and whoever
  // registered it. Any thread.
  void SetTimerData(unsigned long interval, unsigned int id, KZString name, int cont);

  // A periodic application timer; an `interval` of 0 cancels as above. Any thread.
  void SetApplicationTimerInterval(unsigned long interval, unsigned int id);

  // An application timer that fires once; an `interval` of 0 cancels as above. Any thread.
  void SetApplicationSingleTimerInterval(unsigned long interval, unsigned int id);

  // Whether a timer with this id, of any name, is waiting. Any thread.
  bool HasTimer(unsigned int id);

  // Fires every timer that is due at `tn` and reschedules the periodic ones at the first point of
  // their grid after `tn`: missed periods are skipped. Returns the milliseconds from `tn` until the
  // next timer as it was before the callbacks ran, or 0 when there is none.
  // After 100,000 timers of one call, steps are counted in 64 bits: a period that 32 bits wrap to
  // next to nothing, as after a clock step of decades, would otherwise fire thousands of millions
  // of times.
  std::uint64_t BaseTimer(timeval tn);

  // Sets the system clock, where allowed, to the current local time with those fields replaced that
  // are given: year, month and day when above 0, hour, minute and second when 0 or more. Then
  // discards all timers, those of connections and sessions included; whoever needs them registers
  // them again. A date that does not exist as a time changes nothing.
  // Kept: the fields are taken as standard time, so that in summer the clock is set an hour later.
  void SetDateTime(int year, int mon, int day, int hour, int min, int sec);

  // Discards every timer and wakes the loop.
  void ResetTimer();

  KZTimerList mTimerList;  // By due time. Change it under mTimerListLock only.
  KZFdDataList mFdList;
  KZSemaphore mTimerListLock;  // Lock over mTimerList; taken alone, never held during a callback.

 private:
  friend void dorn::RestartSingleTimer(KZApplication& app, unsigned long interval, unsigned int id);

  void Dispatch(KZFdData* rec);
  void DispatchReady(FdDataList& ready);
  std::uint64_t FirePassTimers();
  void FireTimers(timeval now, KZTimerList& fired);
  void FireTimer(timeval now, const KZTimerData& timer);

  // Finds timers of mTimerList by due time and by id. The list is the truth.
  std::unique_ptr<dorn::TimerIndex> mTimerIndex;
};

#endif  // DORN_LOOP_KZAPPLICATION_H_
