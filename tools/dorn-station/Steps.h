// The lines that a person or a script gives to the station, one step each.
#ifndef TOOLS_DORN_STATION_STEPS_H_
#define TOOLS_DORN_STATION_STEPS_H_

#include <optional>
#include <string>

enum class StepKind {
  kSend,    // text: the command to send
  kExpect,  // text: wait for a message that contains it
  kAbsent,  // text: fail if a message since the step before the last expect contained it
  kWait,    // seconds: just print what arrives
  kSay,     // text: print it
  kQuit,    // close the connection and end
  kNothing  // an empty line or a comment
};

struct Step {
  StepKind kind = StepKind::kNothing;
  std::string text;
  double seconds = 0;
};

// What the lines may be, for --help.
extern const char* const kStepHelp;

// Reads one line. Without a result the line is not understood, and `error` says what to write
// instead.
std::optional<Step> ParseStep(const std::string& line, std::string& error);

// The command that logs in, or re-attaches when `session` is given, and asks for a dialog when
// `dialog` is.
struct Login {
  std::string id;
  std::string pass;
  std::string session;
  std::string type = "STATION";
  int width = 1024;
  int height = 768;
};
std::string HelloCommand(const Login& login);
std::string EnterCommand(const std::string& dialog);

#endif  // TOOLS_DORN_STATION_STEPS_H_
