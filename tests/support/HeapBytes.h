// How much of the heap is in use.
#ifndef TESTS_SUPPORT_HEAPBYTES_H_
#define TESTS_SUPPORT_HEAPBYTES_H_

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// GCC has the function, and no header for it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

// In bytes, of all threads. A sanitizer has a heap of its own.
inline std::size_t HeapBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
#endif
}

#endif  // TESTS_SUPPORT_HEAPBYTES_H_
