#include "dorn/server/SessionId.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <set>
#include <string>

#include "tests/support/ChildProcess.h"

namespace {

bool gHasNoRandomness = false;

TEST(SessionIdTest, HasAsManyDigitsAs128BitsTake) {
  const std::string id = dorn::MakeSessionId();
  EXPECT_EQ(32U, id.size());
  EXPECT_EQ(std::string::npos, id.find_first_not_of("0123456789abcdef"));
}

TEST(SessionIdTest, NeverComesTwice) {
  std::set<std::string> ids;
  for (int i = 0; i < 10000; ++i) ids.insert(dorn::MakeSessionId());
  EXPECT_EQ(10000U, ids.size());
}

// Each of the 32 digits takes every value: none of them is fixed, or a counter's high end.
TEST(SessionIdTest, IsRandomInEveryDigit) {
  std::set<char> seen[32];
  for (int i = 0; i < 1000; ++i) {
    const std::string id = dorn::MakeSessionId();
    for (std::size_t digit = 0; digit < 32; ++digit) seen[digit].insert(id[digit]);
  }
  for (const std::set<char>& digits : seen) EXPECT_EQ(16U, digits.size());
}

// What the host has printed before is not lost.
TEST(SessionIdTest, EndsTheProcessWithoutRandomness) {
  const ChildResult child = RunChild([] {
    dup2(STDOUT_FILENO, STDERR_FILENO);
    std::printf("printed before\n");
    gHasNoRandomness = true;
    return static_cast<int>(dorn::MakeSessionId().size());
  });
  EXPECT_EQ(SIGABRT, child.mSignal);
  EXPECT_THAT(child.mOutput,
              testing::AllOf(testing::HasSubstr("dorn: no random bytes for a session id: Function "
                                                "not implemented\n"),
                             testing::HasSubstr("printed before\n")));
}

}  // namespace

extern "C" int getentropy(void* bytes, size_t length) {
  using Getentropy = int (*)(void*, size_t);
  static const auto real = reinterpret_cast<Getentropy>(dlsym(RTLD_NEXT, "getentropy"));
  if (!gHasNoRandomness) return real(bytes, length);
  errno = ENOSYS;
  return -1;
}
