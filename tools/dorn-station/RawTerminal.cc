#include "tools/dorn-station/RawTerminal.h"

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

namespace {

// For the handler, which may use nothing else. Written before it is installed.
termios found;
termios raw;

constexpr int kEndings[] = {SIGHUP, SIGINT, SIGTERM, SIGQUIT};

// Signals end the program as if there were no handler, but for the terminal. What it has not shown
// is not waited for: its output may be stopped.
void Restore(int signal) {
  static_cast<void>(tcsetattr(STDIN_FILENO, TCSANOW, &found));
  static_cast<void>(std::signal(signal, SIG_DFL));
  static_cast<void>(std::raise(signal));
}

// What was typed ahead is kept.
void Set(const termios& modes) { static_cast<void>(tcsetattr(STDIN_FILENO, TCSADRAIN, &modes)); }

}  // namespace

bool RawTerminal::IsThere() {
  const char* const kind = std::getenv("TERM");
  const bool isDumb = kind == nullptr || *kind == '\0' || std::string_view(kind) == "dumb";
  return !isDumb && isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
}

RawTerminal::RawTerminal() {
  if (tcgetattr(STDIN_FILENO, &found) != 0) return;
  raw = found;
  raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG | IEXTEN);
  raw.c_iflag &= ~static_cast<tcflag_t>(IXON | ICRNL);
  raw.c_cc[VMIN] = 1;
  raw.c_cc[VTIME] = 0;
  for (const int signal : kEndings) static_cast<void>(std::signal(signal, Restore));
  Set(raw);
}

RawTerminal::~RawTerminal() {
  Set(found);
  for (const int signal : kEndings) static_cast<void>(std::signal(signal, SIG_DFL));
}

int RawTerminal::Columns() {
  winsize size{};
  const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : 80;
}

CookedTerminal::CookedTerminal() { Set(found); }

CookedTerminal::~CookedTerminal() { Set(raw); }
