// What the user does with keyboard and mouse, however the terminal tells it.
#ifndef TOOLS_DORN_TERMINAL_KEYS_H_
#define TOOLS_DORN_TERMINAL_KEYS_H_

#include <string>
#include <utility>

namespace dorn::terminal {

enum class KeyCode {
  kText,  // One character, in mText.
  kEnter,
  kAltEnter,
  kTab,
  kBackTab,
  kEscape,
  kBackspace,
  kDelete,
  kUp,
  kDown,
  kLeft,
  kRight,
  kHome,
  kEnd,
  kPageUp,
  kPageDown,
  kEraseLine,  // Ctrl-U.
  kFunction,   // F1 to F12, in mNumber.
  kClick,      // At mX, mY.
  kWheelUp,
  kWheelDown,
  kOther
};

struct Key {
  KeyCode mCode = KeyCode::kOther;
  std::string mText;
  int mNumber = 0;
  int mX = 0;
  int mY = 0;

  static Key Text(std::string text) { return {KeyCode::kText, std::move(text), 0, 0, 0}; }
  static Key Function(int number) { return {KeyCode::kFunction, "", number, 0, 0}; }
  static Key Click(int x, int y) { return {KeyCode::kClick, "", 0, x, y}; }
  static Key Of(KeyCode code) { return {code, "", 0, 0, 0}; }

  bool Is(KeyCode code) const { return mCode == code; }
  bool IsText(const char* text) const { return mCode == KeyCode::kText && mText == text; }
  bool IsFunction(int number) const { return mCode == KeyCode::kFunction && mNumber == number; }
  // Touches what has the focus.
  bool IsAct() const { return mCode == KeyCode::kEnter || IsText(" "); }
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_KEYS_H_
