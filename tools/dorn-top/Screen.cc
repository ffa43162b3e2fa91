#include "tools/dorn-top/Screen.h"

#include <ncurses.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>

#include "tools/dorn-terminal/KnownTerminal.h"
#include "tools/dorn-top/Table.h"

namespace dorn::top {

namespace {

constexpr int kEscapeDelayMs = 25;

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Cut where the screen ends, between two letters. What is no letter would move the cursor.
void PutLine(int y, int x, const std::string& text, attr_t attributes) {
  if (y >= LINES || x >= COLS) return;
  auto end = std::min(text.size(), static_cast<std::size_t>(COLS - x));
  while (end > 0 && end < text.size() && IsContinuation(text[end])) --end;
  std::string line = text.substr(0, end);
  std::replace_if(
      line.begin(), line.end(),
      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
  attrset(static_cast<int>(attributes));
  mvaddnstr(y, x, line.c_str(), static_cast<int>(line.size()));
  attrset(A_NORMAL);
}

// A bar as wide as the screen; what is too much is cut.
std::string FillLine(const std::string& text) {
  return text + std::string(static_cast<std::size_t>(COLS), ' ');
}

std::string TitleLine(double intervalSeconds) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[120];
  std::snprintf(text, sizeof text, "dorn-top  %02d:%02d:%02d  every %g s  (space: now, q: end)",
                local.tm_hour, local.tm_min, local.tm_sec, intervalSeconds);
  return text;
}

}  // namespace

struct Screen::Terminal {
  explicit Terminal(SCREEN* screen) : mScreen(screen) {}
  ~Terminal() {
    endwin();
    delscreen(mScreen);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  SCREEN* mScreen;
};

std::unique_ptr<Screen> Screen::Open(std::string& why) {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
    why = "standard input and output must be a terminal; --once needs none";
    return nullptr;
  }
  if (!terminal::IsKnownTerminal()) {
    why = "the terminal is not known: see TERM; --once needs none";
    return nullptr;
  }
  SCREEN* screen = newterm(nullptr, stdout, stdin);
  if (screen == nullptr) {
    why = "the terminal cannot be used: see TERM; --once needs none";
    return nullptr;
  }
  return std::unique_ptr<Screen>(new Screen(std::make_unique<Terminal>(screen)));
}

Screen::Screen(std::unique_ptr<Terminal> terminal) : mTerminal(std::move(terminal)) {
  set_term(mTerminal->mScreen);
  set_escdelay(kEscapeDelayMs);
  cbreak();
  noecho();
  nodelay(stdscr, TRUE);
  keypad(stdscr, TRUE);
  curs_set(0);
  leaveok(stdscr, TRUE);
}

Screen::~Screen() = default;

void Screen::Show(const std::vector<Source>& sources, double intervalSeconds) {
  erase();
  PutLine(0, 0, TitleLine(intervalSeconds), A_NORMAL);
  PutLine(2, 0, FillLine(HeadLine()), A_REVERSE);
  int y = 3;
  for (const Source& source : sources) {
    PutLine(y++, 0, RowOf(source), source.Last() ? A_NORMAL : A_BOLD);
  }
  if (y > LINES && LINES > 4) {
    PutLine(LINES - 1, 0, FillLine(std::to_string(y - LINES + 1) + " more hosts"), A_REVERSE);
  }
  for (const Source& source : sources) {
    const std::string connections = ConnectionsOf(source);
    if (connections.empty()) continue;
    PutLine(++y, 0, source.Path(), A_BOLD);
    PutLine(++y, 2, connections, A_NORMAL);
  }
  refresh();
}

void Screen::Resized() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) return;
  resizeterm(size.ws_row, size.ws_col);
  clear();
}

Screen::Keys Screen::ReadKeys() {
  Keys keys;
  for (int key = getch(); key != ERR; key = getch()) {
    keys.mEnds = keys.mEnds || key == 'q' || key == 'Q' || key == KEY_F(10);
    keys.mAsks = keys.mAsks || key == ' ';
  }
  return keys;
}

}  // namespace dorn::top
