// Tells people and build servers how scenes went.
#ifndef TOOLS_DORN_STATION_SCENE_REPORT_H_
#define TOOLS_DORN_STATION_SCENE_REPORT_H_

#include <string>
#include <vector>

#include "tools/dorn-station/scene/Parser.h"
#include "tools/dorn-station/scene/Player.h"

namespace dorn::scene {

struct Played {
  std::string mFile;
  std::vector<Mistake> mMistakes;  // Some: it was not played.
  Result mResult;
};

// FILE:LINE and what is right, a line for each mistake.
std::string MistakesText(const Played& played);

// FILE:LINE, the step, what was expected and got, the last messages of the station and the last
// lines of the host.
std::string FailureText(const Played& played);

// The format that build servers read.
std::string JUnitText(const std::vector<Played>& all);

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_REPORT_H_
