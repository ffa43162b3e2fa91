// Whether the terminal that TERM names is known.
#ifndef TOOLS_DORN_TERMINAL_KNOWNTERMINAL_H_
#define TOOLS_DORN_TERMINAL_KNOWNTERMINAL_H_

namespace dorn::terminal {

// Asked first: newterm() does not give back what it has begun for one that it does not know.
bool IsKnownTerminal();

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_KNOWNTERMINAL_H_
