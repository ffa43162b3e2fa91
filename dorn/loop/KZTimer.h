// The timers of the application object as data.
#ifndef DORN_LOOP_KZTIMER_H_
#define DORN_LOOP_KZTIMER_H_

#include <cstdint>
#include <list>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

namespace dorn {
class TimerIndex;
struct TimerIndexEntry;
}  // namespace dorn

// One timer. A plain value: copies are independent of the list that the original is in.
class DORN_EXPORT KZTimerData {
 public:
  KZTimerData() = default;
  KZTimerData(const KZTimerData& other);
  KZTimerData& operator=(const KZTimerData& other);
  ~KZTimerData();

  std::uint64_t mTime = 0;     // When it is due: wall clock, milliseconds since the epoch.
  unsigned int mId = 0;        // The caller's; several timers may have one id. Not to be changed
                               // in the application's list: cancelling would not find the new id.
  KZString mName;              // Empty: an application timer; else the dialog of a dialog timer.
  unsigned int mInterval = 0;  // Period in milliseconds; 0: fires once.

 private:
  friend class dorn::TimerIndex;

  // Where the application's index knows this very object, so that it can leave the index whoever
  // erases it. Never copied.
  dorn::TimerIndexEntry* mEntry = nullptr;
};

using KZTimerList = std::list<KZTimerData>;

#endif  // DORN_LOOP_KZTIMER_H_
