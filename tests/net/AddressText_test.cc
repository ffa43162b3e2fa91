#include "dorn/net/AddressText.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <random>

namespace {

TEST(AddressTextTest, IsWhatTheSystemWrites) {
  std::mt19937 random(7);
  std::uniform_int_distribution<std::uint32_t> any;
  for (int i = 0; i < 2000; ++i) {
    const in_addr address{i == 0 ? 0U : i == 1 ? 0xFFFFFFFFU : any(random) & any(random)};
    EXPECT_STREQ(dorn::AddressText(address).Get(), inet_ntoa(address));
  }
}

}  // namespace
