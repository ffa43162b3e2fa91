#include "tools/dorn-terminal/Objects.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "tools/dorn-terminal/Width.h"

namespace dorn::terminal {

namespace {

using station::Color;
using station::Condition;
using station::Format;
using station::Item;
using station::Widget;

Tone ToneOf(Color color) {
  switch (color) {
    case Color::kAccent:
      return Tone::kAccent;
    case Color::kOk:
      return Tone::kOk;
    case Color::kWarn:
      return Tone::kWarn;
    case Color::kAlarm:
      return Tone::kAlarm;
    default:
      return Tone::kPlain;
  }
}

// What tells a state where there are no colours.
const char* MarkOf(Condition condition) {
  switch (condition) {
    case Condition::kInfo:
      return "i";
    case Condition::kWarn:
      return "!";
    case Condition::kAlarm:
      return "!!";
    case Condition::kBad:
      return "??";
    case Condition::kOff:
      return "-";
    case Condition::kNormal:
      break;
  }
  return "";
}

// Between 0 and `most`, where a value lies between its limits.
int PositionOf(const Item& item, double value, int most) {
  const auto low = static_cast<double>(item.mMin.value_or(0));
  const auto high = static_cast<double>(item.mMax.value_or(100));
  if (high <= low) return 0;
  const double part = std::clamp((value - low) / (high - low), 0.0, 1.0);
  return static_cast<int>(std::lround(part * most));
}

}  // namespace

Tone ToneOf(Condition condition) {
  switch (condition) {
    case Condition::kInfo:
      return Tone::kInfo;
    case Condition::kWarn:
      return Tone::kWarn;
    case Condition::kAlarm:
      return Tone::kAlarm;
    case Condition::kBad:
      return Tone::kBad;
    case Condition::kOff:
      return Tone::kDim;
    case Condition::kNormal:
      break;
  }
  return Tone::kPlain;
}

std::string FocusOf(const Spot& spot) {
  return spot.mPart == Part::kTab ? "\x01" + spot.mItem->mName : spot.mItem->mName;
}

std::string TypedForm(const Item& item) { return item.mIsNumeric ? item.mValue : item.mRaw; }

int FirstRow(int cursor, int rows, int visible) {
  const int most = std::max(0, rows - visible);
  return std::clamp(cursor - visible / 2, 0, most);
}

void ObjectPainter::Draw(const Sheet& sheet) {
  for (const Spot& spot : sheet.mSpots) {
    if (mPainter.IsVisible(spot.mRect)) DrawSpot(spot);
  }
}

void ObjectPainter::DrawSpot(const Spot& spot) {
  switch (spot.mPart) {
    case Part::kBox:
    case Part::kCaption:
      return DrawFrame(spot);
    case Part::kTab:
      return DrawTab(spot);
    case Part::kItem:
      return DrawItem(spot);
  }
}

void ObjectPainter::DrawFrame(const Spot& spot) {
  const Item* item = spot.mItem;
  Style title = kBoldStyle;
  std::string caption;
  if (item != nullptr) {
    title.mTone = StyleOf(*item).mTone;
    caption = item->mCaption;
    const std::string mark = item->mIsPending ? "…" : MarkOf(item->mState);
    if (!mark.empty()) caption += " " + mark;
  }
  if (spot.mPart == Part::kCaption) {
    mPainter.Put(spot.mRect.mX, spot.mRect.mY, caption, title, spot.mRect.mWidth);
    return;
  }
  mPainter.Box(spot.mRect, caption, kDimStyle, title);
  const bool isTable = item != nullptr && item->mWidget == Widget::kGrid;
  const std::string error =
      item == nullptr || isTable ? std::string() : ErrorOf(*item, mStates.mChoices);
  mPainter.Put(spot.mRect.mX + 1, spot.mRect.Bottom() - 2, error,
               Style{Tone::kAlarm, false, false, false}, spot.mRect.mWidth - 2);
}

void ObjectPainter::DrawTab(const Spot& spot) {
  Style style = mStates.mIsStale || !spot.mItem->mIsEnabled ? kDimStyle : kPlainStyle;
  style.mIsBold = spot.mIsChosen;
  style.mIsUnderlined = spot.mIsChosen;
  style.mIsReverse = mStates.mFocus == FocusOf(spot);
  const Rect& rect = spot.mRect;
  mPainter.Put(rect.mX, rect.mY, spot.mIsChosen ? "[" : " ", kDimStyle, 1);
  const int used = mPainter.Put(rect.mX + 1, rect.mY, spot.mItem->mCaption, style, rect.mWidth - 3);
  mPainter.Put(rect.mX + 1 + used, rect.mY, spot.mIsChosen ? "]" : " ", kDimStyle, 1);
}

void ObjectPainter::DrawItem(const Spot& spot) {
  const Item& item = *spot.mItem;
  Rect rect = spot.mRect;
  DrawMark(item, rect);
  const std::string error = ErrorOf(item, mStates.mChoices);
  if (!error.empty()) {
    --rect.mHeight;
    mPainter.Put(rect.mX + kMarkWidth, rect.Bottom(), error, {Tone::kAlarm, false, false, false},
                 rect.mWidth - kMarkWidth);
  }
  switch (item.mWidget) {
    case Widget::kButton:
      return DrawButton(item, rect);
    case Widget::kEdit:
      return DrawEdit(item, rect);
    case Widget::kCheck:
    case Widget::kRadio:
      return DrawCheck(item, rect);
    case Widget::kSlider:
      return DrawSlider(item, rect);
    case Widget::kList:
      return DrawList(item, rect);
    case Widget::kCombo:
      return DrawCombo(item, rect);
    case Widget::kImage:
      return DrawImage(item, rect);
    case Widget::kGrid:
      return DrawTable(item, rect);
    default:
      return DrawLabel(item, rect);
  }
}

Style ObjectPainter::StyleOf(const Item& item) const {
  if (mStates.mIsStale || !item.mIsEnabled) return kDimStyle;
  Style style;
  style.mTone = item.mState == Condition::kNormal ? ToneOf(item.mColor) : ToneOf(item.mState);
  style.mIsBold = item.mState == Condition::kAlarm || item.mState == Condition::kBad;
  return style;
}

Style ObjectPainter::CaptionStyle(const Item& item) const {
  if (mStates.mIsStale || !item.mIsEnabled) return kDimStyle;
  return HasFocus(item) ? kBoldStyle : kPlainStyle;
}

Style ObjectPainter::ControlStyle(const Item& item) const {
  Style style = StyleOf(item);
  style.mIsReverse = HasFocus(item);
  return style;
}

void ObjectPainter::DrawMark(const Item& item, const Rect& rect) {
  if (item.mWidget == Widget::kGrid) return;
  const auto draft = mStates.mDrafts.find(item.mName);
  const bool isUnsent =
      draft != mStates.mDrafts.end() && draft->second.mEditor.Text() != TypedForm(item);
  const std::string mark = isUnsent ? "+" : item.mIsPending ? "…" : MarkOf(item.mState);
  Style style = StyleOf(item);
  if (isUnsent) style = {Tone::kWarn, true, false, false};
  mPainter.Put(rect.mX, rect.mY, mark, style, kMarkWidth);
}

int ObjectPainter::DrawCaption(const Item& item, const Rect& rect, int reserved) {
  const int room = rect.mWidth - kMarkWidth;
  const int most = std::max(room - reserved - 1, room / 3);
  const int used = mPainter.Put(rect.mX + kMarkWidth, rect.mY, item.mCaption, CaptionStyle(item),
                                std::min(most, room));
  return std::max(0, room - used - 1);
}

void ObjectPainter::DrawLabel(const Item& item, const Rect& rect) {
  const bool isGauge = item.mFormat == Format::kBar || item.mFormat == Format::kSpark;
  const int room = rect.mWidth - kMarkWidth;
  const int unit = item.mUnit.empty() ? 0 : 1 + TextWidth(item.mUnit, room);
  const bool isBelow = !isGauge && rect.mHeight > 1;
  const int wanted = isBelow ? 0 : TextWidth(item.mValue, room) + unit;
  const int left = DrawCaption(item, rect, wanted);
  const Style style = StyleOf(item);
  Style focused = style;
  focused.mIsUnderlined = HasFocus(item);
  if (isBelow) return DrawValueBelow(item, rect, focused);
  const int right = rect.Right() - std::min(unit, left);
  if (unit > 0) mPainter.PutRight(right, rect.mY, item.mUnit, kDimStyle, std::min(unit, left));
  const int forValue = std::max(0, left - unit);
  mPainter.PutRight(right - forValue, rect.mY, item.mValue, focused, forValue);
  if (isGauge && rect.mHeight > 1) DrawGauge(item, rect);
}

void ObjectPainter::DrawValueBelow(const Item& item, const Rect& rect, const Style& style) {
  const int width = rect.mWidth - kMarkWidth;
  const auto lines = Wrapped(item.mValue, width, static_cast<std::size_t>(rect.mHeight - 1));
  for (std::size_t i = 0; i < lines.size(); ++i) {
    mPainter.Put(rect.mX + kMarkWidth, rect.mY + 1 + static_cast<int>(i), lines[i], style, width);
  }
}

// A bar with its limits, or the trend.
void ObjectPainter::DrawGauge(const Item& item, const Rect& rect) {
  const int x = rect.mX + kMarkWidth;
  const int y = rect.mY + 1;
  const int width = rect.mWidth - kMarkWidth;
  if (width <= 0) return;
  if (item.mFormat == Format::kSpark) {
    const std::string spark =
        SparkText(mStates.mTrends.Of(item.mName), static_cast<double>(item.mMin.value_or(0)),
                  static_cast<double>(item.mMax.value_or(100)), width);
    mPainter.Put(x, y, spark, StyleOf(item), width);
    return;
  }
  const int filled = PositionOf(item, std::strtod(item.mRaw.c_str(), nullptr), width);
  mPainter.Fill({x, y, width, 1}, kDimStyle, "░");
  mPainter.Fill({x, y, filled, 1}, StyleOf(item), "█");
  for (const auto& limit : {item.mLowLow, item.mLow, item.mHigh, item.mHighHigh}) {
    if (!limit) continue;
    const int at = std::min(PositionOf(item, static_cast<double>(*limit), width), width - 1);
    mPainter.Put(x + at, y, "│", at < filled ? kReverseStyle : kPlainStyle, 1);
  }
}

void ObjectPainter::DrawButton(const Item& item, const Rect& rect) {
  const Style style = ControlStyle(item);
  const int x = rect.mX + kMarkWidth;
  const int room = rect.mWidth - kMarkWidth;
  const int used = mPainter.Put(x + 2, rect.mY, item.mCaption, style, room - 4);
  mPainter.Put(x, rect.mY, "[ ", style, std::min(2, room));
  mPainter.Put(x + 2 + used, rect.mY, " ]", style, 2);
}

void ObjectPainter::DrawEdit(const Item& item, const Rect& rect) {
  if (item.mFormat == Format::kLines) {
    DrawCaption(item, rect, 0);
    DrawField(item,
              {rect.mX + kMarkWidth, rect.mY + 1, rect.mWidth - kMarkWidth, rect.mHeight - 1});
    return;
  }
  const int room = rect.mWidth - kMarkWidth;
  const int unit = item.mUnit.empty() ? 0 : 1 + TextWidth(item.mUnit, room / 3);
  const int wanted = (item.mIsNumeric ? 12 : room * 3 / 5) + unit;
  const int left = DrawCaption(item, rect, std::min(wanted, room));
  const int width = std::max(1, std::min(left, wanted) - unit);
  const int x = rect.Right() - unit - width;
  DrawField(item, {x, rect.mY, width, 1});
  if (unit > 0) mPainter.Put(x + width + 1, rect.mY, item.mUnit, kDimStyle, unit - 1);
}

// What is typed, or the host's value as it is typed.
void ObjectPainter::DrawField(const Item& item, const Rect& field) {
  const bool isHidden = item.mFormat == Format::kPassword;
  Style style = StyleOf(item);
  style.mIsUnderlined = !item.mIsReadOnly;
  style.mIsReverse = HasFocus(item);
  mPainter.Fill(field, style);
  const auto draft = mStates.mDrafts.find(item.mName);
  if (draft == mStates.mDrafts.end()) {
    const std::string value =
        isHidden || item.mIsNumeric || !HasFocus(item) ? item.mValue : item.mRaw;
    if (field.mHeight == 1) {
      mPainter.Put(field.mX, field.mY, value, style, field.mWidth);
      if (HasFocus(item) && !item.mIsReadOnly) mPainter.PutCaret(field.mX, field.mY);
      return;
    }
  }
  const Editor editor =
      draft == mStates.mDrafts.end() ? Editor(item.mRaw, true, 0) : draft->second.mEditor;
  const Editor::View view = editor.Shown(field.mWidth, field.mHeight, isHidden);
  for (std::size_t i = 0; i < view.mLines.size(); ++i) {
    mPainter.Put(field.mX, field.mY + static_cast<int>(i), view.mLines[i], style, field.mWidth);
  }
  const bool isTyped = HasFocus(item) && !item.mIsReadOnly;
  if (isTyped) mPainter.PutCaret(field.mX + view.mCaretX, field.mY + view.mCaretY);
}

void ObjectPainter::DrawCheck(const Item& item, const Rect& rect) {
  const bool isRadio = item.mWidget == Widget::kRadio;
  const std::string box = isRadio ? (item.mIsOn ? "(•) " : "( ) ") : (item.mIsOn ? "[x] " : "[ ] ");
  Style style = ControlStyle(item);
  style.mIsBold = style.mIsBold || item.mIsOn;
  mPainter.Put(rect.mX + kMarkWidth, rect.mY, box + item.mCaption, style, rect.mWidth - kMarkWidth);
}

void ObjectPainter::DrawSlider(const Item& item, const Rect& rect) {
  DrawLabel(item, {rect.mX, rect.mY, rect.mWidth, 1});
  const int x = rect.mX + kMarkWidth;
  const int y = rect.mY + 1;
  const int width = rect.mWidth - kMarkWidth;
  if (width < 3) return;
  const Style style = ControlStyle(item);
  mPainter.Fill({x, y, width, 1}, style, "─");
  mPainter.Put(x, y, "├", style, 1);
  mPainter.Put(x + width - 1, y, "┤", style, 1);
  const int at = PositionOf(item, std::strtod(item.mRaw.c_str(), nullptr), width - 1);
  mPainter.Put(x + at, y, "●", style, 1);
}

void ObjectPainter::DrawList(const Item& item, const Rect& rect) {
  DrawCaption(item, rect, 0);
  const int visible = rect.mHeight - 1;
  const auto cursor = mStates.mCursors.find(item.mName);
  const auto chosen = std::find(item.mOptions.begin(), item.mOptions.end(), item.mRaw);
  const int rows = static_cast<int>(item.mOptions.size());
  const int row = cursor != mStates.mCursors.end()
                      ? cursor->second.mRow
                      : static_cast<int>(chosen - item.mOptions.begin());
  const int first = FirstRow(row, rows, visible);
  for (int i = first; i < std::min(rows, first + visible); ++i) {
    const auto at = static_cast<std::size_t>(i);
    const bool isChosen = item.mOptions[at] == item.mRaw;
    Style style = StyleOf(item);
    style.mIsBold = style.mIsBold || isChosen;
    style.mIsReverse = HasFocus(item) && i == row;
    const int y = rect.mY + 1 + i - first;
    mPainter.Put(rect.mX + kMarkWidth, y, (isChosen ? "▸ " : "  ") + item.mOptionTexts[at], style,
                 rect.mWidth - kMarkWidth);
  }
  if (rows <= visible) return;
  mPainter.PutRight(rect.mX, rect.mY,
                    std::to_string(first + 1) + "-" + std::to_string(first + visible) + "/" +
                        std::to_string(rows),
                    kDimStyle, rect.mWidth);
}

void ObjectPainter::DrawCombo(const Item& item, const Rect& rect) {
  const auto chosen = std::find(item.mOptions.begin(), item.mOptions.end(), item.mRaw);
  const std::string text =
      chosen == item.mOptions.end()
          ? item.mRaw
          : item.mOptionTexts[static_cast<std::size_t>(chosen - item.mOptions.begin())];
  const int room = rect.mWidth - kMarkWidth;
  const int wanted = std::min(room * 3 / 5, std::max(10, TextWidth(text, room) + 4));
  const int left = std::min(DrawCaption(item, rect, wanted), wanted);
  const int x = rect.Right() - left;
  const Style style = ControlStyle(item);
  mPainter.Fill({x, rect.mY, left, 1}, style);
  mPainter.Put(x, rect.mY, "[", style, 1);
  mPainter.Put(x + 1, rect.mY, text, style, left - 4);
  mPainter.PutRight(x, rect.mY, "▾]", style, left);
}

// A terminal shows no pictures; it says that there is one.
void ObjectPainter::DrawImage(const Item& item, const Rect& rect) {
  const std::string name = item.mImage.empty() ? item.mValue : item.mImage;
  const std::string text = std::string(mTexts.picture) + (name.empty() ? "" : ": " + name);
  const int left = DrawCaption(item, rect, TextWidth(text, rect.mWidth));
  mPainter.PutRight(rect.Right() - left, rect.mY, text, kDimStyle, left);
}

}  // namespace dorn::terminal
