// Something that lies over the screen until it is answered: a question, a list to choose from.
#ifndef TOOLS_DORN_TERMINAL_POPUP_H_
#define TOOLS_DORN_TERMINAL_POPUP_H_

#include <optional>
#include <string>
#include <vector>

#include "tools/dorn-terminal/Keys.h"
#include "tools/dorn-terminal/Painter.h"

namespace dorn::terminal {

class Popup {
 public:
  enum class Kind { kConfirm, kOptions, kMenu, kAlarms, kFind, kHelp };

  struct Entry {
    std::string mText;
    std::string mValue;  // What is chosen with it.
    Tone mTone = Tone::kPlain;
  };

  enum class Answer { kOpen, kChosen, kClosed };

  Popup(Kind kind, std::string title, std::string about)
      : mKind(kind), mTitle(std::move(title)), mAbout(std::move(about)) {}

  Kind GetKind() const { return mKind; }
  const std::string& About() const { return mAbout; }

  void SetLines(std::vector<std::string> lines) { mLines = std::move(lines); }
  // Keeps the cursor on the same value where it is still there.
  void SetEntries(std::vector<Entry> entries);
  void SetCursor(std::size_t cursor) { mCursor = cursor; }
  // What is typed goes into a line above the list.
  void SetHasFilter() { mHasFilter = true; }
  const std::string& Filter() const { return mFilter; }

  Answer OnKey(const Key& key);
  // Of the entry at the cursor.
  std::optional<Entry> Chosen() const;

  void Draw(Grid& grid);

 private:
  Answer OnText(const Key& key);
  Answer OnClick(int x, int y);
  void Move(int by);
  std::size_t EntryCount() const { return mEntries.size(); }

  Kind mKind;
  std::string mTitle;
  std::string mAbout;  // The object or file that it is about.
  std::vector<std::string> mLines;
  std::vector<Entry> mEntries;
  std::size_t mCursor = 0;
  bool mHasFilter = false;
  std::string mFilter;
  Rect mBox;       // As it was drawn last.
  Rect mList;      // Likewise.
  int mFirst = 0;  // The entry or line that is shown first.
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_POPUP_H_
