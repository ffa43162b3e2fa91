#include "dorn/base/Version.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

TEST(VersionTest, NumberAndTextSayTheSame) {
  int major = -1;
  int minor = -1;
  int patch = -1;
  char rest = 0;
  ASSERT_EQ(3, std::sscanf(DORN_VERSION, "%d.%d.%d%c", &major, &minor, &patch, &rest));
  EXPECT_LT(minor, 100);
  EXPECT_LT(patch, 100);
  EXPECT_EQ(major * 10000 + minor * 100 + patch, DORN_VERSION_NUMBER);
}

#if DORN_VERSION_NUMBER < 10807
#error "the number is not one for the preprocessor"
#endif

}  // namespace
