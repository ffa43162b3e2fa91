#include "dorn/base/KZSemaphore.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "dorn/base/SemaphoreLock.h"

KZSemaphore::KZSemaphore() {
  if (sem_init(&mSemaphore, 0, 1) != 0) {
    // "The socket semaphore could not be initialised."
    std::puts("Socketセマフォの初期化に失敗しました。");
    std::fflush(stdout);
    std::exit(1);
  }
}

KZSemaphore::~KZSemaphore() { static_cast<void>(sem_destroy(&mSemaphore)); }

void KZSemaphore::Lock() {
  while (sem_wait(&mSemaphore) != 0 && errno == EINTR) {
  }
}

int KZSemaphore::TryLock() {
  while (sem_trywait(&mSemaphore) != 0) {
    if (errno != EINTR) return 0;
  }
  return 1;
}

int KZSemaphore::Unlock() { return sem_post(&mSemaphore) == 0 ? 1 : 0; }

int KZSemaphore::GetAndDecrementCounter(int val) {
  const dorn::SemaphoreLock lock(*this);
  const int before = mCounter;
  mCounter = before - val;
  return before;
}

int KZSemaphore::Increment(int val) {
  const dorn::SemaphoreLock lock(*this);
  const int after = mCounter + val;
  mCounter = after;
  return after;
}

int KZSemaphore::Decrement(int val) {
  const dorn::SemaphoreLock lock(*this);
  if (mCounter <= 0) return -1;
  const int after = mCounter - val;
  mCounter = after;
  return after;
}
