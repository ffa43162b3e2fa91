// The place of a virtual function in its class's table. Hosts derive from the library's classes,
// so these places are binary interface.
#ifndef TESTS_SUPPORT_VIRTUALSLOT_H_
#define TESTS_SUPPORT_VIRTUALSLOT_H_

#include <cstddef>
#include <cstring>

// The slot that a call through `function` uses: VirtualSlot<int (A::*)()>(&A::F) for overloads.
// A virtual destructor takes two slots, so with the destructor first the next function has 2.
// -1 for a function that is not virtual. Reads the member pointer as the Itanium C++ ABI lays it
// out: byte offset into the table plus 1 (x86-64), or, for a plain function, its even address.
template <typename MemberFunction>
int VirtualSlot(MemberFunction function) {
  static_assert(sizeof(function) == 2 * sizeof(std::ptrdiff_t), "not an Itanium member pointer");
  std::ptrdiff_t words[2];
  std::memcpy(words, &function, sizeof words);
#if defined(__aarch64__) || defined(__arm__)
  // There the low bit of the adjustment marks a virtual function.
  return (words[1] & 1) != 0 ? static_cast<int>(words[0] / sizeof(void*)) : -1;
#else
  return (words[0] & 1) != 0 ? static_cast<int>((words[0] - 1) / sizeof(void*)) : -1;
#endif
}

#endif  // TESTS_SUPPORT_VIRTUALSLOT_H_
