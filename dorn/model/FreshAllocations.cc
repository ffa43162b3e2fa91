#include "dorn/model/FreshAllocations.h"

#include <algorithm>
#include <cstdint>

namespace dorn {
namespace {

struct Fresh {
  std::uintptr_t begin;
  std::size_t size;
};

// How deep `new A(new B(...))` may go.
constexpr std::size_t kDeepest = 64;

// A plain type without constructor and destructor, so that it serves static objects before main()
// and after it as well.
struct FreshStack {
  Fresh entries[kDeepest];
  std::size_t count;
};

thread_local FreshStack tStack;

void Erase(FreshStack& stack, std::size_t i) {
  std::copy(stack.entries + i + 1, stack.entries + stack.count, stack.entries + i);
  --stack.count;
}

}  // namespace

void NoteFresh(void* storage, std::size_t size) noexcept {
  FreshStack& stack = tStack;
  // The oldest may be storage that nobody constructed anything in.
  if (stack.count == kDeepest) Erase(stack, 0);
  stack.entries[stack.count++] = {reinterpret_cast<std::uintptr_t>(storage), size};
}

bool TakeFresh(const void* object) noexcept {
  FreshStack& stack = tStack;
  const auto address = reinterpret_cast<std::uintptr_t>(object);
  // From the end: the storage that came last is constructed first.
  for (std::size_t i = stack.count; i-- > 0;) {
    const Fresh fresh = stack.entries[i];
    if (address - fresh.begin >= fresh.size) continue;
    Erase(stack, i);
    return address == fresh.begin;
  }
  return false;
}

void ForgetFresh(const void* storage) noexcept {
  FreshStack& stack = tStack;
  const auto address = reinterpret_cast<std::uintptr_t>(storage);
  for (std::size_t i = stack.count; i-- > 0;) {
    if (stack.entries[i].begin != address) continue;
    Erase(stack, i);
    return;
  }
}

}  // namespace dorn
