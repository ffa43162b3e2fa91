// Durations, of which any percentile can be told with a bounded error.
//
//   below 256 us    a slot for each microsecond
//   above           128 slots for each doubling
//
// A percentile is told as the longest duration of its slot, never less than it was and at most
// 1/128 more; the worst is exact.
#ifndef TOOLS_DORN_LOAD_HISTOGRAM_H_
#define TOOLS_DORN_LOAD_HISTOGRAM_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tools/dorn-load/Times.h"

namespace dorn::load {

class Histogram {
 public:
  Histogram();

  // A negative duration counts as none.
  void Add(Us us);

  std::uint64_t Count() const { return mCount; }
  Us Worst() const { return mWorst; }
  // What the given part, 0 to 1, of all durations did not exceed; 0 without any.
  Us Quantile(double part) const;

 private:
  static constexpr int kSlotBits = 7;

  static std::size_t SlotOf(std::uint64_t us);
  static std::uint64_t LongestOf(std::size_t slot);

  std::vector<std::uint64_t> mSlots;
  std::uint64_t mCount = 0;
  Us mWorst = 0;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_HISTOGRAM_H_
