// A whole run of dorn-load: looks at the dialog, lets the stations come and act, reports.
#ifndef TOOLS_DORN_LOAD_PROGRAM_H_
#define TOOLS_DORN_LOAD_PROGRAM_H_

#include <optional>
#include <string>
#include <utility>

#include "tools/dorn-load/Load.h"
#include "tools/dorn-load/Report.h"

namespace dorn::load {

enum ExitCode { kDone = 0, kErrorsSeen = 1, kUsage = 2, kNothingMeasured = 3 };

class Program {
 public:
  Program(const Options& options, CountStops stops)
      : mOptions(options), mStops(std::move(stops)), mReport(mOptions) {}

  // Returns what the process is to end with.
  int Go();

 private:
  int Fail(const std::string& why, std::optional<Error> error);
  int Measure();
  bool Once(Load& load);
  bool FindRate(Load& load);

  Options mOptions;
  const CountStops mStops;
  Report mReport;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_PROGRAM_H_
