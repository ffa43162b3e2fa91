#include "tools/dorn-terminal/Layout.h"

#include <algorithm>
#include <cstddef>

#include "tools/dorn-terminal/Width.h"

namespace dorn::terminal {

namespace {

using station::Format;
using station::Grouping;
using station::Item;
using station::Widget;

constexpr int kColumnWidth = 40;
constexpr int kInnerColumnWidth = 36;
constexpr int kNarrowestBox = 16;
constexpr std::size_t kValueLines = 3;
constexpr int kPageColumns = 12;

// The lowest place that is free in each of some columns.
class Columns {
 public:
  Columns(const Rect& area, int count)
      : mArea(area), mBottoms(static_cast<std::size_t>(std::max(count, 1)), area.mY) {}

  int Count() const { return static_cast<int>(mBottoms.size()); }
  int Left(int column) const { return mArea.mX + mArea.mWidth * column / Count(); }
  int Bottom() const { return *std::max_element(mBottoms.begin(), mBottoms.end()); }

  // The highest place for something that spans so many columns.
  Rect Take(int span) const {
    int best = 0;
    for (int column = 0; column + span <= Count(); ++column) {
      if (BottomOf(column, span) < BottomOf(best, span)) best = column;
    }
    return {Left(best), BottomOf(best, span), Left(best + span) - Left(best), 0};
  }
  void Fill(const Rect& rect) {
    for (int column = 0; column < Count(); ++column) {
      const bool isIn = Left(column) >= rect.mX && Left(column) < rect.Right();
      if (isIn) mBottoms[static_cast<std::size_t>(column)] = rect.Bottom();
    }
  }

 private:
  int BottomOf(int column, int span) const {
    const auto first = mBottoms.begin() + column;
    return *std::max_element(first, first + span);
  }

  Rect mArea;
  std::vector<int> mBottoms;
};

class SheetMaker {
 public:
  explicit SheetMaker(const Choices& choices) : mChoices(choices) {}

  Sheet Make(const station::Screen& screen, int width) {
    mSheet.mWidth = width;
    Columns columns({0, 0, width, 0}, width / kColumnWidth);
    for (const station::Card& card : screen.mCards) {
      const bool isSeen = std::any_of(card.mItems.begin(), card.mItems.end(),
                                      [](const Item& item) { return item.mIsVisible; });
      if (!isSeen) continue;
      const int span = card.mColumns >= kPageColumns
                           ? columns.Count()
                           : std::min(columns.Count(), (card.mColumns + 3) / 4);
      Rect place = columns.Take(span);
      if (card.mName.empty()) {
        place.mHeight = PlaceBox(nullptr, place,
                                 [&](const Rect& inner) { return PlaceAll(card.mItems, inner); });
      } else {
        place.mHeight = PlaceGroup(card.mItems.front(), place);
      }
      columns.Fill(place);
    }
    mSheet.mHeight = columns.Bottom();
    return std::move(mSheet);
  }

 private:
  // Each returns the height that it took.

  template <typename PlaceInner>
  int PlaceBox(const Item* item, const Rect& place, const PlaceInner& placeInner) {
    const std::size_t at = mSheet.mSpots.size();
    const bool hasFrame = place.mWidth >= kNarrowestBox;
    mSheet.mSpots.push_back({hasFrame ? Part::kBox : Part::kCaption, item, place, "", false});
    const int frame = hasFrame ? 1 : 0;
    const Rect inner{place.mX + frame, place.mY + 1, place.mWidth - 2 * frame, 0};
    const int height = placeInner(inner) + 1 + frame;
    mSheet.mSpots[at].mRect.mHeight = hasFrame ? height : 1;
    return height;
  }

  int PlaceGroup(const Item& group, const Rect& place) {
    return PlaceBox(&group, place, [&](const Rect& inner) {
      if (group.mWidget == Widget::kGrid) return PlaceItem(group, inner);
      if (group.mGrouping == Grouping::kTabs) return PlaceTabs(group, inner);
      return PlaceAll(group.mChildren, inner) + PlaceError(group, inner);
    });
  }

  // A group's own error stands below its objects, where its box is drawn.
  int PlaceError(const Item& group, const Rect&) {
    return ErrorOf(group, mChoices).empty() ? 0 : 1;
  }

  int PlaceAll(const std::vector<Item>& items, const Rect& area) {
    if (!items.empty() && items.front().mPlace) return PlaceOnCells(items, area);
    int y = area.mY;
    for (std::size_t i = 0; i < items.size();) {
      const std::size_t end = RunEnd(items, i);
      const Rect rest{area.mX, y, area.mWidth, 0};
      y += IsFlowing(items[i])    ? PlaceFlow(items, i, end, rest)
           : IsCard(items[i])     ? PlaceGroups(items, i, end, rest)
           : !items[i].mIsVisible ? 0
                                  : PlaceItem(items[i], rest);
      i = end;
    }
    return y - area.mY;
  }

  static bool IsFlowing(const Item& item) {
    return item.mWidget == Widget::kButton || item.mWidget == Widget::kRadio;
  }
  static bool IsCard(const Item& item) {
    return item.mWidget == Widget::kGroup || item.mWidget == Widget::kGrid;
  }

  // Buttons stand side by side, and so do groups.
  static std::size_t RunEnd(const std::vector<Item>& items, std::size_t from) {
    std::size_t end = from + 1;
    const auto kind = [](const Item& item) { return IsFlowing(item) ? 1 : IsCard(item) ? 2 : 0; };
    if (kind(items[from]) == 0) return end;
    while (end < items.size() && kind(items[end]) == kind(items[from])) ++end;
    return end;
  }

  int PlaceFlow(const std::vector<Item>& items, std::size_t from, std::size_t end,
                const Rect& area) {
    int x = area.mX;
    int y = area.mY;
    int height = 0;
    for (std::size_t i = from; i < end; ++i) {
      const Item& item = items[i];
      if (!item.mIsVisible) continue;
      const int width = std::min(area.mWidth, FlowWidth(item));
      const bool isFull = x > area.mX && (x + width > area.Right() || item.mBreaks || item.mIsWide);
      if (isFull) {
        x = area.mX;
        y += height;
        height = 0;
      }
      const int taken = ErrorOf(item, mChoices).empty() ? 1 : 2;
      const bool isWhole = item.mIsWide || taken > 1;
      Add(item, {x, y, isWhole ? area.Right() - x : width, taken});
      x = isWhole ? area.Right() : x + width + 1;
      height = std::max(height, taken);
    }
    return y + height - area.mY;
  }

  static int FlowWidth(const Item& item) { return TextWidth(item.mCaption, 200) + kMarkWidth + 4; }

  int PlaceGroups(const std::vector<Item>& items, std::size_t from, std::size_t end,
                  const Rect& area) {
    Columns columns(area, area.mWidth / kInnerColumnWidth);
    for (std::size_t i = from; i < end; ++i) {
      if (!items[i].mIsVisible) continue;
      const bool isWhole = items[i].mIsWide || items[i].mWidget == Widget::kGrid;
      Rect place = columns.Take(isWhole ? columns.Count() : 1);
      place.mHeight = PlaceGroup(items[i], place);
      columns.Fill(place);
    }
    return columns.Bottom() - area.mY;
  }

  int PlaceTabs(const Item& group, const Rect& area) {
    const Item* chosen = ChosenTab(group);
    int x = area.mX;
    int y = area.mY;
    for (const Item& child : group.mChildren) {
      if (!child.mIsVisible) continue;
      const int width = std::min(area.mWidth, TextWidth(child.mCaption, 200) + 4);
      if (x > area.mX && x + width > area.Right()) {
        x = area.mX;
        ++y;
      }
      mSheet.mSpots.push_back(
          {Part::kTab, &child, {x, y, width, 1}, group.mName, &child == chosen});
      x += width;
    }
    if (chosen == nullptr) return 0;
    const Rect rest{area.mX, y + 1, area.mWidth, 0};
    const bool isGroup = chosen->mWidget == Widget::kGroup;
    if (isGroup && chosen->mGrouping == Grouping::kTabs)
      return y + 1 - area.mY + PlaceTabs(*chosen, rest);
    return y + 1 - area.mY +
           (isGroup ? PlaceAll(chosen->mChildren, rest) : PlaceItem(*chosen, rest));
  }

  const Item* ChosenTab(const Item& group) const {
    const auto wanted = mChoices.mTabs.find(group.mName);
    const Item* first = nullptr;
    for (const Item& child : group.mChildren) {
      if (!child.mIsVisible) continue;
      if (wanted != mChoices.mTabs.end() && wanted->second == child.mName) return &child;
      if (first == nullptr) first = &child;
    }
    return first;
  }

  // Cells of a grid of 12 columns. Lines on which nothing stands take no room. How high the lines
  // are is known when all is placed: each object is placed at the top and then moved down, because
  // to place it twice would double the work with each group inside a group.
  int PlaceOnCells(const std::vector<Item>& items, const Rect& area) {
    std::vector<Placed> all;
    std::map<int, int> heights;  // Of the lines that are used.
    for (const Item& item : items) {
      if (!item.mIsVisible) continue;
      const std::size_t from = mSheet.mSpots.size();
      const Rect place{LeftOnCells(item, area), area.mY, WidthOnCells(item, area), 0};
      const int height = PlaceOne(item, place);
      all.push_back({item.mPlace->mY, height, from, mSheet.mSpots.size()});
      int& line = heights[item.mPlace->mY];
      line = std::max(line, (height + item.mPlace->mH - 1) / item.mPlace->mH);
      int& last = heights[item.mPlace->mY + item.mPlace->mH - 1];
      last = std::max(last, height - (item.mPlace->mH > 1 ? line * (item.mPlace->mH - 1) : 0));
    }
    std::map<int, int> tops;  // From the top of the area.
    int bottom = 0;
    for (const auto& [line, height] : heights) {
      tops[line] = bottom;
      bottom += height;
    }
    for (const Placed& placed : all) {
      const int top = tops[placed.mLine];
      MoveDown(placed, top);
      bottom = std::max(bottom, top + placed.mHeight);
    }
    return bottom;
  }

  // The spots of one object and all in it.
  struct Placed {
    int mLine;
    int mHeight;
    std::size_t mFrom;
    std::size_t mEnd;
  };

  void MoveDown(const Placed& placed, int by) {
    for (std::size_t i = placed.mFrom; i < placed.mEnd; ++i) mSheet.mSpots[i].mRect.mY += by;
  }

  static int LeftOnCells(const Item& item, const Rect& area) {
    return area.mX + area.mWidth * item.mPlace->mX / kPageColumns;
  }
  static int WidthOnCells(const Item& item, const Rect& area) {
    const int end = std::min(item.mPlace->mX + item.mPlace->mW, kPageColumns);
    return area.mX + area.mWidth * end / kPageColumns - LeftOnCells(item, area);
  }

  int PlaceOne(const Item& item, const Rect& place) {
    return IsCard(item) ? PlaceGroup(item, place) : PlaceItem(item, place);
  }

  int PlaceItem(const Item& item, Rect place) {
    place.mHeight = HeightOf(item, place.mWidth);
    Add(item, place);
    return place.mHeight;
  }

  void Add(const Item& item, const Rect& rect) {
    mSheet.mSpots.push_back({Part::kItem, &item, rect, "", false});
  }

  int HeightOf(const Item& item, int width) const {
    return BareHeightOf(item, width) + (ErrorOf(item, mChoices).empty() ? 0 : 1);
  }

  static int BareHeightOf(const Item& item, int width) {
    switch (item.mWidget) {
      case Widget::kLabel:
        if (item.mFormat == Format::kBar || item.mFormat == Format::kSpark) return 2;
        return 1 + static_cast<int>(ValueLinesOf(item, width));
      case Widget::kEdit:
        return item.mFormat == Format::kLines ? 1 + std::min(item.mLines, 20) : 1;
      case Widget::kSlider:
        return 2;
      case Widget::kList:
        return 1 + std::clamp(static_cast<int>(item.mOptions.size()), 1, kListLines);
      case Widget::kGrid:
        return 1 + std::clamp(static_cast<int>(item.mTable.mRows.size()), kFewestTableRows,
                              kMostTableRows);
      default:
        return 1;
    }
  }

  // A text that does not fit beside its caption stands below it.
  static std::size_t ValueLinesOf(const Item& item, int width) {
    const int room = width - kMarkWidth;
    const bool hasLines = item.mValue.find('\n') != std::string::npos;
    const int caption = TextWidth(item.mCaption, room);
    const int unit = item.mUnit.empty() ? 0 : 1 + TextWidth(item.mUnit, room);
    if (!hasLines && caption + 1 + TextWidth(item.mValue, room) + unit <= room) return 0;
    if (!hasLines && TextWidth(item.mValue, room) + unit <= room / 2) return 0;
    return Wrapped(item.mValue, room, kValueLines).size();
  }

  const Choices& mChoices;
  Sheet mSheet;
};

}  // namespace

Sheet MakeSheet(const station::Screen& screen, const Choices& choices, int width) {
  return SheetMaker(choices).Make(screen, width);
}

std::string ErrorOf(const station::Item& item, const Choices& choices) {
  const auto refusal = choices.mRefusals.find(item.mName);
  return refusal == choices.mRefusals.end() ? item.mError : refusal->second;
}

bool CanHaveFocus(const Spot& spot) {
  if (spot.mPart == Part::kTab) return spot.mItem->mIsEnabled;
  if (spot.mPart != Part::kItem || !spot.mItem->mIsEnabled) return false;
  switch (spot.mItem->mWidget) {
    case Widget::kButton:
    case Widget::kEdit:
    case Widget::kCheck:
    case Widget::kSlider:
    case Widget::kList:
    case Widget::kCombo:
    case Widget::kRadio:
    case Widget::kGrid:
      return true;
    default:
      return false;
  }
}

}  // namespace dorn::terminal
