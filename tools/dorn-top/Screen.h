// The terminal that the table is shown on. One at a time; it is restored when this goes out of
// scope.
#ifndef TOOLS_DORN_TOP_SCREEN_H_
#define TOOLS_DORN_TOP_SCREEN_H_

#include <memory>
#include <string>
#include <vector>

#include "tools/dorn-top/Source.h"

namespace dorn::top {

class Screen {
 public:
  // Takes over standard input and output. Null, with a reason, where they are no terminal.
  static std::unique_ptr<Screen> Open(std::string& why);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  void Show(const std::vector<Source>& sources, double intervalSeconds);
  // The terminal has another size.
  void Resized();

  struct Keys {
    bool mEnds = false;
    bool mAsks = false;  // For an answer before its time.
  };
  // What was typed since the last call.
  Keys ReadKeys();

 private:
  struct Terminal;
  explicit Screen(std::unique_ptr<Terminal> terminal);

  std::unique_ptr<Terminal> mTerminal;
};

}  // namespace dorn::top

#endif  // TOOLS_DORN_TOP_SCREEN_H_
