// The real terminal: puts cells on it and reads its keys. One at a time; it is restored when this
// goes out of scope.
#ifndef TOOLS_DORN_TERMINAL_CURSES_H_
#define TOOLS_DORN_TERMINAL_CURSES_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/dorn-terminal/Cells.h"
#include "tools/dorn-terminal/Keys.h"

namespace dorn::terminal {

class Curses {
 public:
  struct Options {
    bool mHasColor = true;
    bool mHasMouse = true;
  };

  // Takes over standard input and output. Null, with a reason, where they are no terminal that can
  // place its text.
  static std::unique_ptr<Curses> Open(const Options& options, std::string& why);
  ~Curses();
  Curses(const Curses&) = delete;
  Curses& operator=(const Curses&) = delete;

  int Width() const;
  int Height() const;

  // Whether something can be shown without waiting for the terminal.
  static bool CanWrite();
  void Show(const Grid& grid);
  void Beep();
  // What was typed since the last call.
  std::vector<Key> ReadKeys();
  // The terminal has another size.
  void Resized();

 private:
  explicit Curses(const Options& options);

  void SetUpColors();
  void ShowLine(const Grid& grid, int y);
  void PutCell(const Cell& cell);
  unsigned AttributesOf(const Style& style) const;
  static std::optional<Key> KeyOf(int code);
  static std::optional<Key> MouseKey();

  struct Screen;
  std::unique_ptr<Screen> mScreen;
  bool mIsUtf8;
  bool mHasColor;
  std::optional<Grid> mShown;
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_CURSES_H_
