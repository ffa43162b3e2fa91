// What a thread asks operator new for. A test program that has this among its sources has an
// operator new of its own.
#ifndef TESTS_SUPPORT_ALLOCATIONS_H_
#define TESTS_SUPPORT_ALLOCATIONS_H_

#include <cstddef>

// Counts what the thread that makes one asks for, from then on.
class Allocations {
 public:
  Allocations();

  std::size_t Count() const;
  std::size_t Bytes() const;

 private:
  const std::size_t mCountBefore;
  const std::size_t mBytesBefore;
};

struct AllocationTotals {
  std::size_t times;
  std::size_t bytes;
};

// What this thread asks for in `work`.
template <class Work>
AllocationTotals AllocationsOf(Work&& work) {
  const Allocations allocations;
  work();
  return {allocations.Count(), allocations.Bytes()};
}

// While one lives, this thread gets no memory.
class NoMemory {
 public:
  NoMemory();
  ~NoMemory();
  NoMemory(const NoMemory&) = delete;
  NoMemory& operator=(const NoMemory&) = delete;
};

#endif  // TESTS_SUPPORT_ALLOCATIONS_H_
