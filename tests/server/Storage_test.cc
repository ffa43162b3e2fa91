// What lies where variables lie, and not on the heap.
#include "dorn/server/Storage.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "tests/server/ServerTest.h"

namespace {

struct LoadedSegment {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
};

int AddSegments(dl_phdr_info* image, std::size_t, void* segments) {
  for (int i = 0; i < image->dlpi_phnum; ++i) {
    const auto& segment = image->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || segment.p_memsz == 0) continue;
    const std::uintptr_t begin = image->dlpi_addr + segment.p_vaddr;
    static_cast<std::vector<LoadedSegment>*>(segments)->push_back({begin, begin + segment.p_memsz});
  }
  return 0;
}

// Of this program and its libraries.
std::vector<LoadedSegment> LoadedSegments() {
  std::vector<LoadedSegment> segments;
  dl_iterate_phdr(AddSegments, &segments);
  return segments;
}

bool IsLoadedAt(std::uintptr_t address) {
  const std::vector<LoadedSegment> segments = LoadedSegments();
  return std::any_of(segments.begin(), segments.end(), [address](const LoadedSegment& each) {
    return address >= each.begin && address < each.end;
  });
}

bool IsVariableAt(std::uintptr_t address) {
  return dorn::IsVariable(reinterpret_cast<const void*>(address));
}

class StorageTest : public ServerTest {};

TEST_F(StorageTest, OfAProgramAndItsLibrariesIsThatOfVariablesFromTheFirstByteToTheLast) {
  const std::vector<LoadedSegment> segments = LoadedSegments();
  ASSERT_FALSE(segments.empty());
  for (const LoadedSegment& each : segments) {
    EXPECT_TRUE(IsVariableAt(each.begin)) << std::hex << each.begin;
    EXPECT_TRUE(IsVariableAt(each.end - 1)) << std::hex << each.end;
    EXPECT_EQ(IsLoadedAt(each.begin - 1), IsVariableAt(each.begin - 1)) << std::hex << each.begin;
    EXPECT_EQ(IsLoadedAt(each.end), IsVariableAt(each.end)) << std::hex << each.end;
  }
}

TEST_F(StorageTest, OfTheCallersOwnFrameIsThatOfVariables) {
  // Also for a sanitizer that moves variables elsewhere.
  EXPECT_TRUE(dorn::IsVariable(new (__builtin_alloca(sizeof(int))) int(1)));
  EXPECT_FALSE(dorn::IsVariable(std::make_unique<int>(1).get()));
}

void ExpectThatTheStackEndsWhereItEnds() {
  pthread_attr_t attributes;
  ASSERT_EQ(0, pthread_getattr_np(pthread_self(), &attributes));
  void* begin = nullptr;
  std::size_t size = 0;
  EXPECT_EQ(0, pthread_attr_getstack(&attributes, &begin, &size));
  pthread_attr_destroy(&attributes);
  const std::uintptr_t end = reinterpret_cast<std::uintptr_t>(begin) + size;
  EXPECT_TRUE(IsVariableAt(end - 1));
  EXPECT_EQ(IsLoadedAt(end), IsVariableAt(end));  // A library may lie behind it.
}

TEST_F(StorageTest, OfAStackEndsWithTheStack) {
  ExpectThatTheStackEndsWhereItEnds();
  std::thread other(ExpectThatTheStackEndsWhereItEnds);
  other.join();
}

}  // namespace

// A sanitizer asks for the description of the first thread before anything may be called.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

// Descriptions of threads that were asked for, less those that were given back.
std::atomic<int> gHeldAttributes{0};

}  // namespace

// In place of the C library's, to count them.
extern "C" int pthread_getattr_np(pthread_t thread, pthread_attr_t* attributes) noexcept {
  using GetAttributes = int (*)(pthread_t, pthread_attr_t*);
  static const auto real = reinterpret_cast<GetAttributes>(dlsym(RTLD_NEXT, "pthread_getattr_np"));
  ++gHeldAttributes;
  return real(thread, attributes);
}

extern "C" int pthread_attr_destroy(pthread_attr_t* attributes) noexcept {
  using Destroy = int (*)(pthread_attr_t*);
  static const auto real = reinterpret_cast<Destroy>(dlsym(RTLD_NEXT, "pthread_attr_destroy"));
  --gHeldAttributes;
  return real(attributes);
}

namespace {

TEST_F(StorageTest, AThreadThatAsksGivesItsDescriptionBack) {
  std::thread other([] {
    const int before = gHeldAttributes;
    EXPECT_TRUE(dorn::IsVariable(new (__builtin_alloca(sizeof(int))) int(1)));
    EXPECT_EQ(before, gHeldAttributes);
  });
  other.join();
}

}  // namespace

#endif
