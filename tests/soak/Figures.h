// What a soak run measures.
#ifndef TESTS_SOAK_FIGURES_H_
#define TESTS_SOAK_FIGURES_H_

#include <sys/types.h>

#include <array>
#include <string>

// Durations, to a hundredth of a millisecond up to one second.
class Latencies {
 public:
  void Add(long long us);
  // The duration, in milliseconds, that the given part of all did not exceed.
  double Quantile(double part) const;
  double WorstMs() const { return static_cast<double>(mWorstUs) / 1000; }
  long long Count() const { return mCount; }

 private:
  static constexpr long long kUsPerSlot = 10;

  std::array<long long, 100001> mSlots{};
  long long mCount = 0;
  long long mWorstUs = 0;
};

// What a process holds at a moment.
struct Holdings {
  long mKiB = 0;  // Resident memory.
  int mDescriptors = 0;
  double mCpuSeconds = 0;

  static Holdings Of(pid_t pid);
  std::string Text() const;
};

long long NowUs();

#endif  // TESTS_SOAK_FIGURES_H_
