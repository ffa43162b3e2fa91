#include "tools/dorn-terminal/Popup.h"

#include <algorithm>

#include "tools/dorn-terminal/Focus.h"
#include "tools/dorn-terminal/Width.h"

namespace dorn::terminal {

namespace {

constexpr int kPage = 8;
constexpr int kWidest = 76;
constexpr std::size_t kLongestFilter = 60;

}  // namespace

void Popup::SetEntries(std::vector<Entry> entries) {
  const std::string value = mCursor < mEntries.size() ? mEntries[mCursor].mValue : "";
  mEntries = std::move(entries);
  const auto same = std::find_if(mEntries.begin(), mEntries.end(),
                                 [&value](const Entry& entry) { return entry.mValue == value; });
  if (same != mEntries.end()) mCursor = static_cast<std::size_t>(same - mEntries.begin());
  if (mCursor >= mEntries.size()) mCursor = mEntries.empty() ? 0 : mEntries.size() - 1;
}

std::optional<Popup::Entry> Popup::Chosen() const {
  if (mCursor >= mEntries.size()) return std::nullopt;
  return mEntries[mCursor];
}

void Popup::Move(int by) {
  if (mEntries.empty()) {
    mFirst = std::max(0, mFirst + by);
    return;
  }
  const int last = static_cast<int>(EntryCount()) - 1;
  mCursor = static_cast<std::size_t>(std::clamp(static_cast<int>(mCursor) + by, 0, last));
}

Popup::Answer Popup::OnKey(const Key& key) {
  const bool isQuestion = mKind == Kind::kConfirm;
  switch (key.mCode) {
    case KeyCode::kEscape:
      return Answer::kClosed;
    case KeyCode::kEnter:
      return mEntries.empty() ? Answer::kClosed : Answer::kChosen;
    case KeyCode::kUp:
    case KeyCode::kBackTab:
    case KeyCode::kWheelUp:
      Move(-1);
      break;
    case KeyCode::kDown:
    case KeyCode::kTab:
    case KeyCode::kWheelDown:
      Move(1);
      break;
    case KeyCode::kLeft:
      if (isQuestion) Move(-1);
      break;
    case KeyCode::kRight:
      if (isQuestion) Move(1);
      break;
    case KeyCode::kPageUp:
      Move(-kPage);
      break;
    case KeyCode::kPageDown:
      Move(kPage);
      break;
    case KeyCode::kHome:
      Move(-static_cast<int>(EntryCount()));
      break;
    case KeyCode::kEnd:
      Move(static_cast<int>(EntryCount()));
      break;
    case KeyCode::kBackspace:
      while (!mFilter.empty() && (static_cast<unsigned char>(mFilter.back()) & 0xC0) == 0x80) {
        mFilter.pop_back();
      }
      if (!mFilter.empty()) mFilter.pop_back();
      break;
    case KeyCode::kText:
      return OnText(key);
    case KeyCode::kClick:
      return OnClick(key.mX, key.mY);
    default:
      break;
  }
  return Answer::kOpen;
}

Popup::Answer Popup::OnText(const Key& key) {
  if (mHasFilter) {
    if (mFilter.size() < kLongestFilter) mFilter += key.mText;
    return Answer::kOpen;
  }
  if (key.IsText(" ")) return mEntries.empty() ? Answer::kClosed : Answer::kChosen;
  if (mKind == Kind::kHelp && (key.IsText("q") || key.IsText("?"))) return Answer::kClosed;
  if (mKind == Kind::kConfirm && (key.IsText("y") || key.IsText("n"))) {
    mCursor = key.IsText("y") ? 0 : 1;
    return Answer::kChosen;
  }
  // The entries of the menu are numbered.
  const int digit = key.mText[0] - '1';
  if (mKind == Kind::kMenu && digit >= 0 && digit < 9 &&
      static_cast<std::size_t>(digit) < mEntries.size()) {
    mCursor = static_cast<std::size_t>(digit);
    return Answer::kChosen;
  }
  return Answer::kOpen;
}

Popup::Answer Popup::OnClick(int x, int y) {
  if (!mBox.Contains(x, y)) return mKind == Kind::kConfirm ? Answer::kOpen : Answer::kClosed;
  if (!mList.Contains(x, y)) return Answer::kOpen;
  const auto row = static_cast<std::size_t>(mFirst + y - mList.mY);
  if (row >= mEntries.size()) return Answer::kOpen;
  mCursor = row;
  return Answer::kChosen;
}

void Popup::Draw(Grid& grid) {
  Painter painter(grid);
  const int most = std::max(4, std::min(kWidest, grid.Width() - 4));
  int width = TextWidth(mTitle, most) + 4;
  std::vector<std::string> lines;
  for (const std::string& line : mLines) {
    const auto wrapped = Wrapped(line, most - 4, 100);
    if (wrapped.empty()) lines.emplace_back();
    lines.insert(lines.end(), wrapped.begin(), wrapped.end());
  }
  for (const std::string& line : lines) width = std::max(width, TextWidth(line, most) + 4);
  for (const Entry& entry : mEntries) width = std::max(width, TextWidth(entry.mText, most) + 4);
  if (mHasFilter) width = std::max(width, 40);
  width = std::min(width, most);
  const int head = static_cast<int>(lines.size()) + (mHasFilter ? 1 : 0);
  const int wanted = head + static_cast<int>(mEntries.size());
  const int visible = std::max(1, std::min(wanted, grid.Height() - 4));
  mBox = {(grid.Width() - width) / 2, std::max(0, (grid.Height() - visible - 2) / 2), width,
          visible + 2};
  painter.Fill(mBox, kPlainStyle);
  painter.Box(mBox, mTitle, kBoldStyle, kBoldStyle);
  const Rect inner{mBox.mX + 2, mBox.mY + 1, width - 4, visible};
  const bool scrollsLines = mEntries.empty() && !mHasFilter;
  if (scrollsLines) mFirst = std::clamp(mFirst, 0, std::max(0, head - visible));
  int y = inner.mY;
  for (std::size_t i = scrollsLines ? static_cast<std::size_t>(mFirst) : 0;
       i < lines.size() && y < inner.Bottom(); ++i) {
    painter.Put(inner.mX, y++, lines[i], kPlainStyle, inner.mWidth);
  }
  if (mHasFilter && y < inner.Bottom()) {
    const int used = painter.Put(inner.mX, y, "/" + mFilter, kPlainStyle, inner.mWidth - 1);
    painter.PutCaret(inner.mX + used, y++);
  }
  mList = {inner.mX, y, inner.mWidth, std::max(0, inner.Bottom() - y)};
  if (scrollsLines) return;
  const int cursor = static_cast<int>(mCursor);
  mFirst = std::max(0, ScrolledTo(mFirst, std::max(1, mList.mHeight), cursor, cursor + 1));
  for (int i = 0; i < mList.mHeight; ++i) {
    const auto at = static_cast<std::size_t>(mFirst) + static_cast<std::size_t>(i);
    if (at >= mEntries.size()) break;
    const Style style{mEntries[at].mTone, false, at == mCursor, false};
    painter.Fill({mList.mX, mList.mY + i, mList.mWidth, 1}, style);
    painter.Put(mList.mX, mList.mY + i, mEntries[at].mText, style, mList.mWidth);
  }
}

}  // namespace dorn::terminal
