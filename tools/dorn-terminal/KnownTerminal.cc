// A source of its own: <term.h> makes macros of everyday words.
#include "tools/dorn-terminal/KnownTerminal.h"

#include <curses.h>
#include <term.h>
#include <unistd.h>

namespace dorn::terminal {

bool IsKnownTerminal() {
  int error = 0;
  if (setupterm(nullptr, STDOUT_FILENO, &error) != OK) return false;
  del_curterm(cur_term);
  return true;
}

}  // namespace dorn::terminal
