// A station that goes ahead and tells what there is to touch.
#ifndef TOOLS_DORN_LOAD_SCOUT_H_
#define TOOLS_DORN_LOAD_SCOUT_H_

#include <functional>
#include <optional>
#include <string>

#include "station/Screen.h"
#include "tools/dorn-load/Figures.h"
#include "tools/dorn-load/Options.h"

namespace dorn::load {

struct Scouted {
  std::optional<dorn::station::Screen> mScreen;  // Nothing: why not.
  std::string mDialog;
  std::string mWhy;
  std::optional<Error> mError;
};

// Logs in as the first station, enters the dialog and leaves.
Scouted Scout(const Options& options, const std::function<bool()>& isStopped);

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_SCOUT_H_
