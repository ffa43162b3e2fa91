#include "dorn/server/SessionId.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

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

}  // namespace
