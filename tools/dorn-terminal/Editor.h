// A text while it is typed.
#ifndef TOOLS_DORN_TERMINAL_EDITOR_H_
#define TOOLS_DORN_TERMINAL_EDITOR_H_

#include <cstddef>
#include <string>
#include <vector>

#include "tools/dorn-terminal/Keys.h"

namespace dorn::terminal {

class Editor {
 public:
  Editor() = default;
  // The caret stands behind the text.
  Editor(const std::string& text, bool hasLines, int maxLength);

  const std::string& Text() const { return mText; }
  std::size_t Caret() const { return mCaret; }
  void SetText(const std::string& text);

  // False for keys that mean nothing here: those that leave or send the text, and up or down where
  // there is no further line.
  bool OnKey(const Key& key);

  // The lines that a field of this size shows, and where the caret stands in it. A line that is
  // longer than the field shows the part around the caret.
  struct View {
    std::vector<std::string> mLines;
    int mCaretX = 0;
    int mCaretY = 0;
  };
  View Shown(int width, int height, bool isHidden) const;

 private:
  void Insert(const std::string& text);
  std::size_t Before(std::size_t at) const;
  std::size_t Behind(std::size_t at) const;
  std::size_t LineStart(std::size_t at) const;
  std::size_t LineEnd(std::size_t at) const;
  bool MoveLine(bool isDown);

  std::string mText;
  std::size_t mCaret = 0;
  bool mHasLines = false;
  int mMaxLength = 0;  // In characters; 0: any.
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_EDITOR_H_
