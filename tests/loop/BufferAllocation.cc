#include "tests/loop/BufferAllocation.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

std::atomic<bool> gFail{false};
std::atomic<int> gFill{-1};
std::atomic<long> gNews{0};

void* AllocateCounted(std::size_t size) {
  ++gNews;
  void* const memory = std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

BufferAllocation::FailNew::FailNew() { gFail = true; }
BufferAllocation::FailNew::~FailNew() { gFail = false; }
BufferAllocation::FillNew::FillNew(char byte) { gFill = static_cast<unsigned char>(byte); }
BufferAllocation::FillNew::~FillNew() { gFill = -1; }
BufferAllocation::CountNew::CountNew() : mBefore(gNews) {}
long BufferAllocation::CountNew::Count() const { return gNews - mBefore; }

void* operator new(std::size_t size) { return AllocateCounted(size); }
void* operator new[](std::size_t size) { return AllocateCounted(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  // A negative size arrives here as a huge one, which sanitizers do not let pass.
  if (gFail || size > PTRDIFF_MAX) return nullptr;
  void* const memory = ::operator new[](size);
  if (gFill >= 0) std::memset(memory, gFill, size);
  return memory;
}
