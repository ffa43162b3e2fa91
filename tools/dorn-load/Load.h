// A run: the stations come, act at a rate, and what happens is counted.
#ifndef TOOLS_DORN_LOAD_LOAD_H_
#define TOOLS_DORN_LOAD_LOAD_H_

#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tools/dorn-load/Crowd.h"
#include "tools/dorn-load/Pace.h"
#include "tools/dorn-load/Process.h"

namespace dorn::load {

// How often the user has asked for an end so far: once to end what goes on, twice to be waited for
// no answers either. It is called often.
using CountStops = std::function<int()>;

struct HostUse {
  double mPercent;  // Of one processor.
  double mMiB;      // At the end.
};

// What happened in some time.
struct Span {
  const Figures& mFigures;
  Us mTook;
  std::size_t mIn;  // Stations at the end.
  bool mIsWhole;    // A second, not what is left at the end of a trial.
  std::optional<HostUse> mHost;
};

struct Trial {
  double mRate = 0;  // 0: the ramp.
  Us mTook = 0;      // Without what was waited for answers at the end.
  Us mCounted = 0;   // With that: what the figures were counted over.
  std::size_t mIn = 0;
  Figures mFigures;
  Us mOwnCpu = 0;  // Processor time of this program.
  std::optional<HostUse> mHost;
};

class Load {
 public:
  // Told of each second while it goes on, and at the end of what is left: when it ended, counted
  // from the beginning of the trial.
  using OnSecond = std::function<void(Us end, const Span& second)>;

  Load(Run& run, OnSecond onSecond, CountStops stops);

  // Lets all stations come.
  Trial RampUp();
  // Lets them act at this rate, and waits for the last answers.
  Trial Act(double rate);
  // Waits until the host has caught up with what it was asked, so that the next trial does not
  // begin with what the one before has left.
  void Settle();

  // Nobody has been in for as long as an answer may take.
  bool IsHostGone() const { return mIsGone; }
  bool IsOver() const { return mIsGone || mStops() > 0; }

 private:
  struct Mark {
    Us mAt;
    std::optional<ProcessFigures> mHost;
  };

  Mark MarkNow() const;
  std::optional<HostUse> UseSince(const Mark& mark) const;
  void Begin();
  Trial End(double rate);
  void Turn(Us until);
  void TellSecond(bool isWhole);
  void Do(Us meant);
  void TouchOneOf(Station& station, const std::vector<std::size_t>& targets, Us meant);
  void AwaitAnswers();

  Run& mRun;
  Crowd mCrowd;
  const OnSecond mOnSecond;
  const CountStops mStops;
  std::mt19937 mRandom;
  std::vector<unsigned long long> mTouches;  // Of each target.
  Mark mBegin{};
  Mark mSecond{};
  Us mNextSecond = 0;  // A whole number of seconds behind the beginning.
  Us mCpuAtBegin = 0;
  Us mLastIn = 0;
  bool mIsGone = false;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_LOAD_H_
