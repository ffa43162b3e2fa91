#include "tools/dorn-terminal/Cells.h"

#include <algorithm>
#include <cstddef>

namespace dorn::terminal {

Grid::Grid(int width, int height)
    : mWidth(std::max(width, 1)),
      mHeight(std::max(height, 1)),
      mCells(static_cast<std::size_t>(mWidth) * static_cast<std::size_t>(mHeight)) {}

Cell& Grid::Ref(int x, int y) {
  return mCells[static_cast<std::size_t>(y) * static_cast<std::size_t>(mWidth) +
                static_cast<std::size_t>(x)];
}

const Cell& Grid::At(int x, int y) const { return const_cast<Grid*>(this)->Ref(x, y); }

// What is left of a wide character of which one half is covered.
void Grid::SplitWide(int x, int y) {
  Cell& cell = Ref(x, y);
  const int other = cell.mWidth == 0 ? x - 1 : cell.mWidth == 2 ? x + 1 : -1;
  for (const int half : {x, other}) {
    if (half < 0 || half >= mWidth || other < 0) continue;
    Ref(half, y).mText = " ";
    Ref(half, y).mWidth = 1;
  }
}

void Grid::Set(int x, int y, const std::string& character, int width, const Style& style) {
  if (x < 0 || y < 0 || y >= mHeight || width < 1 || width > 2 || x + width > mWidth) return;
  for (int i = 0; i < width; ++i) SplitWide(x + i, y);
  Ref(x, y) = {character, width, style};
  if (width == 2) Ref(x + 1, y) = {"", 0, style};
}

std::string Grid::LineText(int y) const {
  std::string line;
  for (int x = 0; x < mWidth; ++x) line += At(x, y).mText;
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

}  // namespace dorn::terminal
