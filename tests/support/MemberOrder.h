// The order of data members in memory. Hosts derive from the library's classes and read these
// members, so their order is binary interface.
#ifndef TESTS_SUPPORT_MEMBERORDER_H_
#define TESTS_SUPPORT_MEMBERORDER_H_

#include <cstdint>
#include <initializer_list>

// The address of a member, whatever its type: MemberAddress(record.mStatus).
template <typename Member>
std::uintptr_t MemberAddress(const volatile Member& member) {
  return reinterpret_cast<std::uintptr_t>(&reinterpret_cast<const volatile char&>(member));
}

inline bool AreInOrder(std::initializer_list<std::uintptr_t> addresses) {
  std::uintptr_t previous = 0;
  for (const std::uintptr_t address : addresses) {
    if (address <= previous) return false;
    previous = address;
  }
  return true;
}

#endif  // TESTS_SUPPORT_MEMBERORDER_H_
