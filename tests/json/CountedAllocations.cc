#include "tests/json/CountedAllocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool tCounting = false;
thread_local Allocations tAllocations = {0, 0};

void* Allocate(std::size_t size) {
  if (tCounting) {
    ++tAllocations.times;
    tAllocations.bytes += size;
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) std::abort();
  return memory;
}

}  // namespace

void BeginCountingAllocations() {
  tAllocations = {0, 0};
  tCounting = true;
}

Allocations EndCountingAllocations() {
  tCounting = false;
  return tAllocations;
}

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
