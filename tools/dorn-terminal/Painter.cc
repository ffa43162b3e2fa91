#include "tools/dorn-terminal/Painter.h"

#include <algorithm>
#include <string>

#include "tools/dorn-terminal/Width.h"

namespace dorn::terminal {

Painter::Painter(Grid& grid) : Painter(grid, {0, 0, grid.Width(), grid.Height()}, 0, 0) {}

Painter::Painter(Grid& grid, const Rect& frame, int originX, int originY)
    : mGrid(grid), mFrame(frame), mOriginX(originX), mOriginY(originY) {}

// A wide character of which the frame cuts one half is a blank.
void Painter::Set(int x, int y, const std::string& text, int width, const Style& style) {
  const int atX = x + mOriginX;
  const int atY = y + mOriginY;
  const bool begins = mFrame.Contains(atX, atY);
  const bool ends = mFrame.Contains(atX + width - 1, atY);
  if (begins && ends) {
    mGrid.Set(atX, atY, text, width, style);
  } else if (begins || ends) {
    mGrid.Set(begins ? atX : atX + width - 1, atY, " ", 1, style);
  }
}

int Painter::Put(int x, int y, std::string_view text, const Style& style, int width) {
  if (width <= 0) return 0;
  const std::string cut = Cut(text, width);
  int used = 0;
  Cluster cluster;
  for (ClusterReader reader(cut); reader.Next(cluster);) {
    Set(x + used, y, cluster.mText, cluster.mWidth, style);
    used += cluster.mWidth;
  }
  return used;
}

void Painter::PutRight(int x, int y, std::string_view text, const Style& style, int width) {
  const int used = std::min(TextWidth(text, width), width);
  Put(x + width - used, y, text, style, used);
}

void Painter::Fill(const Rect& rect, const Style& style, std::string_view character) {
  const std::string text(character);
  // Of a box that is ten thousand lines high only what is seen costs anything.
  const int top = std::max(rect.mY, mFrame.mY - mOriginY);
  const int bottom = std::min(rect.Bottom(), mFrame.Bottom() - mOriginY);
  const int left = std::max(rect.mX, mFrame.mX - mOriginX);
  const int right = std::min(rect.Right(), mFrame.Right() - mOriginX);
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) Set(x, y, text, 1, style);
  }
}

void Painter::Box(const Rect& rect, std::string_view title, const Style& lines,
                  const Style& titleStyle) {
  if (rect.mWidth < 2 || rect.mHeight < 2) return;
  const int right = rect.Right() - 1;
  const int bottom = rect.Bottom() - 1;
  Fill({rect.mX, rect.mY, rect.mWidth, 1}, lines, "─");
  Fill({rect.mX, bottom, rect.mWidth, 1}, lines, "─");
  Fill({rect.mX, rect.mY, 1, rect.mHeight}, lines, "│");
  Fill({right, rect.mY, 1, rect.mHeight}, lines, "│");
  Set(rect.mX, rect.mY, "┌", 1, lines);
  Set(right, rect.mY, "┐", 1, lines);
  Set(rect.mX, bottom, "└", 1, lines);
  Set(right, bottom, "┘", 1, lines);
  if (title.empty() || rect.mWidth < 6) return;
  const int used = Put(rect.mX + 2, rect.mY, title, titleStyle, rect.mWidth - 4);
  Set(rect.mX + 1, rect.mY, " ", 1, lines);
  Set(rect.mX + 2 + used, rect.mY, " ", 1, lines);
}

void Painter::PutCaret(int x, int y) {
  const int atX = x + mOriginX;
  const int atY = y + mOriginY;
  if (!mFrame.Contains(atX, atY)) return;
  mGrid.mCaretX = atX;
  mGrid.mCaretY = atY;
}

bool Painter::IsVisible(const Rect& rect) const {
  return rect.Bottom() + mOriginY > mFrame.mY && rect.mY + mOriginY < mFrame.Bottom();
}

}  // namespace dorn::terminal
