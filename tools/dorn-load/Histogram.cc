#include "tools/dorn-load/Histogram.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace dorn::load {

namespace {

int HighestBit(std::uint64_t number) { return 63 - __builtin_clzll(number | 1); }

}  // namespace

Histogram::Histogram() : mSlots(SlotOf(std::numeric_limits<Us>::max()) + 1) {}

void Histogram::Add(Us us) {
  const Us counted = std::max<Us>(us, 0);
  ++mSlots[SlotOf(static_cast<std::uint64_t>(counted))];
  ++mCount;
  mWorst = std::max(mWorst, counted);
}

Us Histogram::Quantile(double part) const {
  const double rank = std::ceil(part * static_cast<double>(mCount));
  const std::uint64_t wanted = std::max<std::uint64_t>(static_cast<std::uint64_t>(rank), 1);
  std::uint64_t seen = 0;
  for (std::size_t slot = 0; slot < mSlots.size(); ++slot) {
    seen += mSlots[slot];
    if (seen >= wanted) return std::min(static_cast<Us>(LongestOf(slot)), mWorst);
  }
  return mWorst;
}

// The highest bits of a duration, of which the first is always set, lie behind those of the
// doublings below.
std::size_t Histogram::SlotOf(std::uint64_t us) {
  const int shift = std::max(HighestBit(us) - kSlotBits, 0);
  return (static_cast<std::size_t>(shift) << kSlotBits) + (us >> shift);
}

std::uint64_t Histogram::LongestOf(std::size_t slot) {
  constexpr std::size_t kSlots = std::size_t{1} << kSlotBits;
  if (slot < 2 * kSlots) return slot;
  const std::size_t shift = slot / kSlots - 1;
  return ((slot - shift * kSlots + 1) << shift) - 1;
}

}  // namespace dorn::load
