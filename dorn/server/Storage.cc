#include "dorn/server/Storage.h"

#include <link.h>
#include <pthread.h>

#include <cstddef>
#include <cstdint>

namespace dorn {

namespace {

std::uintptr_t Address(const void* object) { return reinterpret_cast<std::uintptr_t>(object); }

struct Stack {
  std::uintptr_t begin = 0;
  std::uintptr_t size = 0;
};

Stack ThisThreadsStack() {
  Stack stack;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return stack;
  void* begin = nullptr;
  std::size_t size = 0;
  if (pthread_attr_getstack(&attributes, &begin, &size) == 0) stack = {Address(begin), size};
  pthread_attr_destroy(&attributes);
  return stack;
}

// For dl_iterate_phdr: other than 0 when the address lies in this program or library.
int HoldsAddress(dl_phdr_info* image, std::size_t, void* address) {
  const auto wanted = *static_cast<const std::uintptr_t*>(address);
  for (int i = 0; i < image->dlpi_phnum; ++i) {
    const auto& segment = image->dlpi_phdr[i];
    const bool isLoaded = segment.p_type == PT_LOAD;
    if (isLoaded && wanted - (image->dlpi_addr + segment.p_vaddr) < segment.p_memsz) return 1;
  }
  return 0;
}

}  // namespace

// Variables that live are above this function's own frame. Below it the range of a stack without a
// limit holds the heap.
bool IsVariable(const void* object) {
  thread_local const Stack stack = ThisThreadsStack();
  std::uintptr_t address = Address(object);
  const std::uintptr_t frame = Address(__builtin_frame_address(0));
  const bool isOnStack = frame - stack.begin < stack.size;
  if (isOnStack && address >= frame && address - stack.begin < stack.size) return true;
  return dl_iterate_phdr(HoldsAddress, &address) != 0;
}

}  // namespace dorn
