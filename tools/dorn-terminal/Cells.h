// A picture of the terminal: what stands in each cell and how it is to look. Nothing here knows a
// real terminal.
#ifndef TOOLS_DORN_TERMINAL_CELLS_H_
#define TOOLS_DORN_TERMINAL_CELLS_H_

#include <string>
#include <vector>

namespace dorn::terminal {

// What a terminal must have to show a dialog at all.
constexpr int kSmallestWidth = 20;
constexpr int kSmallestHeight = 5;

// What a text means, not its colour: colours are chosen where the terminal is known.
enum class Tone : unsigned char { kPlain, kDim, kAccent, kOk, kInfo, kWarn, kAlarm, kBad };

struct Style {
  Tone mTone = Tone::kPlain;
  bool mIsBold = false;
  bool mIsReverse = false;
  bool mIsUnderlined = false;

  bool operator==(const Style& other) const {
    return mTone == other.mTone && mIsBold == other.mIsBold && mIsReverse == other.mIsReverse &&
           mIsUnderlined == other.mIsUnderlined;
  }
};

constexpr Style kPlainStyle{};
constexpr Style kDimStyle{Tone::kDim, false, false, false};
constexpr Style kBoldStyle{Tone::kPlain, true, false, false};
constexpr Style kReverseStyle{Tone::kPlain, false, true, false};

// One character with its combining marks. A wide one takes two cells, of which the second one is
// empty and has the width 0.
struct Cell {
  std::string mText = " ";
  int mWidth = 1;
  Style mStyle;

  bool operator==(const Cell& other) const {
    return mWidth == other.mWidth && mStyle == other.mStyle && mText == other.mText;
  }
  bool operator!=(const Cell& other) const { return !(*this == other); }
};

struct Rect {
  int mX = 0;
  int mY = 0;
  int mWidth = 0;
  int mHeight = 0;

  int Right() const { return mX + mWidth; }
  int Bottom() const { return mY + mHeight; }
  bool Contains(int x, int y) const { return x >= mX && x < Right() && y >= mY && y < Bottom(); }
};

class Grid {
 public:
  Grid(int width, int height);

  int Width() const { return mWidth; }
  int Height() const { return mHeight; }
  const Cell& At(int x, int y) const;
  // A character that fits on its line. Halves of wide ones that it covers become blanks.
  void Set(int x, int y, const std::string& character, int width, const Style& style);

  // A line's characters without the blanks at its end.
  std::string LineText(int y) const;

  // Where the terminal's own mark stands; negative: nowhere.
  int mCaretX = -1;
  int mCaretY = -1;

 private:
  Cell& Ref(int x, int y);
  void SplitWide(int x, int y);

  int mWidth;
  int mHeight;
  std::vector<Cell> mCells;
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_CELLS_H_
