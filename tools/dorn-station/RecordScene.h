// `dorn-station record`: somebody types the lines of a scene, sees each played at once, and keeps
// those that held.
#ifndef TOOLS_DORN_STATION_RECORDSCENE_H_
#define TOOLS_DORN_STATION_RECORDSCENE_H_

#include <string>

#include "tools/dorn-station/scene/Player.h"

// Reads lines from standard input until its end. The exit code of the program comes back.
int RecordScene(const dorn::scene::PlayOptions& options, const std::string& file);

#endif  // TOOLS_DORN_STATION_RECORDSCENE_H_
