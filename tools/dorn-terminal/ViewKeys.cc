// What keys mean, from the outside in: a list that lies over the screen, the frame, the object that
// has the focus, the way to the next one.
#include <algorithm>
#include <utility>

#include "station/Numbers.h"
#include "tools/dorn-terminal/Focus.h"
#include "tools/dorn-terminal/LogInForm.h"
#include "tools/dorn-terminal/View.h"

namespace dorn::terminal {

namespace {

using station::Item;
using station::Widget;

constexpr int kWheelLines = 3;
constexpr int kNumberLength = 40;

bool IsTypable(const Spot& spot) {
  return spot.mPart == Part::kItem && spot.mItem->mWidget == Widget::kEdit &&
         spot.mItem->mIsEnabled && !spot.mItem->mIsReadOnly;
}

std::optional<Direction> DirectionOf(const Key& key) {
  switch (key.mCode) {
    case KeyCode::kUp:
      return Direction::kUp;
    case KeyCode::kDown:
      return Direction::kDown;
    case KeyCode::kLeft:
      return Direction::kLeft;
    case KeyCode::kRight:
      return Direction::kRight;
    default:
      return std::nullopt;
  }
}

// A number `by` further, inside the limits.
std::string Stepped(const Item& item, long long value, long long by) {
  value += by;
  if (item.mMin) value = std::max(value, *item.mMin);
  if (item.mMax) value = std::min(value, *item.mMax);
  return std::to_string(value);
}

long long WholeOf(const Item& item, std::string_view raw) {
  const auto number = station::ReadDecimal(raw);
  if (!number) return item.mMin.value_or(0);
  const auto whole = station::ReadDecimal(station::WrittenDecimal(*number, 1, 0));
  return whole ? whole->mDigits : 0;
}

}  // namespace

void View::HandleKey(const Key& key, Ms now) {
  // Keys that came together are handled without a picture in between.
  if (mHasActed) Rebuild(now);
  mNote.clear();
  mTouchedAt = now;
  mSession.Touched(now);
  if (mPopup && !key.IsFunction(10)) return OnPopupKey(key, now);
  if (OnFrameKey(key, now)) return;
  if (key.Is(KeyCode::kClick)) return OnClick(key, now);
  const Spot* spot = FocusSpot();
  if (spot != nullptr && OnObjectKey(*spot, key, now)) return;
  if (key.IsText("q")) {
    mWantsQuit = true;
  } else if (key.IsText("?")) {
    OpenHelp();
  } else if (key.IsText("/")) {
    if (mMode == Mode::kDialog) OpenFind();
  } else {
    OnMoveKey(key, now);
  }
}

// True for the keys that mean the same wherever the focus is.
bool View::OnFrameKey(const Key& key, Ms now) {
  if (key.Is(KeyCode::kWheelUp) || key.Is(KeyCode::kWheelDown)) {
    ScrollBy(key.Is(KeyCode::kWheelUp) ? -kWheelLines : kWheelLines);
    return true;
  }
  if (!key.Is(KeyCode::kFunction)) return false;
  const bool isIn = mMode == Mode::kDialog;
  switch (key.mNumber) {
    case 1:
      OpenHelp();
      break;
    case 2:
      if (isIn) OpenMenu();
      break;
    case 3:
      if (isIn) OpenFind();
      break;
    case 4:
      if (isIn) OpenAlarms();
      break;
    case 5:
      mSession.Refresh(now);
      break;
    case 6:
      mSetup.mLanguage = Language() == "ja" ? "en" : "ja";
      mHasActed = true;
      break;
    case 7:
      mSession.SetStayLoggedIn(!mSession.StaysLoggedIn(), now);
      break;
    case 8:
      if (isIn) {
        mSession.LogOut();
        mKept.clear();
        mStates.mDrafts.clear();
        mSent.clear();
        mHasActed = true;
      }
      break;
    case 9:
      Commit(mStates.mFocus, now);
      break;
    case 10:
      mWantsQuit = true;
      break;
    default:
      break;
  }
  return true;
}

void View::OnPopupKey(const Key& key, Ms now) {
  if (mPopup->GetKind() == Popup::Kind::kAlarms && key.IsText("s")) {
    mHasSound = !mHasSound;
    RefreshPopup();
    return;
  }
  const std::string filter = mPopup->Filter();
  const Popup::Answer answer = mPopup->OnKey(key);
  if (answer == Popup::Answer::kOpen) {
    if (mPopup->Filter() != filter) RefreshPopup();
    return;
  }
  const Popup popup = std::move(*mPopup);
  mPopup.reset();
  if (answer == Popup::Answer::kChosen) OnPopupChoice(popup, now);
}

void View::OnPopupChoice(const Popup& popup, Ms now) {
  const auto chosen = popup.Chosen();
  if (!chosen) return;
  const Spot* spot = SpotOf(popup.About());
  switch (popup.GetKind()) {
    case Popup::Kind::kConfirm:
      if (chosen->mValue == "yes" && spot != nullptr) TouchButton(*spot->mItem, true, now);
      break;
    case Popup::Kind::kOptions:
      if (spot != nullptr) Set(*spot->mItem, "Value", chosen->mValue, now);
      break;
    case Popup::Kind::kMenu:
      EnterDialog(chosen->mValue, now);
      break;
    case Popup::Kind::kAlarms: {
      const std::size_t border = chosen->mValue.find('\0');
      Acknowledge(chosen->mValue.substr(0, border), chosen->mValue.substr(border + 1), now);
      break;
    }
    case Popup::Kind::kFind:
      GoTo(chosen->mValue, now);
      break;
    case Popup::Kind::kHelp:
      break;
  }
}

// The way to another object, or over the sheet where there is none.
void View::OnMoveKey(const Key& key, Ms now) {
  switch (key.mCode) {
    case KeyCode::kTab:
      return StepFocus(1, now);
    case KeyCode::kBackTab:
      return StepFocus(-1, now);
    case KeyCode::kEscape:
      return SetFocus("", now);
    case KeyCode::kPageUp:
      return ScrollBy(-std::max(1, BodyHeight() - 2));
    case KeyCode::kPageDown:
      return ScrollBy(std::max(1, BodyHeight() - 2));
    case KeyCode::kHome:
      return ScrollBy(-mSheet.mHeight);
    case KeyCode::kEnd:
      return ScrollBy(mSheet.mHeight);
    default:
      if (DirectionOf(key)) MoveFocus(key, now);
      return;
  }
}

void View::MoveFocus(const Key& key, Ms now) {
  const Spot* from = FocusSpot();
  const Direction direction = *DirectionOf(key);
  if (from == nullptr) return StepFocus(1, now);
  std::vector<Rect> places{from->mRect};
  std::vector<const Spot*> spots{from};
  for (const Spot& spot : mSheet.mSpots) {
    if (&spot == from || !CanHaveFocus(spot)) continue;
    places.push_back(spot.mRect);
    spots.push_back(&spot);
  }
  if (const auto next = NextPlace(places, 0, direction)) {
    SetFocus(FocusOf(*spots[*next]), now);
  } else if (direction == Direction::kUp || direction == Direction::kDown) {
    ScrollBy(direction == Direction::kUp ? -1 : 1);
  }
}

void View::StepFocus(int by, Ms now) {
  std::vector<const Spot*> spots;
  std::ptrdiff_t at = -1;
  for (const Spot& spot : mSheet.mSpots) {
    const bool isFocus =
        spot.mPart != Part::kBox && spot.mItem != nullptr && FocusOf(spot) == mStates.mFocus;
    if (isFocus) at = static_cast<std::ptrdiff_t>(spots.size());
    if (CanHaveFocus(spot) || isFocus) spots.push_back(&spot);
  }
  if (spots.empty()) return ScrollBy(by);
  const auto count = static_cast<std::ptrdiff_t>(spots.size());
  const std::ptrdiff_t next = at < 0 ? (by > 0 ? 0 : count - 1) : (at + by + count) % count;
  SetFocus(FocusOf(*spots[static_cast<std::size_t>(next)]), now);
}

// Leaving sends what was typed.
void View::SetFocus(const std::string& focus, Ms now) {
  const std::string left = mStates.mFocus;
  mStates.mFocus = focus;
  if (left != focus && !left.empty()) Commit(left, now);
  if (!mIsArranged) Arrange();
  if (const Spot* spot = FocusSpot()) ShowSpot(*spot);
}

void View::OnClick(const Key& key, Ms now) {
  for (const auto& [rect, number] : mKeySpots) {
    if (!rect.Contains(key.mX, key.mY)) continue;
    OnFrameKey(Key::Function(number), now);
    return;
  }
  if (mMode == Mode::kDialog && HasAlarmList() && key.mY == 1) return OpenAlarms();
  if (key.mY < BodyTop() || key.mY >= BodyTop() + BodyHeight()) return;
  const int x = key.mX - (mWidth - mSheet.mWidth) / 2;
  const int y = key.mY - BodyTop() + mScroll;
  for (const Spot& spot : mSheet.mSpots) {
    if (!CanHaveFocus(spot) || !spot.mRect.Contains(x, y)) continue;
    const std::string focus = FocusOf(spot);
    const bool hadFocus = focus == mStates.mFocus;
    const int line = y - spot.mRect.mY;
    SetFocus(focus, now);
    const Spot* clicked = SpotOf(focus);
    if (clicked == nullptr) return;
    const Item& item = *clicked->mItem;
    const bool hasRows = item.mWidget == Widget::kGrid || item.mWidget == Widget::kList;
    if (clicked->mPart == Part::kTab || !hasRows) return Touch(*clicked, now);
    const int rows = static_cast<int>(item.mWidget == Widget::kGrid ? item.mTable.mRows.size()
                                                                    : item.mOptions.size());
    Cursor& cursor = mStates.mCursors[item.mName];
    const int row = FirstRow(cursor.mRow, rows, clicked->mRect.mHeight - 1) + line - 1;
    if (line < 1 || row >= rows) return;
    const bool isAgain = hadFocus && cursor.mRow == row;
    cursor.mRow = row;
    // The second click on a row acts; a list has nothing else to do.
    if (isAgain || item.mWidget == Widget::kList)
      OnObjectKey(*clicked, Key::Of(KeyCode::kEnter), now);
    return;
  }
}

bool View::OnObjectKey(const Spot& spot, const Key& key, Ms now) {
  if (spot.mPart == Part::kTab) {
    if (key.IsAct()) Touch(spot, now);
    return key.IsAct();
  }
  const Item& item = *spot.mItem;
  if (!item.mIsEnabled) return false;
  switch (item.mWidget) {
    case Widget::kEdit:
      return IsTypable(spot) && OnEditKey(item, key, now);
    case Widget::kSlider:
      return !item.mIsReadOnly && OnSliderKey(item, key, now);
    case Widget::kList:
      return OnListKey(item, key, now);
    case Widget::kGrid:
      return OnTableKey(item, key, now);
    default:
      if (key.IsAct()) Touch(spot, now);
      return key.IsAct();
  }
}

bool View::OnEditKey(const Item& item, const Key& key, Ms now) {
  const std::string name = item.mName;
  const bool hasLines = item.mFormat == station::Format::kLines;
  const bool hasDraft = mStates.mDrafts.count(name) != 0;
  if (key.Is(KeyCode::kEscape) && hasDraft) {
    mStates.mDrafts.erase(name);
    mStates.mChoices.mRefusals.erase(name);
    mIsArranged = false;
    return true;
  }
  if (key.Is(KeyCode::kAltEnter) || (key.Is(KeyCode::kEnter) && !hasLines)) {
    Commit(name, now);
    if (mMode == Mode::kLogIn && name == kUserField) StepFocus(1, now);
    if (mMode == Mode::kLogIn && name == kPasswordField) LogIn(mId, mPass, now);
    return true;
  }
  const bool isStep = key.Is(KeyCode::kPageUp) || key.Is(KeyCode::kPageDown);
  if (isStep && item.mIsNumeric) {
    StepNumber(item, key.Is(KeyCode::kPageUp));
    return true;
  }
  // What is typed into a field of one line takes the place of what was there.
  const bool replaces = key.Is(KeyCode::kText) && !hasLines;
  Editor editor(replaces ? "" : TypedForm(item), hasLines,
                item.mIsNumeric ? kNumberLength : item.mMaxLength);
  if (hasDraft) editor = mStates.mDrafts[name].mEditor;
  if (!editor.OnKey(key)) return false;
  mStates.mDrafts[name] = {std::move(editor), false};
  if (mStates.mChoices.mRefusals.erase(name) != 0) mIsArranged = false;
  return true;
}

// As it is typed: sent by Enter, like a typed number.
void View::StepNumber(const Item& item, bool isUp) {
  Editor editor("", false, kNumberLength);
  const auto draft = mStates.mDrafts.find(item.mName);
  std::string raw = item.mRaw;
  if (draft != mStates.mDrafts.end()) {
    const auto typed = station::ReadDecimal(draft->second.mEditor.Text());
    if (!typed) return;
    raw = station::MultipliedDecimal(*typed, item.mScale, 0);
  }
  const long long step = std::max(1LL, item.mStep.value_or(1));
  const std::string value = Stepped(item, WholeOf(item, raw), isUp ? step : -step);
  editor.SetText(station::FormattedValue(item, value));
  mStates.mDrafts[item.mName] = {std::move(editor), false};
  if (mStates.mChoices.mRefusals.erase(item.mName) != 0) mIsArranged = false;
}

bool View::OnSliderKey(const Item& item, const Key& key, Ms now) {
  const long long step = std::max(1LL, item.mStep.value_or(1));
  const long long value = WholeOf(item, item.mRaw);
  std::string wanted;
  if (key.Is(KeyCode::kLeft) || key.Is(KeyCode::kRight)) {
    wanted = Stepped(item, value, key.Is(KeyCode::kLeft) ? -step : step);
  } else if (key.Is(KeyCode::kPageUp) || key.Is(KeyCode::kPageDown)) {
    wanted = Stepped(item, value, key.Is(KeyCode::kPageUp) ? 10 * step : -10 * step);
  } else if (key.Is(KeyCode::kHome) || key.Is(KeyCode::kEnd)) {
    wanted =
        std::to_string(key.Is(KeyCode::kHome) ? item.mMin.value_or(0) : item.mMax.value_or(100));
  } else {
    return false;
  }
  if (wanted != item.mRaw) Set(item, "Value", wanted, now);
  return true;
}

bool View::OnListKey(const Item& item, const Key& key, Ms now) {
  const int last = static_cast<int>(item.mOptions.size()) - 1;
  if (last < 0) return false;
  const auto chosen = std::find(item.mOptions.begin(), item.mOptions.end(), item.mRaw);
  const int at =
      chosen == item.mOptions.end() ? 0 : static_cast<int>(chosen - item.mOptions.begin());
  auto [found, isNew] = mStates.mCursors.emplace(item.mName, Cursor{at, 0});
  Cursor& cursor = found->second;
  cursor.mRow = std::clamp(cursor.mRow, 0, last);
  if (key.IsAct()) {
    const std::string& option = item.mOptions[static_cast<std::size_t>(cursor.mRow)];
    if (!item.mIsReadOnly && option != item.mRaw) Set(item, "Value", option, now);
    return true;
  }
  const int by = key.Is(KeyCode::kUp) ? -1 : key.Is(KeyCode::kDown) ? 1 : 0;
  const bool isInside = by != 0 && cursor.mRow + by >= 0 && cursor.mRow + by <= last;
  if (isInside) cursor.mRow += by;
  return isInside;
}

bool View::OnTableKey(const Item& item, const Key& key, Ms now) {
  const int last = static_cast<int>(item.mTable.mRows.size()) - 1;
  const int columns = static_cast<int>(item.mTable.mColumns.size());
  Cursor& cursor = mStates.mCursors[item.mName];
  cursor.mRow = std::clamp(cursor.mRow, 0, std::max(last, 0));
  cursor.mColumn = std::clamp(cursor.mColumn, 0, std::max(columns - 1, 0));
  const Cursor before = cursor;
  const Spot* spot = FocusSpot();
  const int page = spot == nullptr ? 1 : std::max(1, spot->mRect.mHeight - 2);
  switch (key.mCode) {
    case KeyCode::kUp:
    case KeyCode::kPageUp:
      cursor.mRow = std::max(0, cursor.mRow - (key.Is(KeyCode::kUp) ? 1 : page));
      break;
    case KeyCode::kDown:
    case KeyCode::kPageDown:
      cursor.mRow =
          std::clamp(cursor.mRow + (key.Is(KeyCode::kDown) ? 1 : page), 0, std::max(last, 0));
      break;
    case KeyCode::kLeft:
      cursor.mColumn = std::max(0, cursor.mColumn - 1);
      break;
    case KeyCode::kRight:
      if (spot != nullptr && IsTableWider(item, Words(), spot->mRect.mWidth, cursor.mColumn)) {
        ++cursor.mColumn;
      }
      break;
    default:
      if (!key.IsAct() || last < 0) return false;
      const station::TableRow& row = item.mTable.mRows[static_cast<std::size_t>(cursor.mRow)];
      if (row.mNeedsAck) Acknowledge(item.mName, row.mKey, now);
      return true;
  }
  const bool hasMoved = before.mRow != cursor.mRow || before.mColumn != cursor.mColumn;
  const bool isPage = key.Is(KeyCode::kPageUp) || key.Is(KeyCode::kPageDown);
  return hasMoved || isPage;
}

}  // namespace dorn::terminal
