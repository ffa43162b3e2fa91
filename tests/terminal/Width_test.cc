#include "tools/dorn-terminal/Width.h"

#include <gtest/gtest.h>

#include <string>

#include "tools/dorn-terminal/Ascii.h"
#include "tools/dorn-terminal/Painter.h"

namespace dorn::terminal {
namespace {

std::string Drawn(const std::string& text, int width = 40) {
  Grid grid(width, 1);
  Painter(grid).Put(0, 0, text, kPlainStyle, width);
  return grid.LineText(0);
}

TEST(TerminalWidthTest, CountsCells) {
  struct {
    const char* text;
    int width;
  } const rows[] = {{"", 0},         {"abc", 3},       {"水位", 4},
                    {"ｶﾅ", 2},       {"a\u0301b", 2},  {"\u304B\u3099", 2},
                    {"ポンプ1", 7},  {"°C", 2},        {"\U0001F4A7", 2},
                    {"e\u200Bf", 2}, {"\u202Eabc", 3}, {"한국", 4},
                    {"…", 1},        {"ｅ", 2}};
  for (const auto& row : rows) EXPECT_EQ(TextWidth(row.text), row.width) << row.text;
}

TEST(TerminalWidthTest, LetsNoControlCharacterThrough) {
  EXPECT_EQ(Drawn("a\x1B[31mb"), "a\uFFFD[31mb");
  EXPECT_EQ(Drawn("a\x07\x08\x7F"), "a\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(Drawn("a\u009B31mb"), "a\uFFFD31mb");
  EXPECT_EQ(Drawn("a\nb\tc\rd\u2028e"), "a b c d e");
  EXPECT_EQ(Drawn(std::string("a\0b", 3)), "a\uFFFDb");
}

TEST(TerminalWidthTest, ReplacesBytesThatAreNoUtf8) {
  EXPECT_EQ(Drawn("a\xFFg\xE6\xB0"), "a\uFFFDg\uFFFD\uFFFD");
  EXPECT_EQ(Drawn("\xC0\xAF"), "\uFFFD\uFFFD");
}

TEST(TerminalWidthTest, DropsWhatTurnsTheDirection) {
  EXPECT_EQ(Drawn("a\u202Eb\u2066c\uFEFFd\u200De"), "abcde");
}

TEST(TerminalWidthTest, StacksAtMostTwoMarks) {
  EXPECT_EQ(Drawn("a\u0301\u0302\u0303\u0304b"), "a\u0301\u0302b");
  EXPECT_EQ(Drawn("\u0301x"), " \u0301x");
}

TEST(TerminalWidthTest, CutsWithAnEllipsis) {
  EXPECT_EQ(Cut("abcdef", 6), "abcdef");
  EXPECT_EQ(Cut("abcdefg", 6), "abcde…");
  EXPECT_EQ(Cut("水位計", 5), "水位…");
  EXPECT_EQ(Cut("水位計", 4), "水…");
  EXPECT_EQ(Cut("abc", 0), "");
  EXPECT_EQ(Cut("水", 1), "…");
}

TEST(TerminalWidthTest, WrapsAtBlanksAndLineEnds) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(Wrapped("one two three", 8, 9), (Lines{"one two ", "three"}));
  EXPECT_EQ(Wrapped("a\nb", 8, 9), (Lines{"a", "b"}));
  EXPECT_EQ(Wrapped("abcdefgh", 3, 9), (Lines{"abc", "def", "gh"}));
  EXPECT_EQ(Wrapped("abcdefgh", 3, 2), (Lines{"abc", "de…"}));
  EXPECT_EQ(Wrapped("水位計", 4, 9), (Lines{"水位", "計"}));
  EXPECT_EQ(Wrapped("", 4, 9), Lines{});
}

// A wide character never has one half alone on the screen.
TEST(TerminalWidthTest, CoversWideCharactersAsAWhole) {
  Grid grid(6, 1);
  Painter painter(grid);
  painter.Put(0, 0, "水位", kPlainStyle, 6);
  painter.Put(1, 0, "x", kPlainStyle, 1);
  EXPECT_EQ(grid.LineText(0), " x位");
  painter.Put(2, 0, "計", kPlainStyle, 2);
  painter.Put(3, 0, "y", kPlainStyle, 1);
  EXPECT_EQ(grid.LineText(0), " x y");
}

TEST(TerminalWidthTest, CutsWideCharactersAtAFrame) {
  Grid grid(4, 1);
  Painter painter(grid, {1, 0, 2, 1}, 0, 0);
  painter.Put(0, 0, "水位", kPlainStyle, 4);
  EXPECT_EQ(grid.At(0, 0).mText, " ");
  EXPECT_EQ(grid.At(1, 0).mText, " ");
  EXPECT_EQ(grid.At(2, 0).mText, " ");
  EXPECT_EQ(grid.At(3, 0).mText, " ");
}

TEST(TerminalWidthTest, DrawsBoxesWithTitles) {
  Grid grid(12, 3);
  Painter(grid).Box({0, 0, 12, 3}, "水槽", kPlainStyle, kBoldStyle);
  EXPECT_EQ(grid.LineText(0), "┌ 水槽 ────┐");
  EXPECT_EQ(grid.LineText(1), "│          │");
  EXPECT_EQ(grid.LineText(2), "└──────────┘");
}

TEST(TerminalAsciiTest, KeepsTheCellsOfACharacter) {
  EXPECT_EQ(AsciiOf("a", 1), "a");
  EXPECT_EQ(AsciiOf("─", 1), "-");
  EXPECT_EQ(AsciiOf("水", 2), "??");
  EXPECT_EQ(AsciiOf("é", 1), "?");
  EXPECT_EQ(AsciiOf("e\u0301", 1), "e");
  EXPECT_EQ(AsciiOf("\x1B", 1), "?");
  EXPECT_EQ(AsciiOf("\x7F", 1), "?");
}

}  // namespace
}  // namespace dorn::terminal
