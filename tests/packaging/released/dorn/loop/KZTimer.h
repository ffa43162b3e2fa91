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
class DORN_EXPORT KZTimerData {
 public:
  KZTimerData() = default;
  KZTimerData(const KZTimerData& other);
  KZTimerData& operator=(const KZTimerData& other);
  ~KZTimerData();
  std::uint64_t mTime = 0;
  unsigned int mId = 0;
  KZString mName;
  unsigned int mInterval = 0;

 private:
  friend class dorn::TimerIndex;
  dorn::TimerIndexEntry* mEntry = nullptr;
};
using KZTimerList = std::list<KZTimerData>;
#endif
