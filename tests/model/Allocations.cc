#include "tests/model/Allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool tIsCounting = false;
thread_local std::size_t tCount = 0;
thread_local std::size_t tBytes = 0;

}  // namespace

Allocations::Allocations() {
  tCount = 0;
  tBytes = 0;
  tIsCounting = true;
}

Allocations::~Allocations() { tIsCounting = false; }

std::size_t Allocations::Count() const { return tCount; }

std::size_t Allocations::Bytes() const { return tBytes; }

// The other forms call this one.
void* operator new(std::size_t size) {
  if (tIsCounting) {
    ++tCount;
    tBytes += size;
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
