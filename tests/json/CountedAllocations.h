// What a thread asks of the heap: the test program replaces operator new.
#ifndef TESTS_JSON_COUNTEDALLOCATIONS_H_
#define TESTS_JSON_COUNTEDALLOCATIONS_H_

#include <cstddef>

struct Allocations {
  std::size_t times;
  std::size_t bytes;
};

void BeginCountingAllocations();
Allocations EndCountingAllocations();

// What this thread allocates in `work`.
template <class Work>
Allocations AllocationsOf(Work&& work) {
  BeginCountingAllocations();
  work();
  return EndCountingAllocations();
}

#endif  // TESTS_JSON_COUNTEDALLOCATIONS_H_
