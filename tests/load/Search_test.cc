#include "tools/dorn-load/Search.h"

#include <gtest/gtest.h>

#include <vector>

namespace dorn::load {
namespace {

// The rates that are tried of a host that bears so much.
std::vector<double> Tried(Search& search, double bears) {
  std::vector<double> tried;
  while (search.Next() && tried.size() < 1000) {
    tried.push_back(*search.Next());
    search.Tell(tried.back() <= bears);
  }
  return tried;
}

TEST(SearchTest, DoublesUntilItFails) {
  Search search(10);
  const auto tried = Tried(search, 75);
  ASSERT_GE(tried.size(), 4u);
  EXPECT_EQ(std::vector<double>(tried.begin(), tried.begin() + 4),
            (std::vector<double>{10, 20, 40, 80}));
}

TEST(SearchTest, HalvesUntilItHolds) {
  Search search(100);
  const auto tried = Tried(search, 30);
  ASSERT_GE(tried.size(), 3u);
  EXPECT_EQ(std::vector<double>(tried.begin(), tried.begin() + 3),
            (std::vector<double>{100, 50, 25}));
}

TEST(SearchTest, ComesWithinOneTwentieth) {
  for (double bears = 1; bears < 500'000; bears *= 1.7) {
    Search search(10);
    const auto tried = Tried(search, bears);
    EXPECT_LT(tried.size(), 30u);
    ASSERT_TRUE(search.HighestThatHolds() && search.LowestThatFails());
    EXPECT_LE(*search.HighestThatHolds(), bears);
    EXPECT_GT(*search.LowestThatFails(), bears);
    EXPECT_LE(*search.LowestThatFails(), *search.HighestThatHolds() * 1.05);
  }
}

TEST(SearchTest, EndsWhenNothingFails) {
  Search search(10);
  EXPECT_LT(Tried(search, 1e9).size(), 30u);
  EXPECT_EQ(search.HighestThatHolds(), Search::kHighest);
  EXPECT_FALSE(search.LowestThatFails());
}

TEST(SearchTest, EndsWhenNothingHolds) {
  Search search(10);
  EXPECT_LT(Tried(search, 0).size(), 30u);
  EXPECT_FALSE(search.HighestThatHolds());
  EXPECT_EQ(search.LowestThatFails(), Search::kLowest);
}

}  // namespace
}  // namespace dorn::load
