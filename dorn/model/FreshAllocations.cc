#include "dorn/model/FreshAllocations.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace dorn {
namespace {

struct Fresh {
  std::uintptr_t begin;
  std::size_t size;
};

constexpr std::size_t kInPlace = 16;

// A plain type without constructor and destructor, so that it serves static objects before main()
// and after it as well.
struct FreshStack {
  Fresh inPlace[kInPlace];
  Fresh* onHeap;  // In use instead of inPlace when not null.
  std::size_t capacity;
  std::size_t count;

  Fresh* Entries() { return onHeap != nullptr ? onHeap : inPlace; }
  std::size_t Capacity() const { return onHeap != nullptr ? capacity : kInPlace; }
};

// At a fixed distance from the thread's own data: every object that is made asks for it.
__thread FreshStack tStack __attribute__((tls_model("initial-exec")));

bool Grow(FreshStack& stack) {
  const std::size_t capacity = stack.Capacity() * 2;
  auto* entries = static_cast<Fresh*>(std::malloc(capacity * sizeof(Fresh)));
  if (entries == nullptr) return false;
  std::memcpy(entries, stack.Entries(), stack.count * sizeof(Fresh));
  std::free(stack.onHeap);
  stack.onHeap = entries;
  stack.capacity = capacity;
  return true;
}

void Erase(FreshStack& stack, std::size_t i) {
  Fresh* entries = stack.Entries();
  std::copy(entries + i + 1, entries + stack.count, entries + i);
  if (--stack.count > 0 || stack.onHeap == nullptr) return;
  std::free(stack.onHeap);
  stack.onHeap = nullptr;
}

}  // namespace

void NoteFresh(void* storage, std::size_t size) noexcept {
  FreshStack& stack = tStack;
  if (stack.count == stack.Capacity() && !Grow(stack)) return;
  stack.Entries()[stack.count++] = {reinterpret_cast<std::uintptr_t>(storage), size};
}

bool TakeFresh(const void* object) noexcept {
  FreshStack& stack = tStack;
  const auto address = reinterpret_cast<std::uintptr_t>(object);
  // From the end: the storage that came last is constructed first.
  for (std::size_t i = stack.count; i-- > 0;) {
    const Fresh fresh = stack.Entries()[i];
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
    if (stack.Entries()[i].begin != address) continue;
    Erase(stack, i);
    return;
  }
}

}  // namespace dorn
