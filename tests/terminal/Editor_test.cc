#include "tools/dorn-terminal/Editor.h"

#include <gtest/gtest.h>

#include <string>

#include "tools/dorn-terminal/Focus.h"

namespace dorn::terminal {
namespace {

void Type(Editor& editor, const std::string& text) {
  for (const char c : text) editor.OnKey(Key::Text(std::string(1, c)));
}

void Press(Editor& editor, KeyCode code, int times = 1) {
  for (int i = 0; i < times; ++i) editor.OnKey(Key::Of(code));
}

TEST(TerminalEditorTest, InsertsAndErasesWhereTheCaretIs) {
  Editor editor("abc", false, 0);
  Press(editor, KeyCode::kLeft);
  Type(editor, "x");
  EXPECT_EQ(editor.Text(), "abxc");
  Press(editor, KeyCode::kBackspace, 2);
  EXPECT_EQ(editor.Text(), "ac");
  Press(editor, KeyCode::kDelete);
  EXPECT_EQ(editor.Text(), "a");
  Press(editor, KeyCode::kHome);
  Type(editor, "y");
  EXPECT_EQ(editor.Text(), "ya");
  Press(editor, KeyCode::kEraseLine);
  EXPECT_EQ(editor.Text(), "");
  Press(editor, KeyCode::kBackspace);
  Press(editor, KeyCode::kDelete);
  EXPECT_EQ(editor.Text(), "");
}

TEST(TerminalEditorTest, PassesOverCharactersWithTheirMarks) {
  Editor editor("水e\u0301", false, 0);
  Press(editor, KeyCode::kBackspace);
  EXPECT_EQ(editor.Text(), "水");
  Press(editor, KeyCode::kBackspace);
  EXPECT_EQ(editor.Text(), "");
}

TEST(TerminalEditorTest, TakesNoMoreThanItsLength) {
  Editor editor("", false, 3);
  Type(editor, "abcdef");
  EXPECT_EQ(editor.Text(), "abc");
}

TEST(TerminalEditorTest, LeavesEnterAndArrowsOfOneLineToOthers) {
  Editor editor("abc", false, 0);
  EXPECT_FALSE(editor.OnKey(Key::Of(KeyCode::kEnter)));
  EXPECT_FALSE(editor.OnKey(Key::Of(KeyCode::kUp)));
  EXPECT_FALSE(editor.OnKey(Key::Of(KeyCode::kTab)));
  EXPECT_EQ(editor.Text(), "abc");
}

TEST(TerminalEditorTest, MovesBetweenLines) {
  Editor editor("one\ntwo", true, 0);
  Press(editor, KeyCode::kUp);
  Type(editor, "!");
  EXPECT_EQ(editor.Text(), "one!\ntwo");
  EXPECT_FALSE(editor.OnKey(Key::Of(KeyCode::kUp)));
  Press(editor, KeyCode::kDown);
  Type(editor, "?");
  EXPECT_EQ(editor.Text(), "one!\ntwo?");
  EXPECT_FALSE(editor.OnKey(Key::Of(KeyCode::kDown)));
  Press(editor, KeyCode::kEnter);
  EXPECT_EQ(editor.Text(), "one!\ntwo?\n");
  Press(editor, KeyCode::kBackspace, 2);
  EXPECT_EQ(editor.Text(), "one!\ntwo");
}

TEST(TerminalEditorTest, ShowsThePartAroundTheCaret) {
  Editor editor("abcdefghij", false, 0);
  Editor::View view = editor.Shown(5, 1, false);
  EXPECT_EQ(view.mLines, std::vector<std::string>{"ghij"});
  EXPECT_EQ(view.mCaretX, 4);
  Press(editor, KeyCode::kHome);
  view = editor.Shown(5, 1, false);
  EXPECT_EQ(view.mLines, std::vector<std::string>{"abcd…"});
  EXPECT_EQ(view.mCaretX, 0);
  EXPECT_EQ(Editor("水", false, 0).Shown(5, 1, true).mLines, std::vector<std::string>{"•"});
  EXPECT_EQ(Editor("a\nb\nc", true, 0).Shown(5, 2, false).mLines,
            (std::vector<std::string>{"b", "c"}));
}

TEST(TerminalEditorTest, ShowsAnEndlessTextAtOnce) {
  const Editor editor(std::string(4'000'000, 'x'), false, 0);
  EXPECT_EQ(editor.Shown(20, 1, false).mCaretX, 19);
}

TEST(TerminalFocusTest, GoesToTheNearestPlace) {
  //  0 1
  //  2 3
  const std::vector<Rect> places{{0, 0, 10, 1}, {20, 0, 10, 1}, {0, 2, 10, 1}, {20, 2, 10, 1}};
  EXPECT_EQ(NextPlace(places, 0, Direction::kRight), 1U);
  EXPECT_EQ(NextPlace(places, 0, Direction::kDown), 2U);
  EXPECT_EQ(NextPlace(places, 3, Direction::kUp), 1U);
  EXPECT_EQ(NextPlace(places, 3, Direction::kLeft), 2U);
  EXPECT_FALSE(NextPlace(places, 0, Direction::kUp));
  EXPECT_FALSE(NextPlace(places, 0, Direction::kLeft));
}

TEST(TerminalFocusTest, ScrollsAsLittleAsPossible) {
  EXPECT_EQ(ScrolledTo(0, 10, 3, 4), 0);
  EXPECT_EQ(ScrolledTo(0, 10, 12, 13), 3);
  EXPECT_EQ(ScrolledTo(8, 10, 3, 4), 3);
}

}  // namespace
}  // namespace dorn::terminal
