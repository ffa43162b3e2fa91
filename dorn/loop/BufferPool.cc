#include "dorn/loop/BufferPool.h"

#include <cstring>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__ 1
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) static_cast<void>(address)
#define ASAN_UNPOISON_MEMORY_REGION(address, size) static_cast<void>(address)
#endif

namespace dorn {
namespace {

constexpr std::size_t kMaxKept = 16;
constexpr std::size_t kPageSize = 4096;

struct Pool {
  std::mutex mLock;
  std::vector<std::pair<char*, std::size_t>> mBuffers;
};

// Never destroyed: records may be destroyed after the statics of this file.
Pool& ThePool() {
  static auto* const pool = new Pool;
  return *pool;
}

}  // namespace

char* TakeKeptBuffer(std::size_t size) {
  Pool& pool = ThePool();
  const std::lock_guard<std::mutex> lock(pool.mLock);
  for (auto it = pool.mBuffers.rbegin(); it != pool.mBuffers.rend(); ++it) {
    if (it->second != size) continue;
    char* const buffer = it->first;
    pool.mBuffers.erase(std::next(it).base());
    ASAN_UNPOISON_MEMORY_REGION(buffer, size);
    return buffer;
  }
  return nullptr;
}

bool KeepBuffer(char* buffer, std::size_t size, std::size_t used) {
  if (size < kPooledSize || used > kPageSize) return false;
  Pool& pool = ThePool();
  const std::lock_guard<std::mutex> lock(pool.mLock);
  if (pool.mBuffers.size() >= kMaxKept) return false;
  std::memset(buffer, 0, used);
  ASAN_POISON_MEMORY_REGION(buffer, size);
  pool.mBuffers.emplace_back(buffer, size);
  return true;
}

}  // namespace dorn
