// Texts as a terminal can show them: characters with their marks, and how many cells each takes.
//
// Texts of hosts are not to be trusted. Control characters, escape sequences among them, never come
// out of here: line ends and tabs become blanks, other controls and bytes that are no UTF-8 become
// U+FFFD, and characters that turn the direction of writing or take no room are dropped.
#ifndef TOOLS_DORN_TERMINAL_WIDTH_H_
#define TOOLS_DORN_TERMINAL_WIDTH_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace dorn::terminal {

// 2 for wide characters, 0 for marks that stand on the character before, else 1.
int WidthOf(char32_t character);

// The character at the beginning of a valid text, which is not empty.
char32_t CharacterAt(std::string_view text);

// One character with at most two marks.
struct Cluster {
  std::string mText;
  int mWidth = 1;
  std::size_t mAt = 0;  // Where it began in the text.
};

// Reads a text from its beginning on, so that an endless one costs no more than what is shown.
class ClusterReader {
 public:
  explicit ClusterReader(std::string_view text) : mText(text) {}
  // False at the end.
  bool Next(Cluster& out);

 private:
  bool NextCharacter(std::string& character, char32_t& code);

  std::string_view mText;
  std::size_t mAt = 0;
};

// The cells that a text takes; counts no further than `most`.
int TextWidth(std::string_view text, int most = 10000);

// The text in so many cells; one that is longer ends with an ellipsis.
std::string Cut(std::string_view text, int width);

// Lines of at most `width` cells, broken at blanks where there are some, and at line ends. What
// does not fit into `most` lines is cut.
std::vector<std::string> Wrapped(std::string_view text, int width, std::size_t most);

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_WIDTH_H_
