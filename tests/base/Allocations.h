// Looks at, and refuses, what operator new is asked for: the test program replaces it.
#ifndef TESTS_BASE_ALLOCATIONS_H_
#define TESTS_BASE_ALLOCATIONS_H_

// How often this thread has asked for memory since it was made.
class AllocationCount {
 public:
  AllocationCount();
  int Get() const;

 private:
  const int mBefore;
};

// While one lives, this thread gets no memory.
class NoMemory {
 public:
  NoMemory();
  ~NoMemory();
  NoMemory(const NoMemory&) = delete;
  NoMemory& operator=(const NoMemory&) = delete;
};

#endif  // TESTS_BASE_ALLOCATIONS_H_
