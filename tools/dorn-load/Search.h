// Looks for the highest rate that holds: doubles while it holds, or halves until it does, and then
// bisects between the highest that held and the lowest that did not.
#ifndef TOOLS_DORN_LOAD_SEARCH_H_
#define TOOLS_DORN_LOAD_SEARCH_H_

#include <optional>

namespace dorn::load {

class Search {
 public:
  // Neighbours closer than this are close enough.
  static constexpr double kClose = 1.05;
  static constexpr double kHighest = 1e6;
  static constexpr double kLowest = 0.1;

  explicit Search(double first) : mNext(first) {}

  // The rate to try; nothing when the search is over.
  std::optional<double> Next() const { return mNext; }
  // How that went.
  void Tell(bool held);

  // Nothing when none was tried that did so.
  std::optional<double> HighestThatHolds() const { return mHolds; }
  std::optional<double> LowestThatFails() const { return mFails; }

 private:
  std::optional<double> Following() const;

  std::optional<double> mNext;
  std::optional<double> mHolds;
  std::optional<double> mFails;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_SEARCH_H_
