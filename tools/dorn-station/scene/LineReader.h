// Reads one line of a scene. What lies before it in the scene is nothing to it.
#ifndef TOOLS_DORN_STATION_SCENE_LINEREADER_H_
#define TOOLS_DORN_STATION_SCENE_LINEREADER_H_

#include <optional>
#include <string>
#include <string_view>

#include "tools/dorn-station/scene/Step.h"

namespace dorn::scene {

// Nothing for an empty line, a comment, and a mistake, which `error` then tells.
std::optional<Step> ReadLine(std::string_view line, std::string& error);

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_LINEREADER_H_
