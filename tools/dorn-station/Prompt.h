// The line at the bottom of a terminal in which somebody types: editing, what was typed before, and
// what the terminal sends for it. One row; a longer text shows the part around the caret.
#ifndef TOOLS_DORN_STATION_PROMPT_H_
#define TOOLS_DORN_STATION_PROMPT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dorn-terminal/Editor.h"

class Prompt {
 public:
  enum class Event {
    kLine,      // Taken by TakeLine().
    kComplete,  // The tabulator.
    kClear,     // The screen is to be cleared.
    kEnd        // Ctrl-D in an empty line.
  };

  // What the terminal sent, in any pieces. Next() gives what comes of it, until there is nothing.
  void Feed(std::string_view bytes) { mBytes += bytes; }
  std::optional<Event> Next();

  // Ends the line, which is remembered unless it is empty, as the one before, or holds a password.
  std::string TakeLine();

  // Up to the caret.
  std::string BeforeCaret() const { return mEditor.Text().substr(0, mEditor.Caret()); }
  void Insert(const std::string& text);

  // The bytes that draw it in the row of the cursor; `label` is `labelWidth` cells, `columns` those
  // of the terminal.
  std::string Drawn(const std::string& label, int labelWidth, int columns) const;

 private:
  std::optional<Event> Control(unsigned char byte);
  // Whether a whole sequence was there.
  bool TakeSequence();
  void OnSequence(std::string_view parameters, char final);
  bool TakeText();
  void Press(dorn::terminal::KeyCode code);
  void EraseWord();
  void Remember(const std::string& line);
  void Recall(bool isOlder);

  std::string mBytes;  // Not looked at yet.
  dorn::terminal::Editor mEditor;
  std::vector<std::string> mHistory;
  std::size_t mAt = 0;  // In the history; its size: what is new.
  std::string mNew;     // While something older is looked at.
};

#endif  // TOOLS_DORN_STATION_PROMPT_H_
