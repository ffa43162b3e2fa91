#include "station/FileCache.h"

#include <gtest/gtest.h>

#include <string>

namespace dorn::station {
namespace {

std::string NameOf(std::size_t number) { return "f" + std::to_string(number) + ".png"; }

TEST(FileCacheTest, KeepsTheLastCopyOfAName) {
  FileCache cache;
  EXPECT_EQ(cache.Find("a.png"), nullptr);
  cache.Keep("a.png", "d1", "old");
  cache.Keep("a.png", "d2", "new");
  const auto copy = cache.Find("a.png");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->mDate, "d2");
  EXPECT_EQ(copy->mBytes, "new");
}

TEST(FileCacheTest, DropsOfTooManyTheOneThatWasUsedFirst) {
  FileCache cache;
  for (std::size_t i = 0; i < FileCache::kMostFiles; ++i) cache.Keep(NameOf(i), "d", "x");
  EXPECT_NE(cache.Find(NameOf(0)), nullptr);
  cache.Keep("one more.png", "d", "x");
  EXPECT_NE(cache.Find(NameOf(0)), nullptr);
  EXPECT_EQ(cache.Find(NameOf(1)), nullptr);
  EXPECT_NE(cache.Find(NameOf(2)), nullptr);
}

TEST(FileCacheTest, DropsOfTooMuchWhatWasUsedFirst) {
  FileCache cache;
  const std::string half(FileCache::kMostBytes / 2, 'x');
  cache.Keep("a.png", "d", half);
  cache.Keep("b.png", "d", half);
  cache.Keep("b.png", "d", half);  // In place of the first: there is room for both.
  EXPECT_NE(cache.Find("a.png"), nullptr);
  cache.Keep("c.png", "d", "x");
  EXPECT_EQ(cache.Find("b.png"), nullptr);
  EXPECT_NE(cache.Find("a.png"), nullptr);
}

TEST(FileCacheTest, WhatIsHeldStays) {
  FileCache cache;
  cache.Keep("a.png", "d", "bytes");
  const auto held = cache.Find("a.png");
  cache.Keep("b.png", "d", std::string(FileCache::kMostBytes, 'x'));
  EXPECT_EQ(cache.Find("a.png"), nullptr);
  EXPECT_EQ(held->mBytes, "bytes");
}

}  // namespace
}  // namespace dorn::station
