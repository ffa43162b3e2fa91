// The frame around a dialog.
#include <algorithm>
#include <utility>

#include "tools/dorn-terminal/Painter.h"
#include "tools/dorn-terminal/View.h"
#include "tools/dorn-terminal/Width.h"

namespace dorn::terminal {

namespace {

using station::Item;
using station::Session;
using station::Widget;

constexpr Style kBannerStyle{Tone::kAlarm, true, true, false};
constexpr Style kMildStyle{Tone::kWarn, true, false, false};

std::string LimitWords(const Item& item, const Texts& texts) {
  std::string words;
  if (item.mMin) words += LimitText(item, *item.mMin);
  if (item.mMin || item.mMax) words += " … ";
  if (item.mMax) words += LimitText(item, *item.mMax);
  if (!item.mUnit.empty() && !words.empty()) words += " " + item.mUnit;
  if (item.mStep) words += "  " + Filled(texts.step, LimitText(item, *item.mStep));
  return words;
}

}  // namespace

Grid View::Draw(Ms now) {
  if (mHasActed) Rebuild(now);
  if (!mIsArranged) Arrange();
  Grid grid(mWidth, mHeight);
  Painter painter(grid);
  mKeySpots.clear();
  if (mWidth < kSmallestWidth || mHeight < kSmallestHeight) {
    int y = 0;
    for (const auto& line : Wrapped(Words().tooSmall, mWidth, static_cast<std::size_t>(mHeight))) {
      painter.Put(0, y++, line, kPlainStyle, mWidth);
    }
    return grid;
  }
  DrawBody(grid);
  DrawTitle(painter, now);
  if (mMode == Mode::kDialog && HasAlarmList()) DrawAlarmBar(painter);
  DrawStatus(painter, now);
  DrawKeys(painter);
  if (mPopup) {
    grid.mCaretX = grid.mCaretY = -1;
    mPopup->Draw(grid);
  }
  return grid;
}

void View::DrawBody(Grid& grid) {
  const Rect frame{0, BodyTop(), mWidth, BodyHeight()};
  const int left = (mWidth - mSheet.mWidth) / 2;
  const bool isForm = mMode == Mode::kLogIn;
  const int top = isForm ? std::max(0, (frame.mHeight - mSheet.mHeight) / 3) : -mScroll;
  Painter painter(grid, frame, left, frame.mY + top);
  ObjectPainter(painter, mStates, Words()).Draw(mSheet);
  if (isForm) return;
  const bool isNothing = mSession.Dialog().GetState() == station::Replica::State::kNothing;
  const bool isEntering = mSession.GetState() == Session::State::kEntering && mDialog.empty();
  if (isNothing || isEntering) {
    painter.Put(2, mScroll + 1, isNothing ? Words().nothing : Words().entering, kBoldStyle,
                mWidth - 4);
  }
}

void View::DrawTitle(Painter& painter, Ms) const {
  const Texts& texts = Words();
  std::string right;
  if (mMode == Mode::kDialog) {
    right = mUser + "@" + mSetup.mHost;
    if (mSession.Texts().mUnreadable > 0) {
      right += "  " + Filled(texts.unreadable, std::to_string(mSession.Texts().mUnreadable));
    }
    if (mSession.StaysLoggedIn()) right += "  " + std::string(texts.stay);
    if (mSession.Quality() && !mSession.StaleSince()) {
      right += "  " + Filled(texts.quality, std::to_string(*mSession.Quality()));
    }
    if (!mSession.StaleSince()) right += "  " + std::string(texts.online);
  } else {
    right = mSetup.mHost;
  }
  Style style = kReverseStyle;
  style.mIsBold = true;
  painter.Fill({0, 0, mWidth, 1}, kReverseStyle);
  const int used = painter.Put(1, 0, mScreen.mTitle, style, mWidth / 2);
  painter.PutRight(used + 3, 0, right, kReverseStyle, mWidth - used - 4);
}

void View::DrawAlarmBar(Painter& painter) const {
  const Texts& texts = Words();
  const auto& alarms = mScreen.mAlarmBar;
  if (alarms.empty()) {
    painter.Put(1, 1, texts.noAlarms, kDimStyle, mWidth - 2);
    return;
  }
  const station::AlarmLine& first = alarms.front();
  Style style{mStates.mIsStale ? Tone::kDim : ToneOf(first.mState), true, true, false};
  painter.Fill({0, 1, mWidth, 1}, style);
  const std::string count = alarms.size() < 2
                                ? std::string()
                                : Filled(texts.moreAlarms, std::to_string(alarms.size())) + "  ";
  const std::string right = count + "F4 " + texts.ack;
  const int taken = std::min(TextWidth(right, mWidth), mWidth / 2);
  const std::string text = (first.mState == station::Condition::kBad ? "?? " : "!! ") +
                           (first.mText.empty() ? first.mKey : first.mText);
  painter.Put(1, 1, text, style, mWidth - taken - 4);
  painter.PutRight(0, 1, right, style, mWidth - 1);
}

// The worst thing there is to say.
void View::DrawStatus(Painter& painter, Ms now) const {
  const Texts& texts = Words();
  const int y = mHeight - 2;
  std::string part;
  if (mSheet.mHeight > BodyHeight() && mMode == Mode::kDialog) {
    part = std::to_string(mScroll + 1) + "-" +
           std::to_string(std::min(mSheet.mHeight, mScroll + BodyHeight())) + "/" +
           std::to_string(mSheet.mHeight);
  }
  const int room = mWidth - 2 - (part.empty() ? 0 : TextWidth(part) + 2);
  if (const auto since = mSession.StaleSince()) {
    std::string words = CauseText(mSession.GetCause(), texts);
    if (words.empty()) words = texts.hostLost;
    if (!mSession.Message().empty()) words += " (" + mSession.Message() + ")";
    const std::string age = Filled(texts.since, DurationText(now - *since, Language()));
    painter.Fill({0, y, mWidth, 1}, kBannerStyle);
    const int used = TextWidth(age, room) + 1;
    painter.Put(1, y, Cut(words, room - used) + " " + age, kBannerStyle, room);
    return;
  }
  const auto endsIn = EndsIn(now);
  if (!mNote.empty()) {
    painter.Put(1, y, mNote, kMildStyle, room);
  } else if (endsIn) {
    painter.Put(1, y, Filled(texts.endsIn, DurationText(*endsIn, Language())), kMildStyle, room);
  } else if (mMode == Mode::kDialog && !mSession.Message().empty()) {
    painter.Put(1, y, mSession.Message(), kMildStyle, room);
  } else {
    painter.Put(1, y, FocusWords(), kDimStyle, room);
  }
  painter.PutRight(0, y, part, kDimStyle, mWidth - 1);
}

// Limits and hint of what has the focus.
std::string View::FocusWords() const {
  const Item* item = FocusItem();
  if (item == nullptr || mMode == Mode::kLogIn) return {};
  const Texts& texts = Words();
  std::string words;
  const auto add = [&words](const std::string& more) {
    if (more.empty()) return;
    if (!words.empty()) words += "  ";
    words += more;
  };
  const auto draft = mStates.mDrafts.find(item->mName);
  if (draft != mStates.mDrafts.end()) add(texts.unsent);
  const bool isNumber = item->mWidget == Widget::kSlider || item->mIsNumeric;
  if (isNumber) add(LimitWords(*item, texts));
  add(item->mHint);
  if (item->mFormat == station::Format::kLines && !item->mIsReadOnly) {
    add(std::string("F9 ") + texts.sendKey);
  }
  return words;
}

void View::DrawKeys(Painter& painter) {
  const Texts& texts = Words();
  const bool isIn = mMode == Mode::kDialog;
  const std::pair<int, const char*> keys[] = {{1, texts.help},
                                              {2, isIn ? texts.menu : nullptr},
                                              {3, isIn ? texts.find : nullptr},
                                              {4, isIn && HasAlarmList() ? texts.alarms : nullptr},
                                              {5, isIn ? texts.refresh : nullptr},
                                              {6, texts.language},
                                              {8, isIn ? texts.logOut : nullptr},
                                              {10, texts.quit},
                                              {7, isIn ? texts.stay : nullptr}};
  int x = 0;
  const int y = mHeight - 1;
  for (const auto& [number, text] : keys) {
    if (text == nullptr) continue;
    const std::string name = "F" + std::to_string(number);
    const int width = TextWidth(name) + TextWidth(text) + 1;
    if (x + width > mWidth) continue;
    mKeySpots.push_back({{x, y, width, 1}, number});
    x += painter.Put(x, y, name, kDimStyle, mWidth - x);
    x += painter.Put(x, y, text, kReverseStyle, mWidth - x) + 1;
  }
}

}  // namespace dorn::terminal
