#include "site/core/Sha256.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace dorn::site {
namespace {

std::string Hex(const Digest& digest) {
  std::string hex;
  for (const unsigned char byte : digest) {
    std::array<char, 3> two{};
    std::snprintf(two.data(), two.size(), "%02x", byte);
    hex += two.data();
  }
  return hex;
}

TEST(Sha256Test, IsTheKnownDigest) {
  EXPECT_EQ(Hex(Sha256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(Hex(Sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

}  // namespace
}  // namespace dorn::site
