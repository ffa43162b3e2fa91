// What stands for a character where the terminal has ASCII alone.
#ifndef TOOLS_DORN_TERMINAL_ASCII_H_
#define TOOLS_DORN_TERMINAL_ASCII_H_

#include <string>
#include <string_view>

namespace dorn::terminal {

// As many cells as the character takes: "?" or "??" for those that have nothing like them.
std::string AsciiOf(std::string_view character, int width);

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_ASCII_H_
