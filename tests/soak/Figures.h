// What a soak run measures beside durations.
#ifndef TESTS_SOAK_FIGURES_H_
#define TESTS_SOAK_FIGURES_H_

#include <sys/types.h>

#include <string>

// What a process holds at a moment.
struct Holdings {
  double mMiB = 0;  // Resident memory.
  int mDescriptors = 0;
  double mCpuSeconds = 0;

  static Holdings Of(pid_t pid);
  std::string Text() const;
};

#endif  // TESTS_SOAK_FIGURES_H_
