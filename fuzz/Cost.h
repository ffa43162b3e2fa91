// What a piece of work costs, counted and not timed: the same on every machine and in every run of
// one program.
#ifndef FUZZ_COST_H_
#define FUZZ_COST_H_

#include <cstddef>
#include <functional>

struct Cost {
  size_t blocks = 0;  // Basic blocks that ran in code compiled with -fsanitize-coverage=trace-pc.
  size_t allocated = 0;  // Bytes that were allocated, whether or not they were freed again.
  size_t peak = 0;       // The most bytes that were allocated at one time.
  size_t printed = 0;    // Bytes that went to standard output.
};

// Runs `work` and counts. Standard output goes nowhere meanwhile.
Cost CostOf(const std::function<void()>& work);

#endif  // FUZZ_COST_H_
