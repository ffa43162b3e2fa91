#include "tools/dorn-terminal/Editor.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "station/Utf8.h"
#include "tools/dorn-terminal/Width.h"

namespace dorn::terminal {

namespace {

// Where the part of `text` begins of which the end fits into `width` cells. Looks from the end, so
// that a long text costs no more than what is shown.
std::size_t FirstShown(std::string_view text, int width) {
  std::size_t from = text.size();
  for (int used = 0; from > 0;) {
    std::size_t at = from - 1;
    while (at > 0 && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) --at;
    used += WidthOf(CharacterAt(text.substr(at)));
    if (used > width) break;
    from = at;
  }
  return from;
}

}  // namespace

Editor::Editor(const std::string& text, bool hasLines, int maxLength)
    : mHasLines(hasLines), mMaxLength(maxLength) {
  SetText(text);
}

void Editor::SetText(const std::string& text) {
  mText = station::ValidUtf8(text);
  mCaret = mText.size();
}

bool Editor::OnKey(const Key& key) {
  switch (key.mCode) {
    case KeyCode::kText:
      Insert(key.mText);
      return true;
    case KeyCode::kEnter:
      if (mHasLines) Insert("\n");
      return mHasLines;
    case KeyCode::kBackspace: {
      const std::size_t start = Before(mCaret);
      mText.erase(start, mCaret - start);
      mCaret = start;
      return true;
    }
    case KeyCode::kDelete:
      mText.erase(mCaret, Behind(mCaret) - mCaret);
      return true;
    case KeyCode::kLeft:
      mCaret = Before(mCaret);
      return true;
    case KeyCode::kRight:
      mCaret = Behind(mCaret);
      return true;
    case KeyCode::kHome:
      mCaret = LineStart(mCaret);
      return true;
    case KeyCode::kEnd:
      mCaret = LineEnd(mCaret);
      return true;
    case KeyCode::kEraseLine: {
      const std::size_t start = LineStart(mCaret);
      mText.erase(start, LineEnd(mCaret) - start);
      mCaret = start;
      return true;
    }
    case KeyCode::kUp:
      return MoveLine(false);
    case KeyCode::kDown:
      return MoveLine(true);
    default:
      return false;
  }
}

void Editor::Insert(const std::string& text) {
  const auto length = station::CharactersOf(mText) + station::CharactersOf(text);
  if (mMaxLength > 0 && length > static_cast<std::size_t>(mMaxLength)) return;
  mText.insert(mCaret, text);
  mCaret += text.size();
}

// A character with its marks is passed over at once.
std::size_t Editor::Behind(std::size_t at) const {
  if (at >= mText.size()) return mText.size();
  ClusterReader reader(std::string_view(mText).substr(at));
  Cluster first;
  Cluster second;
  if (!reader.Next(first) || !reader.Next(second)) return mText.size();
  return at + std::max<std::size_t>(second.mAt, 1);
}

std::size_t Editor::Before(std::size_t at) const {
  if (at == 0) return 0;
  if (mText[at - 1] == '\n') return at - 1;
  std::size_t last = LineStart(at - 1);
  for (std::size_t next = Behind(last); next < at; next = Behind(last)) last = next;
  return last;
}

std::size_t Editor::LineStart(std::size_t at) const {
  const std::size_t end = at == 0 ? std::string::npos : mText.rfind('\n', at - 1);
  return end == std::string::npos ? 0 : end + 1;
}

std::size_t Editor::LineEnd(std::size_t at) const {
  return std::min(mText.find('\n', at), mText.size());
}

bool Editor::MoveLine(bool isDown) {
  const std::size_t start = LineStart(mCaret);
  const std::size_t end = LineEnd(mCaret);
  if (!mHasLines || (isDown ? end == mText.size() : start == 0)) return false;
  const int column = TextWidth(std::string_view(mText).substr(start, mCaret - start));
  std::size_t at = isDown ? end + 1 : LineStart(start - 1);
  const std::size_t stop = LineEnd(at);
  const std::size_t lineStart = at;
  while (at < stop &&
         TextWidth(std::string_view(mText).substr(lineStart, at - lineStart)) < column) {
    at = Behind(at);
  }
  mCaret = std::min(at, stop);
  return true;
}

Editor::View Editor::Shown(int width, int height, bool isHidden) const {
  View view;
  const auto caretLine = static_cast<int>(
      std::count(mText.begin(), mText.begin() + static_cast<std::ptrdiff_t>(mCaret), '\n'));
  const int first = std::max(0, caretLine - height + 1);
  view.mCaretY = caretLine - first;
  std::size_t start = 0;
  for (int line = 0; line < first + height && start <= mText.size(); ++line) {
    const std::size_t end = LineEnd(start);
    if (line >= first) {
      std::string_view shown = std::string_view(mText).substr(start, end - start);
      if (line == caretLine) {
        const std::size_t caret = mCaret - start;
        const std::size_t from = FirstShown(shown.substr(0, caret), width - 1);
        const std::string_view left = shown.substr(from, caret - from);
        view.mCaretX =
            isHidden ? static_cast<int>(station::CharactersOf(left)) : TextWidth(left, width);
        shown.remove_prefix(from);
      }
      std::string text(shown);
      if (isHidden) {
        text.clear();
        for (std::size_t i = station::CharactersOf(shown); i > 0; --i) text += "•";
      }
      view.mLines.push_back(Cut(text, width));
    }
    start = end + 1;
  }
  return view;
}

}  // namespace dorn::terminal
