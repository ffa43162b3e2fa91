// A terminal station without terminal, line and clock: the test plays the host and the user.
#ifndef TESTS_TERMINAL_STAGE_H_
#define TESTS_TERMINAL_STAGE_H_

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "station/Session.h"
#include "tools/dorn-terminal/View.h"

namespace dorn::terminal {

class Stage {
 public:
  explicit Stage(int width = 80, int height = 24, View::Setup setup = {});

  // Logs in as "me" and shows this tree as the dialog "d". Objects alone, as of a resource file.
  void Show(const std::string& objects);
  // The same, and goes to its first object that somebody can act on.
  void ShowAndFocus(const std::string& objects);
  void AddDialog(const std::string& name, const std::string& objects);

  // The host.
  void Open();
  void Say(const std::string& text);
  void Update(const std::string& objects);
  // Answers what was asked for: fences, and the dialogs' files.
  void Answer();
  void Lose();
  void ComeBack();

  // The user.
  void Press(const Key& key);
  void Press(KeyCode code) { Press(Key::Of(code)); }
  void Type(std::string_view text);
  // Goes to an object by its name.
  void Focus(const std::string& name);

  // Texts sent since the last call, fences left out.
  std::vector<std::string> Sent();

  Grid Picture();
  std::string Line(int y) { return Picture().LineText(y); }
  // All lines.
  std::string Text();
  // The line that contains it; empty: none.
  std::string LineWith(std::string_view text);
  // The style of the first cell of a text.
  Style StyleOf(std::string_view text);

  station::Session mSession;
  View mView;
  View::Ms mNow = 1000;
  std::string mOpenMore;  // Further members of OPEN.

 private:
  void Take();

  std::map<std::string, std::string> mFiles;
  std::vector<std::string> mTexts;  // Sent, and not yet looked at.
  std::vector<std::string> mAsked;  // Files that were asked for.
};

}  // namespace dorn::terminal

#endif  // TESTS_TERMINAL_STAGE_H_
