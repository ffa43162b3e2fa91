// Memory that is kept but must not be used. Internal: not installed. Any thread.
#ifndef DORN_BASE_POISON_H_
#define DORN_BASE_POISON_H_

#include <cstddef>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DORN_HAS_POISON
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define DORN_HAS_POISON
#endif

#ifdef DORN_HAS_POISON
#include <sanitizer/asan_interface.h>
#endif

namespace dorn {

// Between the two, AddressSanitizer reports who touches these bytes. Elsewhere they do nothing.
#ifdef DORN_HAS_POISON
constexpr bool kHasPoison = true;

inline void Poison(const void* bytes, std::size_t size) {
  __asan_poison_memory_region(bytes, size);
}
inline void Unpoison(const void* bytes, std::size_t size) {
  __asan_unpoison_memory_region(bytes, size);
}
inline bool IsPoisoned(const void* byte) { return __asan_address_is_poisoned(byte) != 0; }
#else
constexpr bool kHasPoison = false;

inline void Poison(const void* /*bytes*/, std::size_t /*size*/) {}
inline void Unpoison(const void* /*bytes*/, std::size_t /*size*/) {}
inline bool IsPoisoned(const void* /*byte*/) { return false; }
#endif

}  // namespace dorn

#endif  // DORN_BASE_POISON_H_
