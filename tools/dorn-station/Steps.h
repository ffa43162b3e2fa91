// The lines that a person or a script gives to the station, one step each.
#ifndef TOOLS_DORN_STATION_STEPS_H_
#define TOOLS_DORN_STATION_STEPS_H_

#include <optional>
#include <string>
#include <vector>

#include "station/Commands.h"

enum class StepKind {
  kSend,    // text: the command to send
  kExpect,  // text: wait for a message that contains it
  kAbsent,  // text: fail if a message since the step before the last expect contained it
  kWait,    // seconds: just print what arrives
  kSay,     // text: print it
  kQuit,    // close the connection and end
  kNothing  // an empty line or a comment
};

// A year: nobody waits longer, and clocks can be set so far ahead.
constexpr double kMostSeconds = 31'536'000;

struct Step {
  StepKind kind = StepKind::kNothing;
  std::string text;
  double seconds = 0;
  std::vector<dorn::station::SetObject> objects = {};  // Of a command that touches or sets some.
};

// What the lines may be, for --help.
extern const char* const kStepHelp;

// Reads one line. Without a result the line is not understood, and `error` says what to write
// instead. `quotes` says how values are to be stored.
std::optional<Step> ParseStep(const std::string& line, dorn::station::Quotes quotes,
                              std::string& error);

#endif  // TOOLS_DORN_STATION_STEPS_H_
