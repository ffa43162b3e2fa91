// Before all else: it declares the wide functions only when asked to.
#define NCURSES_WIDECHAR 1
#include "tools/dorn-terminal/Curses.h"

#include <curses.h>
#include <langinfo.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string_view>

#include "station/Utf8.h"
#include "tools/dorn-terminal/Ascii.h"
#include "tools/dorn-terminal/KnownTerminal.h"
#include "tools/dorn-terminal/Width.h"

namespace dorn::terminal {

namespace {

constexpr int kEscape = 27;
constexpr int kEscapeDelayMs = 25;

short ColorOf(Tone tone) {
  switch (tone) {
    case Tone::kAccent:
    case Tone::kInfo:
      return COLOR_CYAN;
    case Tone::kOk:
      return COLOR_GREEN;
    case Tone::kWarn:
      return COLOR_YELLOW;
    case Tone::kAlarm:
      return COLOR_RED;
    case Tone::kBad:
      return COLOR_MAGENTA;
    default:
      return -1;
  }
}

// How a tone is told where there are no colours.
attr_t PlainAttributes(Tone tone) {
  switch (tone) {
    case Tone::kAccent:
    case Tone::kInfo:
      return A_UNDERLINE;
    case Tone::kWarn:
      return A_BOLD;
    case Tone::kAlarm:
    case Tone::kBad:
      return A_BOLD | A_UNDERLINE;
    default:
      return A_NORMAL;
  }
}

constexpr Tone kTones[] = {Tone::kAccent, Tone::kOk,    Tone::kInfo,
                           Tone::kWarn,   Tone::kAlarm, Tone::kBad};

}  // namespace

struct Curses::Screen {
  Screen() : mScreen(newterm(nullptr, stdout, stdin)) {}
  ~Screen() {
    if (mScreen == nullptr) return;
    endwin();
    delscreen(mScreen);
  }
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  SCREEN* mScreen;
};

std::unique_ptr<Curses> Curses::Open(const Options& options, std::string& why) {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
    why = "standard input and output must be a terminal";
    return nullptr;
  }
  if (!IsKnownTerminal()) {
    why = "the terminal is not known: see TERM";
    return nullptr;
  }
  std::unique_ptr<Curses> curses(new Curses(options));
  if (curses->mScreen->mScreen == nullptr) {
    why = "the terminal cannot be used: see TERM";
    return nullptr;
  }
  return curses;
}

Curses::Curses(const Options& options)
    : mScreen(std::make_unique<Screen>()),
      mIsUtf8(std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0),
      mHasColor(options.mHasColor) {
  if (mScreen->mScreen == nullptr) return;
  set_escdelay(kEscapeDelayMs);
  cbreak();
  noecho();
  nonl();
  keypad(stdscr, TRUE);
  nodelay(stdscr, TRUE);
  leaveok(stdscr, FALSE);
  if (options.mHasMouse) {
    mousemask(BUTTON1_PRESSED | BUTTON4_PRESSED | BUTTON5_PRESSED, nullptr);
    mouseinterval(0);
  }
  SetUpColors();
}

Curses::~Curses() = default;

void Curses::SetUpColors() {
  mHasColor = mHasColor && has_colors();
  if (!mHasColor) return;
  start_color();
  const bool hasDefault = use_default_colors() == OK;
  for (const Tone tone : kTones) {
    init_pair(static_cast<short>(tone), ColorOf(tone), hasDefault ? -1 : COLOR_BLACK);
  }
}

int Curses::Width() const { return getmaxx(stdscr); }
int Curses::Height() const { return getmaxy(stdscr); }

bool Curses::CanWrite() {
  pollfd watched{STDOUT_FILENO, POLLOUT, 0};
  return poll(&watched, 1, 0) > 0;
}

unsigned Curses::AttributesOf(const Style& style) const {
  attr_t attributes = A_NORMAL;
  if (style.mIsBold) attributes |= A_BOLD;
  if (style.mIsReverse) attributes |= A_REVERSE;
  if (style.mIsUnderlined) attributes |= A_UNDERLINE;
  if (style.mTone == Tone::kDim) attributes |= A_DIM;
  if (!mHasColor) attributes |= PlainAttributes(style.mTone);
  return attributes;
}

void Curses::Show(const Grid& grid) {
  const bool isNew =
      !mShown || mShown->Width() != grid.Width() || mShown->Height() != grid.Height();
  if (isNew) erase();
  for (int y = 0; y < grid.Height(); ++y) {
    bool isSame = !isNew;
    for (int x = 0; isSame && x < grid.Width(); ++x) isSame = grid.At(x, y) == mShown->At(x, y);
    if (!isSame) ShowLine(grid, y);
  }
  const bool hasCaret = grid.mCaretX >= 0;
  curs_set(hasCaret ? 1 : 0);
  if (hasCaret) move(grid.mCaretY, grid.mCaretX);
  refresh();
  mShown = grid;
}

void Curses::ShowLine(const Grid& grid, int y) {
  for (int x = 0; x < grid.Width(); ++x) {
    const Cell& cell = grid.At(x, y);
    if (cell.mWidth == 0) continue;
    if (move(y, x) == OK) PutCell(cell);
  }
}

// A character about whose width the terminal's locale has another opinion would move all behind it.
void Curses::PutCell(const Cell& cell) {
  const attr_t attributes = AttributesOf(cell.mStyle);
  const bool hasPair = mHasColor && ColorOf(cell.mStyle.mTone) >= 0;
  const auto pair = static_cast<short>(hasPair ? static_cast<int>(cell.mStyle.mTone) : 0);
  const auto put = [&](const wchar_t* text) {
    cchar_t character;
    setcchar(&character, text, attributes, pair, nullptr);
    add_wch(&character);
  };
  wchar_t text[CCHARW_MAX + 1] = {};
  int length = 0;
  std::string_view left = cell.mText;
  while (mIsUtf8 && !left.empty() && length < CCHARW_MAX) {
    const auto code = static_cast<wchar_t>(CharacterAt(left));
    const int width = wcwidth(code);
    if (length == 0 && width != cell.mWidth) break;
    if (length == 0 || width == 0) text[length++] = code;
    left.remove_prefix(station::SequenceAt(left, 0));
  }
  if (length > 0) return put(text);
  for (const char c : AsciiOf(cell.mText, cell.mWidth)) {
    const wchar_t single[2] = {static_cast<wchar_t>(c), 0};
    put(single);
  }
}

void Curses::Beep() { beep(); }

void Curses::Resized() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) return;
  resizeterm(size.ws_row, size.ws_col);
  clearok(stdscr, TRUE);
  mShown.reset();
}

std::optional<Key> Curses::MouseKey() {
  MEVENT event;
  if (getmouse(&event) != OK) return std::nullopt;
  if ((event.bstate & BUTTON4_PRESSED) != 0) return Key::Of(KeyCode::kWheelUp);
  if ((event.bstate & BUTTON5_PRESSED) != 0) return Key::Of(KeyCode::kWheelDown);
  if ((event.bstate & BUTTON1_PRESSED) == 0) return std::nullopt;
  return Key::Click(event.x, event.y);
}

std::optional<Key> Curses::KeyOf(int code) {
  for (int i = 1; i <= 12; ++i) {
    if (code == KEY_F(i)) return Key::Function(i);
  }
  switch (code) {
    case KEY_MOUSE:
      return MouseKey();
    case KEY_ENTER:
      return Key::Of(KeyCode::kEnter);
    case KEY_BTAB:
      return Key::Of(KeyCode::kBackTab);
    case KEY_BACKSPACE:
      return Key::Of(KeyCode::kBackspace);
    case KEY_DC:
      return Key::Of(KeyCode::kDelete);
    case KEY_UP:
      return Key::Of(KeyCode::kUp);
    case KEY_DOWN:
      return Key::Of(KeyCode::kDown);
    case KEY_LEFT:
      return Key::Of(KeyCode::kLeft);
    case KEY_RIGHT:
      return Key::Of(KeyCode::kRight);
    case KEY_HOME:
      return Key::Of(KeyCode::kHome);
    case KEY_END:
      return Key::Of(KeyCode::kEnd);
    case KEY_PPAGE:
      return Key::Of(KeyCode::kPageUp);
    case KEY_NPAGE:
      return Key::Of(KeyCode::kPageDown);
    default:
      return std::nullopt;
  }
}

namespace {

// Characters that are no text.
std::optional<Key> ControlKey(wint_t code) {
  switch (code) {
    case '\r':
    case '\n':
      return Key::Of(KeyCode::kEnter);
    case '\t':
      return Key::Of(KeyCode::kTab);
    case 8:
    case 127:
      return Key::Of(KeyCode::kBackspace);
    case 21:
      return Key::Of(KeyCode::kEraseLine);
    default:
      return std::nullopt;
  }
}

// What follows an escape sequence's beginning that the terminal's description does not know: none
// of it is text.
std::optional<Key> RestOfSequence(wint_t introducer) {
  wint_t code = 0;
  bool isPlain = true;  // Without numbers, which tell of Shift and the like.
  for (int length = 0; length < 40 && get_wch(&code) == OK; ++length) {
    const bool isFinal = introducer == 'O' || (code >= '@' && code <= '~');
    if (!isFinal) {
      isPlain = false;
      continue;
    }
    if (!isPlain) return std::nullopt;
    switch (code) {
      case 'A':
        return Key::Of(KeyCode::kUp);
      case 'B':
        return Key::Of(KeyCode::kDown);
      case 'C':
        return Key::Of(KeyCode::kRight);
      case 'D':
        return Key::Of(KeyCode::kLeft);
      case 'H':
        return Key::Of(KeyCode::kHome);
      case 'F':
        return Key::Of(KeyCode::kEnd);
      default:
        return std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace

std::vector<Key> Curses::ReadKeys() {
  std::vector<Key> keys;
  bool wasEscape = false;
  for (;;) {
    wint_t code = 0;
    const int kind = get_wch(&code);
    if (kind == ERR) break;
    const bool isAlt = wasEscape;
    wasEscape = kind == OK && code == kEscape;
    if (isAlt && kind == OK && (code == '\r' || code == '\n')) {
      keys.push_back(Key::Of(KeyCode::kAltEnter));
      continue;
    }
    // Alt with a letter means nothing here; with all else it was Escape itself.
    const bool isText = kind == OK && code >= ' ' && code != 127;
    if (isAlt && !isText) keys.push_back(Key::Of(KeyCode::kEscape));
    if (wasEscape) continue;
    std::optional<Key> key;
    if (isAlt && isText) {
      if (code == '[' || code == 'O') key = RestOfSequence(code);
    } else if (kind == KEY_CODE_YES) {
      key = KeyOf(static_cast<int>(code));
    } else if (!isText) {
      key = ControlKey(code);
    } else {
      std::string text;
      station::AppendUtf8(text, code);
      key = Key::Text(text);
    }
    if (key) keys.push_back(*key);
  }
  if (wasEscape) keys.push_back(Key::Of(KeyCode::kEscape));
  return keys;
}

}  // namespace dorn::terminal
