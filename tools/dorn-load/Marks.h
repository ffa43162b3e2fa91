// How long a change takes until others see it. A value that one station sets is remembered with the
// time that it was meant for; when another station is told of this value, it has taken that long.
//
//   - The values of an object differ from one change to the next, so that each names one change. A
//     value that comes again while the last change to it may still be under way names none, and is
//     not measured: an object with few values gives few figures, never wrong ones.
//   - Each station counts once for each change, and the one that made it does not count.
//   - A change that is overwritten before the host tells of it is told to nobody.
#ifndef TOOLS_DORN_LOAD_MARKS_H_
#define TOOLS_DORN_LOAD_MARKS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/dorn-load/Times.h"

namespace dorn::load {

class Marks {
 public:
  // A change that nobody was told of within `memory` is forgotten. Only what was touched lately
  // takes memory: a host may have any number of objects.
  Marks(std::size_t stations, Us memory) : mMemory(memory), mStations(stations) {}

  // A station has set the value, which was meant for this time.
  void Set(std::size_t station, std::size_t target, const std::string& value, Us meant);
  // A station is told of it: since when it has been under way, where that is to be counted.
  std::optional<Us> Told(std::size_t station, std::size_t target, const std::string& value, Us now);

 private:
  struct Mark {
    Us mMeant;
    std::uint32_t mNumber;  // Of the change, counted upwards; 0: the value is ambiguous.
    std::size_t mStation;
  };

  struct Changes {
    std::unordered_map<std::string, Mark> mMarks;  // By value.
    std::vector<std::uint32_t> mSeen;              // The last one, for each station; or of nobody.
  };

  void Forget(Us before);

  const Us mMemory;
  const std::size_t mStations;
  std::uint32_t mCount = 0;  // Of changes.
  Us mForgotten = 0;
  std::unordered_map<std::size_t, Changes> mChanged;  // By target.
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_MARKS_H_
