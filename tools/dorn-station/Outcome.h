// Exit codes of the program.
#ifndef TOOLS_DORN_STATION_OUTCOME_H_
#define TOOLS_DORN_STATION_OUTCOME_H_

enum class Outcome {
  kDone = 0,
  kFailedExpectation = 1,
  kUsage = 2,
  kCannotConnect = 3,
  kClosedByServer = 4,
};

#endif  // TOOLS_DORN_STATION_OUTCOME_H_
