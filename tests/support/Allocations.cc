#include "tests/support/Allocations.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t tCount = 0;
thread_local std::size_t tBytes = 0;
thread_local bool tRefuses = false;

void* Allocate(std::size_t size) {
  ++tCount;
  tBytes += size;
  // A negative size arrives here as a huge one, which sanitizers do not let pass.
  return tRefuses || size > PTRDIFF_MAX ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size) {
  void* const memory = Allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

Allocations::Allocations() : mCountBefore(tCount), mBytesBefore(tBytes) {}

std::size_t Allocations::Count() const { return tCount - mCountBefore; }

std::size_t Allocations::Bytes() const { return tBytes - mBytesBefore; }

NoMemory::NoMemory() { tRefuses = true; }

NoMemory::~NoMemory() { tRefuses = false; }

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
