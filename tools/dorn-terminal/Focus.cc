#include "tools/dorn-terminal/Focus.h"

#include <algorithm>
#include <cstddef>

namespace dorn::terminal {

namespace {

// How far two stretches lie apart; 0 when they overlap.
int Gap(int start, int end, int otherStart, int otherEnd) {
  return std::max({0, otherStart - end + 1, start - otherEnd + 1});
}

// The lower the better; nothing when `to` does not lie in this direction.
std::optional<int> Distance(const Rect& from, const Rect& to, Direction direction) {
  constexpr int kAside = 4;  // What is out of the way counts as further.
  const bool isVertical = direction == Direction::kUp || direction == Direction::kDown;
  const int ahead = direction == Direction::kUp     ? from.mY - to.Bottom()
                    : direction == Direction::kDown ? to.mY - from.Bottom()
                    : direction == Direction::kLeft ? from.mX - to.Right()
                                                    : to.mX - from.Right();
  if (ahead < 0) return std::nullopt;
  if (isVertical) return ahead + kAside * Gap(from.mX, from.Right(), to.mX, to.Right());
  const int aside = Gap(from.mY, from.Bottom(), to.mY, to.Bottom());
  // Sideways one line does not lead to another one far away.
  return aside > 8 ? std::nullopt : std::optional<int>(ahead + 2 * kAside * aside);
}

}  // namespace

std::optional<std::size_t> NextPlace(const std::vector<Rect>& places, std::size_t from,
                                     Direction direction) {
  std::optional<std::size_t> best;
  int least = 0;
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (i == from) continue;
    const auto distance = Distance(places[from], places[i], direction);
    if (!distance || (best && *distance >= least)) continue;
    best = i;
    least = *distance;
  }
  return best;
}

int ScrolledTo(int first, int visible, int top, int bottom) {
  if (bottom > first + visible) first = bottom - visible;
  return std::min(first, top);
}

}  // namespace dorn::terminal
