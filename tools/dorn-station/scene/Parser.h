// Reads scenes. Every mistake is told with what is right instead, and all of a file at once.
#ifndef TOOLS_DORN_STATION_SCENE_PARSER_H_
#define TOOLS_DORN_STATION_SCENE_PARSER_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dorn-station/scene/Step.h"

namespace dorn::scene {

struct Mistake {
  std::size_t mLine;
  std::string mWhat;
};

struct ReadScene {
  Scene mScene;
  std::vector<Mistake> mMistakes;  // None: the scene may be played.
};

// `file` is what it is called; files that it names lie beside it. `hasHost`: the host is started
// by whoever plays the scene, so that it may say `host:`.
ReadScene ParseScene(std::string_view text, const std::string& file, bool hasHost);

// Reads the file first.
ReadScene LoadScene(const std::string& file, bool hasHost);

// What the lines may be, for --help.
extern const char* const kSceneHelp;

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_PARSER_H_
