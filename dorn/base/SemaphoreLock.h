// Holds a KZSemaphore for the length of a scope. Internal: not installed.
#ifndef DORN_BASE_SEMAPHORELOCK_H_
#define DORN_BASE_SEMAPHORELOCK_H_

#include "dorn/base/KZSemaphore.h"

namespace dorn {

class SemaphoreLock {
 public:
  explicit SemaphoreLock(KZSemaphore& semaphore) : semaphore_(semaphore) { semaphore_.Lock(); }
  ~SemaphoreLock() { semaphore_.Unlock(); }

  SemaphoreLock(const SemaphoreLock&) = delete;
  SemaphoreLock& operator=(const SemaphoreLock&) = delete;

 private:
  KZSemaphore& semaphore_;
};

}  // namespace dorn

#endif  // DORN_BASE_SEMAPHORELOCK_H_
