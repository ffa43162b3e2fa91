// Puts texts and boxes into a grid of cells, inside a frame and moved by an offset.
#ifndef TOOLS_DORN_TERMINAL_PAINTER_H_
#define TOOLS_DORN_TERMINAL_PAINTER_H_

#include <string_view>

#include "tools/dorn-terminal/Cells.h"

namespace dorn::terminal {

class Painter {
 public:
  // Draws on the whole grid, which must outlive it.
  explicit Painter(Grid& grid);
  // Draws inside `frame` alone; its (0, 0) lies at (`originX`, `originY`) of the grid.
  Painter(Grid& grid, const Rect& frame, int originX, int originY);

  // One line of text in at most `width` cells; longer ones end with an ellipsis. Returns the cells
  // that it took.
  int Put(int x, int y, std::string_view text, const Style& style, int width);
  // With its end at the right of `x` + `width`.
  void PutRight(int x, int y, std::string_view text, const Style& style, int width);
  void Fill(const Rect& rect, const Style& style, std::string_view character = " ");
  // A frame of lines with a title in its upper one.
  void Box(const Rect& rect, std::string_view title, const Style& lines, const Style& titleStyle);
  void PutCaret(int x, int y);

  bool IsVisible(const Rect& rect) const;

 private:
  void Set(int x, int y, const std::string& text, int width, const Style& style);

  Grid& mGrid;
  Rect mFrame;
  int mOriginX;
  int mOriginY;
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_PAINTER_H_
