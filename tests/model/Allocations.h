// What a thread asks the memory for: the test program replaces the usual operator new.
#ifndef TESTS_MODEL_ALLOCATIONS_H_
#define TESTS_MODEL_ALLOCATIONS_H_

#include <cstddef>

// Counts the allocations of the thread that makes it, from then on. One at a time.
class Allocations {
 public:
  Allocations();
  ~Allocations();
  Allocations(const Allocations&) = delete;
  Allocations& operator=(const Allocations&) = delete;

  std::size_t Count() const;
  std::size_t Bytes() const;
};

#endif  // TESTS_MODEL_ALLOCATIONS_H_
