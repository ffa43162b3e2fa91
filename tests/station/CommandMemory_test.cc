// What the check of a page's command takes of the memory: the test program counts its allocations.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include "station/Commands.h"
#include "station/Reader.h"

namespace {

std::atomic<std::size_t> gAllocated{0};

void* Allocate(std::size_t size) {
  gAllocated += size;
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

// All of a kind: what a sanitizer's own operator has taken, std::free() must not give back.
void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  gAllocated += size;
  return std::malloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace dorn::station {
namespace {

// Read, each element takes a hundred bytes; a copy at each level would take gigabytes.
TEST(CommandMemoryTest, IsThatOfTheTextHoweverDeepAValueNests) {
  std::string value;
  for (int i = 0; i < 100000; ++i) value += i == 0 ? "0" : ",0";
  value = std::string(15, '[') + value + std::string(15, ']');
  const std::string text = R"({"Command":"CONDITION","Objects":[{"Name":"x","V":)" + value + "}]}";
  const Json command = Reader().Read(text).mJson;
  const std::size_t before = gAllocated;
  EXPECT_EQ(CheckedCommand(command).mText, text);
  EXPECT_LT(gAllocated - before, 8 * text.size());
}

TEST(CommandMemoryTest, IsSmallForWhatIsRefused) {
  std::string value = "null";
  for (int i = 0; i < 100000; ++i) value += ",0";
  const std::string text =
      R"({"Command":"CONDITION","Objects":[{"Name":"x","V":[)" + value + "]}]}";
  const Json command = Reader().Read(text).mJson;
  const std::size_t before = gAllocated;
  EXPECT_EQ(CheckedCommand(command).mReason, "a value is null");
  EXPECT_LT(gAllocated - before, 8 * text.size());
}

}  // namespace
}  // namespace dorn::station
