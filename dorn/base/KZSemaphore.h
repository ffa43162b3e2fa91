// The one lock type of the library, and a counter guarded by it. Any thread.
#ifndef DORN_BASE_KZSEMAPHORE_H_
#define DORN_BASE_KZSEMAPHORE_H_

#include <semaphore.h>

#include "dorn/base/Export.h"

// A semaphore of this process with initial value 1, used as a lock. Not recursive: a thread that
// locks twice waits for itself.
class DORN_EXPORT KZSemaphore {
 public:
  // Free, with the counter at 0. Ends the process with status 1 and a line on standard output when
  // the system has no semaphore to give.
  KZSemaphore();
  virtual ~KZSemaphore();

  KZSemaphore(const KZSemaphore&) = delete;
  KZSemaphore& operator=(const KZSemaphore&) = delete;

  // Waits until the lock is free and takes it; signals do not end the wait.
  void Lock();

  // Takes the lock if it is free: 1 when taken, else 0.
  int TryLock();

  // Gives the lock back: 1, or 0 when the system refuses. Any thread may do it.
  int Unlock();

  // The counter's operations take the lock themselves; the caller must not hold it.

  // Subtracts `val` and returns the counter as it was before.
  int GetAndDecrementCounter(int val);

  // Adds `val` and returns the new counter.
  int Increment(int val);

  // Subtracts `val` from a counter above 0 and returns the new one, which may be negative; leaves
  // any other counter alone and returns -1.
  int Decrement(int val);

  sem_t mSemaphore;
  volatile int mCounter = 0;  // Read and written under the lock alone.
};

#endif  // DORN_BASE_KZSEMAPHORE_H_
