#include "fuzz/Cost.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

// Plain counters, so that they work in every allocation from the first one on.
size_t gBlocks = 0;
size_t gAllocated = 0;
size_t gLive = 0;
size_t gPeak = 0;
size_t gPrinted = 0;

void* Allocate(size_t size) {
  void* storage = std::malloc(size != 0 ? size : 1);
  if (storage == nullptr) return nullptr;
  const size_t taken = malloc_usable_size(storage);
  gAllocated += taken;
  gLive += taken;
  gPeak = std::max(gPeak, gLive);
  return storage;
}

void Release(void* storage) {
  if (storage != nullptr) gLive -= malloc_usable_size(storage);
  std::free(storage);
}

ssize_t CountPrinted(void* /*cookie*/, const char* /*bytes*/, size_t size) {
  gPrinted += size;
  return static_cast<ssize_t>(size);
}

// What the library prints goes to the variable `stdout`, whatever that is.
FILE* OpenCounter() {
  cookie_io_functions_t functions = {};
  functions.write = &CountPrinted;
  FILE* counter = fopencookie(nullptr, "w", functions);
  if (counter == nullptr) std::abort();
  return counter;
}

}  // namespace

// In the place of __sanitizer_cov_trace_pc, of which libFuzzer has one of its own.
extern "C" void __wrap___sanitizer_cov_trace_pc() { ++gBlocks; }

void* operator new(size_t size) {
  void* storage = Allocate(size);
  if (storage == nullptr) std::abort();
  return storage;
}
void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept { return Allocate(size); }
void operator delete(void* storage) noexcept { Release(storage); }
void operator delete(void* storage, size_t /*size*/) noexcept { Release(storage); }
void operator delete(void* storage, const std::nothrow_t& /*tag*/) noexcept { Release(storage); }

Cost CostOf(const std::function<void()>& work) {
  static FILE* const kCounter = OpenCounter();
  FILE* const before = stdout;
  stdout = kCounter;
  gBlocks = gAllocated = gPrinted = 0;
  const size_t live = gPeak = gLive;
  work();
  std::fflush(kCounter);
  stdout = before;
  return Cost{gBlocks, gAllocated, gPeak - live, gPrinted};
}
