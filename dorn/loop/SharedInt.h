// Integers that are public, plain members and yet read by the loop thread without the lock under
// which they are written. A lock for each record and pass would cost more than the rest of a pass
// over idle records. Internal: not installed.
#ifndef DORN_LOOP_SHAREDINT_H_
#define DORN_LOOP_SHAREDINT_H_

namespace dorn {

inline int LoadShared(const volatile int& place) {
  return __atomic_load_n(&place, __ATOMIC_ACQUIRE);
}

inline void StoreShared(volatile int& place, int number) {
  __atomic_store_n(&place, number, __ATOMIC_RELEASE);
}

}  // namespace dorn

#endif  // DORN_LOOP_SHAREDINT_H_
