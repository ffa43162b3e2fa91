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
namespace dorn {
class TimerIndex;
}
class DORN_EXPORT KZApplication {
 public:
  KZApplication();
  virtual ~KZApplication();
  KZApplication(const KZApplication&) = delete;
  KZApplication& operator=(const KZApplication&) = delete;
  virtual void AppMain();
  virtual void ApplicationTimer(timeval time, unsigned int id);
  virtual void DialogTimer(timeval time, unsigned int id, KZString name);
  virtual KZFdDataList* GetFdDataList();
  int Initialize(int argc, char** argv);
  void RunPass();
  int AddEventFd(KZFdData* rec);
  void RemoveEventFd(KZFdData* rec);
  void WakeUp();
  void SetTimerData(unsigned long interval, unsigned int id, KZString name, int cont);
  void SetApplicationTimerInterval(unsigned long interval, unsigned int id);
  void SetApplicationSingleTimerInterval(unsigned long interval, unsigned int id);
  bool HasTimer(unsigned int id);
  std::uint64_t BaseTimer(timeval tn);
  void SetDateTime(int year, int mon, int day, int hour, int min, int sec);
  void ResetTimer();
  KZTimerList mTimerList;
  KZFdDataList mFdList;
  KZSemaphore mTimerListLock;

 private:
  void Dispatch(KZFdData* rec);
  void DispatchReady(FdDataList& ready);
  void FireTimer(timeval now, const KZTimerData& timer);
  std::unique_ptr<dorn::TimerIndex> mTimerIndex;
};
#endif
