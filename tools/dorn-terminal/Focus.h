// Where the focus goes: pure geometry over the places that can have it.
#ifndef TOOLS_DORN_TERMINAL_FOCUS_H_
#define TOOLS_DORN_TERMINAL_FOCUS_H_

#include <optional>
#include <vector>

#include "tools/dorn-terminal/Cells.h"

namespace dorn::terminal {

enum class Direction { kUp, kDown, kLeft, kRight };

// The place next to `from` in this direction; nothing when there is none.
std::optional<std::size_t> NextPlace(const std::vector<Rect>& places, std::size_t from,
                                     Direction direction);

// The first line that is to be seen so that a place from `top` to `bottom` (which does not belong
// to it) is in view, changing `first` as little as possible.
int ScrolledTo(int first, int visible, int top, int bottom);

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_FOCUS_H_
