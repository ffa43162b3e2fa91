#include "tools/dorn-load/Histogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace dorn::load {
namespace {

TEST(HistogramTest, IsEmptyAtFirst) {
  Histogram histogram;
  EXPECT_EQ(histogram.Count(), 0u);
  EXPECT_EQ(histogram.Worst(), 0);
  EXPECT_EQ(histogram.Quantile(0.5), 0);
}

TEST(HistogramTest, IsExactForShortDurations) {
  Histogram histogram;
  for (Us us = 1; us <= 100; ++us) histogram.Add(us);
  EXPECT_EQ(histogram.Quantile(0.5), 50);
  EXPECT_EQ(histogram.Quantile(0.9), 90);
  EXPECT_EQ(histogram.Quantile(0.99), 99);
  EXPECT_EQ(histogram.Quantile(1), 100);
  EXPECT_EQ(histogram.Worst(), 100);
}

// Of two, the median is the shorter one: a half does not exceed it.
TEST(HistogramTest, TakesTheDurationThatThePartDoesNotExceed) {
  Histogram histogram;
  histogram.Add(10);
  histogram.Add(200);
  EXPECT_EQ(histogram.Quantile(0), 10);
  EXPECT_EQ(histogram.Quantile(0.5), 10);
  EXPECT_EQ(histogram.Quantile(0.51), 200);
}

// A single one is the worst, and that is exact, so the slot's end does not show: with a longer one
// behind it, it does.
TEST(HistogramTest, NeverTellsLessAndAtMostOnePart128More) {
  std::vector<Us> durations;
  for (int bit = 0; bit < 62; ++bit) {
    for (const Us offset : {-1, 0, 1}) durations.push_back((Us{1} << bit) + offset);
    durations.push_back((Us{1} << bit) * 3 / 2 + 1);
  }
  for (const Us us : durations) {
    Histogram histogram;
    histogram.Add(us);
    histogram.Add(std::numeric_limits<Us>::max());
    const Us told = histogram.Quantile(0.5);
    EXPECT_GE(told, us);
    EXPECT_LE(told - us, us / 128) << us;
  }
}

TEST(HistogramTest, AgreesWithSortedDurations) {
  std::mt19937 random(7);
  std::lognormal_distribution<double> distribution(8, 2);
  Histogram histogram;
  std::vector<Us> sorted;
  for (int i = 0; i < 20000; ++i) {
    sorted.push_back(static_cast<Us>(distribution(random)));
    histogram.Add(sorted.back());
  }
  std::sort(sorted.begin(), sorted.end());
  for (const double part : {0.5, 0.9, 0.99, 0.999}) {
    const auto rank = static_cast<std::size_t>(std::ceil(part * 20000)) - 1;
    EXPECT_GE(histogram.Quantile(part), sorted[rank]);
    EXPECT_LE(histogram.Quantile(part), sorted[rank] + sorted[rank] / 128);
  }
  EXPECT_EQ(histogram.Worst(), sorted.back());
}

TEST(HistogramTest, CountsNegativeDurationsAsNone) {
  Histogram histogram;
  histogram.Add(-5);
  EXPECT_EQ(histogram.Count(), 1u);
  EXPECT_EQ(histogram.Quantile(1), 0);
}

}  // namespace
}  // namespace dorn::load
