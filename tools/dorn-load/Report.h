// What dorn-load prints: lines for people as it goes on, or one JSON object at the end.
#ifndef TOOLS_DORN_LOAD_REPORT_H_
#define TOOLS_DORN_LOAD_REPORT_H_

#include <optional>
#include <string>

#include "station/Json.h"
#include "tools/dorn-load/Load.h"
#include "tools/dorn-load/Search.h"

namespace dorn::load {

class Report {
 public:
  explicit Report(const Options& options);

  // Nothing could be measured.
  void Failed(const std::string& why, std::optional<Error> error);
  void Started(const Targets& targets, const std::string& dialog, const Mix& mix);
  void Second(Us end, const Span& second);
  void Ramped(const Trial& ramp);
  void Measured(const Trial& trial);
  // One of a search: whether the limit held.
  void Tried(const Trial& trial, bool held);
  void Searched(const Search& search);
  // The run ended before its time.
  void Ended(const std::string& why);
  // Nothing more comes.
  void Finish(int exitCode);

 private:
  void PrintHeads();
  void Add(const std::string& key, dorn::station::Json json);

  const Options& mOptions;
  int mLines = 0;
  dorn::station::Json mJson;
  dorn::station::Json mSeconds;  // Of what goes on.
  dorn::station::Json mTrials;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_REPORT_H_
