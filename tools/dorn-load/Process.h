// What the system says about a process.
#ifndef TOOLS_DORN_LOAD_PROCESS_H_
#define TOOLS_DORN_LOAD_PROCESS_H_

#include <optional>

#include "tools/dorn-load/Times.h"

namespace dorn::load {

struct ProcessFigures {
  double mCpuSeconds = 0;  // User and system.
  double mMiB = 0;         // Resident.

  // Nothing when there is no such process.
  static std::optional<ProcessFigures> Of(int pid);
};

// Processor time of this process so far.
Us OwnCpu();

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_PROCESS_H_
