#include "tests/loop/BufferAllocation.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>

namespace {

std::atomic<bool> gFail{false};
std::atomic<int> gFill{-1};

}  // namespace

BufferAllocation::FailNew::FailNew() { gFail = true; }
BufferAllocation::FailNew::~FailNew() { gFail = false; }
BufferAllocation::FillNew::FillNew(char byte) { gFill = static_cast<unsigned char>(byte); }
BufferAllocation::FillNew::~FillNew() { gFill = -1; }

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  // A negative size arrives here as a huge one, which sanitizers do not let pass.
  if (gFail || size > PTRDIFF_MAX) return nullptr;
  void* const memory = ::operator new[](size);
  if (gFill >= 0) std::memset(memory, gFill, size);
  return memory;
}
