#include "tools/dorn-load/Program.h"

#include "tools/dorn-load/Scout.h"
#include "tools/dorn-load/Search.h"

namespace dorn::load {

namespace {

// Why the objects of the dialog do not suffice for what was asked; empty when they do. What was not
// asked for by the user is left out of the mix instead.
std::string FitMix(const Targets& targets, const std::string& dialog, Mix& mix) {
  const auto lacks = [&](Deed deed, bool hasSome, const char* what) {
    if (hasSome || mix[deed] == 0) return std::string();
    if (mix.mIsGiven) return "nothing in " + dialog + " is " + what + "; leave that out of --mix";
    mix[deed] = 0;
    return std::string();
  };
  if (!targets.Missing().empty()) {
    return "--only: nothing in " + dialog + " called " + targets.Missing().front() +
           " can be touched";
  }
  std::string why =
      lacks(Deed::kClick, !targets.Clicks().empty(), "clicked (a BUTTON or CHECK that is enabled)");
  if (why.empty()) {
    why =
        lacks(Deed::kEdit, !targets.Edits().empty(), "edited (an EDIT or SLIDER that is enabled)");
  }
  return why;
}

bool Holds(const Trial& trial, const Goal& goal) {
  const Histogram& confirm = trial.mFigures.mConfirm;
  return trial.mFigures.Errors() == 0 && confirm.Count() > 0 &&
         confirm.Quantile(goal.mPart) <= goal.mLimit;
}

}  // namespace

int Program::Go() {
  const int code = Measure();
  mReport.Finish(code);
  return code;
}

int Program::Fail(const std::string& why, std::optional<Error> error) {
  mReport.Failed(why, error);
  return kNothingMeasured;
}

int Program::Measure() {
  const Scouted scouted = Scout(mOptions, [this] { return mStops() > 0; });
  if (!scouted.mScreen) return Fail(scouted.mWhy, scouted.mError);
  const Targets targets(*scouted.mScreen, mOptions.mOnly);
  const std::string lacks = FitMix(targets, scouted.mDialog, mOptions.mMix);
  if (!lacks.empty()) return Fail(lacks, std::nullopt);
  mReport.Started(targets, scouted.mDialog, mOptions.mMix);
  Run run(mOptions, targets, scouted.mDialog);
  Load load(
      run, [this](Us end, const Span& second) { mReport.Second(end, second); }, mStops);
  const Trial ramp = load.RampUp();
  mReport.Ramped(ramp);
  const bool hadNone = ramp.mFigures.mLogIn.Count() == 0;
  if (hadNone && mStops() == 0) return Fail("no station got in: " + run.mLastWords, {});
  // Whoever is stopped while the stations come has seen what there is to see.
  const bool isClean = load.IsOver() || (mOptions.mUntil ? FindRate(load) : Once(load));
  if (load.IsHostGone()) mReport.Ended("the host is gone: " + run.mLastWords);
  if (mStops() > 0) mReport.Ended("stopped by a signal");
  return isClean && ramp.mFigures.Errors() == 0 ? kDone : kErrorsSeen;
}

bool Program::Once(Load& load) {
  const Trial trial = load.Act(mOptions.mRate);
  mReport.Measured(trial);
  return trial.mFigures.Errors() == 0;
}

// A trial that was cut short says nothing about its rate.
bool Program::FindRate(Load& load) {
  Search search(mOptions.mRate);
  while (search.Next() && !load.IsOver()) {
    load.Settle();
    const Trial trial = load.Act(*search.Next());
    if (load.IsOver()) break;
    const bool holds = Holds(trial, *mOptions.mUntil);
    mReport.Tried(trial, holds);
    search.Tell(holds);
  }
  mReport.Searched(search);
  return search.HighestThatHolds().has_value();
}

}  // namespace dorn::load
