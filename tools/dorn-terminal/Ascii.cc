#include "tools/dorn-terminal/Ascii.h"

#include <cstddef>

namespace dorn::terminal {

namespace {

struct Likeness {
  std::string_view mCharacter;
  char mAscii;
};

constexpr Likeness kLikenesses[] = {
    {"─", '-'}, {"│", '|'}, {"┌", '+'}, {"┐", '+'}, {"└", '+'}, {"┘", '+'}, {"├", '+'},
    {"┤", '+'}, {"█", '#'}, {"░", '.'}, {"▁", '_'}, {"▂", '_'}, {"▃", '.'}, {"▄", '-'},
    {"▅", '='}, {"▆", '='}, {"▇", '#'}, {"●", 'O'}, {"•", '*'}, {"▸", '>'}, {"▾", 'v'},
    {"…", '~'}, {"°", 'o'}, {"−", '-'}, {"–", '-'}, {"“", '"'}, {"”", '"'}, {"’", '\''}};

}  // namespace

std::string AsciiOf(std::string_view character, int width) {
  const bool isAscii = !character.empty() && character[0] >= ' ' && character[0] < 0x7F;
  if (isAscii) {
    return std::string(character.substr(0, 1));
  }
  for (const Likeness& likeness : kLikenesses) {
    if (likeness.mCharacter == character) return std::string(1, likeness.mAscii);
  }
  return std::string(static_cast<std::size_t>(width), '?');
}

}  // namespace dorn::terminal
