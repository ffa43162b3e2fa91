#ifndef DORN_BASE_KZSEMAPHORE_H_
#define DORN_BASE_KZSEMAPHORE_H_
#include <semaphore.h>
#include "dorn/base/Export.h"
class DORN_EXPORT KZSemaphore {
 public:
  KZSemaphore();
  virtual ~KZSemaphore();
  KZSemaphore(const KZSemaphore&) = delete;
  KZSemaphore& operator=(const KZSemaphore&) = delete;
  void Lock();
  [[nodiscard]] int TryLock();
  int Unlock();
  int GetAndDecrementCounter(int val);
  int Increment(int val);
  int Decrement(int val);
  sem_t mSemaphore;
  volatile int mCounter = 0;
};
#endif
