// Files of the machine on which a scene is played.
#ifndef TOOLS_DORN_STATION_SCENE_LOCALFILE_H_
#define TOOLS_DORN_STATION_SCENE_LOCALFILE_H_

#include <optional>
#include <string>

namespace dorn::scene {

// All of its bytes; nothing for a folder and what cannot be read.
std::optional<std::string> ReadLocalFile(const std::string& path);

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_LOCALFILE_H_
