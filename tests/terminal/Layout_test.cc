#include "tools/dorn-terminal/Layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace dorn::terminal {
namespace {

using station::Card;
using station::Item;
using station::Place;
using station::Screen;
using station::Widget;

Item Group(const std::string& name, const Place& place, std::vector<Item> children) {
  Item item;
  item.mName = name;
  item.mWidget = Widget::kGroup;
  item.mPlace = place;
  item.mChildren = std::move(children);
  return item;
}

Item Button(const std::string& name, const Place& place) {
  Item item;
  item.mName = name;
  item.mWidget = Widget::kButton;
  item.mPlace = place;
  return item;
}

Screen ScreenOf(Item group) {
  Card card;
  card.mName = group.mName;
  card.mColumns = 12;
  card.mItems.push_back(std::move(group));
  Screen screen;
  screen.mCards.push_back(std::move(card));
  return screen;
}

Rect RectOf(const Sheet& sheet, const std::string& name) {
  for (const Spot& spot : sheet.mSpots) {
    if (spot.mItem != nullptr && spot.mItem->mName == name) return spot.mRect;
  }
  ADD_FAILURE() << "no spot of " << name;
  return {};
}

TEST(TerminalLayoutTest, PlacesGroupsInGroupsBelowWhatStandsAboveThem) {
  const Item inner =
      Group("inner", {6, 7, 6, 1}, {Button("c", {0, 3, 6, 1}), Button("d", {6, 9, 6, 1})});
  const Item middle = Group("middle", {0, 5, 12, 1}, {Button("b", {0, 0, 12, 1}), inner});
  const Screen screen = ScreenOf(Group("outer", {}, {Button("a", {0, 0, 12, 1}), middle}));
  const Sheet sheet = MakeSheet(screen, {}, 100);
  EXPECT_EQ(RectOf(sheet, "a").mY, 1);
  EXPECT_EQ(RectOf(sheet, "middle").mY, 2);
  EXPECT_EQ(RectOf(sheet, "b").mY, 3);
  EXPECT_EQ(RectOf(sheet, "inner").mY, 4);
  EXPECT_EQ(RectOf(sheet, "c").mY, 5);
  EXPECT_EQ(RectOf(sheet, "d").mY, 6);
  EXPECT_EQ(RectOf(sheet, "inner").mHeight, 4);
  EXPECT_EQ(RectOf(sheet, "middle").mHeight, 7);
  EXPECT_EQ(sheet.mHeight, 10);
}

// Seconds of this thread, which do not count what else the machine does. The best of a few.
double SecondsFor(int depth) {
  Item item = Button("b", {0, 0, 12, 1});
  for (int i = 0; i < depth; ++i) item = Group("g", {0, 0, 12, 1}, {std::move(item)});
  const Screen screen = ScreenOf(std::move(item));
  double best = 1e9;
  for (int i = 0; i < 7; ++i) {
    timespec before{};
    timespec after{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
    for (int repeat = 0; repeat < 10; ++repeat) MakeSheet(screen, {}, 100);
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
    best = std::min(best, static_cast<double>(after.tv_sec - before.tv_sec) +
                              static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9);
  }
  return best;
}

// Four times as deep takes a little more than four times as long, and some hundred times as long if
// each group is placed twice.
TEST(TerminalLayoutTest, TakesTimeThatGrowsWithTheObjectsAndNotWithTheirDepth) {
  EXPECT_LT(SecondsFor(12), 40 * SecondsFor(3));
}

}  // namespace
}  // namespace dorn::terminal
