#include "tools/dorn-gateway/TextCache.h"

#include <gtest/gtest.h>

using dorn::gateway::TextCache;

namespace {

std::shared_ptr<const int> Value(int number) { return std::make_shared<const int>(number); }

TEST(TextCacheTest, FindsWhatWasAdded) {
  TextCache<int> cache(100);
  EXPECT_EQ(cache.Find("a"), nullptr);
  cache.Add("a", Value(1), 0);
  cache.Add("b", Value(2), 0);
  ASSERT_NE(cache.Find("a"), nullptr);
  EXPECT_EQ(*cache.Find("a"), 1);
  EXPECT_EQ(*cache.Find("b"), 2);
  EXPECT_EQ(cache.Find("ab"), nullptr);
}

TEST(TextCacheTest, ForgetsWhatWasNotUsedForLongest) {
  TextCache<int> cache(40);
  for (const char c : {'a', 'b', 'c', 'd'}) cache.Add(std::string(10, c), Value(c), 0);
  EXPECT_NE(cache.Find(std::string(10, 'a')), nullptr);
  cache.Add(std::string(10, 'e'), Value('e'), 0);
  EXPECT_NE(cache.Find(std::string(10, 'a')), nullptr);
  EXPECT_EQ(cache.Find(std::string(10, 'b')), nullptr);
  EXPECT_NE(cache.Find(std::string(10, 'c')), nullptr);
}

TEST(TextCacheTest, DoesNotHoldLongTexts) {
  TextCache<int> cache(40);
  cache.Add(std::string(11, 'x'), Value(1), 0);
  EXPECT_EQ(cache.Find(std::string(11, 'x')), nullptr);
}

TEST(TextCacheTest, CountsWhatValuesWeigh) {
  TextCache<int> cache(40);
  for (const char c : {'a', 'b', 'c', 'd', 'e'}) cache.Add(std::string(1, c), Value(c), 9);
  EXPECT_EQ(cache.Find("a"), nullptr);
  EXPECT_NE(cache.Find("b"), nullptr);
  cache.Add("f", Value('f'), 10);
  EXPECT_EQ(cache.Find("f"), nullptr);
  EXPECT_NE(cache.Find("b"), nullptr);
}

TEST(TextCacheTest, KeepsTheFirstOfTwo) {
  TextCache<int> cache(8);
  for (int i = 0; i < 10; ++i) cache.Add("a", Value(i), 0);
  cache.Add("b", Value(99), 0);
  EXPECT_EQ(*cache.Find("a"), 0);
  EXPECT_EQ(*cache.Find("b"), 99);
}

}  // namespace
