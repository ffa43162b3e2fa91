// A range of ids that are given out one after another. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_IDRANGE_H_
#define DORN_SERVER_IDRANGE_H_

namespace dorn {

// An id behind its range would belong to somebody else: a connection's time-outs would expire
// sessions. So ids start again from the first one, and from then on those that are still in use are
// skipped. Up to that point they simply count up.
class IdRange {
 public:
  // The ids `first`, `first` + `step` and so on, each with the `step` - 1 ids behind it, below
  // `end`.
  constexpr IdRange(unsigned int first, unsigned int end, unsigned int step)
      : mFirst(first), mStep(step), mCount((end - first) / step) {}

  // Moves `next`, which anybody may have written, to an id that can be given out; `hasWrapped` is
  // kept for the next call. `isUsed` is asked only once ids have started again.
  template <typename IsUsed>
  void MoveToFree(unsigned int& next, bool& hasWrapped, const IsUsed& isUsed) const {
    for (unsigned int tried = 0; tried < mCount; ++tried) {
      if (next < mFirst || next >= mFirst + mCount * mStep) {
        next = mFirst;
        hasWrapped = true;
      }
      if (!hasWrapped || !isUsed(next)) return;
      next += mStep;
    }
  }

 private:
  unsigned int mFirst;
  unsigned int mStep;
  unsigned int mCount;
};

}  // namespace dorn

#endif  // DORN_SERVER_IDRANGE_H_
