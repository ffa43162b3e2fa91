#include "tools/dorn-load/Load.h"

#include <algorithm>
#include <utility>

namespace dorn::load {

namespace {

// At a rate that this program cannot keep, something is always due; answers are taken all the same.
constexpr int kActionsAtOnce = 64;

}  // namespace

Load::Load(Run& run, OnSecond onSecond, CountStops stops)
    : mRun(run),
      mCrowd(run),
      mOnSecond(std::move(onSecond)),
      mStops(std::move(stops)),
      mRandom(run.mOptions.mSeed),
      mTouches(run.mTargets.All().size()) {}

Trial Load::RampUp() {
  Begin();
  const Us ramp = mRun.mOptions.Ramp();
  const auto stations = static_cast<Us>(mCrowd.Size());
  const auto meant = [&](std::size_t number) {
    return mBegin.mAt + ramp * static_cast<Us>(number) / stations;
  };
  // Those that were cut off come back by themselves; for ever is nobody waited for.
  const Us last = mBegin.mAt + ramp + 2 * mRun.mOptions.mTimeout;
  std::size_t coming = 0;
  while (!IsOver() && mRun.mNow < last) {
    for (; coming < mCrowd.Size() && meant(coming) <= mRun.mNow; ++coming) {
      mCrowd.At(coming).Come(meant(coming));
    }
    if (mCrowd.In() + mCrowd.Refused() == mCrowd.Size()) break;
    Turn(coming < mCrowd.Size() ? meant(coming) : last);
  }
  return End(0);
}

// What was meant to be sent before the end is sent a little later if need be, and then counted as
// missing: whoever leaves out what he has no time for leaves out the slowest.
Trial Load::Act(double rate) {
  Begin();
  Pace pace(rate, mBegin.mAt);
  const Us end = mBegin.mAt + mRun.mOptions.mFor;
  const Us last = end + mRun.mOptions.mTimeout;
  while (!IsOver() && (mRun.mNow < end || (pace.NextAt() < end && mRun.mNow < last))) {
    for (int i = 0; i < kActionsAtOnce && pace.IsDue(mRun.mNow) && pace.NextAt() < end; ++i) {
      Do(pace.Take());
    }
    Turn(std::min(pace.NextAt(), end));
  }
  if (!IsOver()) mRun.mRecord.Count(Error::kNotSent, pace.LeftBefore(end));
  const Us took = std::min(mRun.mNow, end) - mBegin.mAt;
  AwaitAnswers();
  Trial trial = End(rate);
  trial.mTook = took;
  return trial;
}

Load::Mark Load::MarkNow() const {
  Mark mark{mRun.mNow, std::nullopt};
  if (mRun.mOptions.mPid > 0) mark.mHost = ProcessFigures::Of(mRun.mOptions.mPid);
  return mark;
}

std::optional<HostUse> Load::UseSince(const Mark& mark) const {
  const Mark now = MarkNow();
  if (!mark.mHost || !now.mHost || now.mAt <= mark.mAt) return std::nullopt;
  const double cpu = now.mHost->mCpuSeconds - mark.mHost->mCpuSeconds;
  return HostUse{100 * cpu / InSeconds(now.mAt - mark.mAt), now.mHost->mMiB};
}

void Load::Begin() {
  mRun.mNow = SteadyUs();
  mRun.mRecord.Begin();
  mBegin = mSecond = MarkNow();
  mNextSecond = mBegin.mAt + kSecond;
  mCpuAtBegin = OwnCpu();
  mLastIn = mRun.mNow;
}

Trial Load::End(double rate) {
  mRun.mNow = SteadyUs();
  if (!mRun.mRecord.Second().IsEmpty()) TellSecond(false);
  Trial trial;
  trial.mRate = rate;
  trial.mTook = trial.mCounted = mRun.mNow - mBegin.mAt;
  trial.mIn = mCrowd.In();
  trial.mFigures = mRun.mRecord.All();
  trial.mOwnCpu = OwnCpu() - mCpuAtBegin;
  trial.mHost = UseSince(mBegin);
  return trial;
}

// Nobody is in from the beginning of the ramp on, so that a host which takes nobody is found out as
// one that is gone.
void Load::Turn(Us until) {
  mCrowd.Turn(std::min(until, mNextSecond));
  if (mRun.mNow < mNextSecond) return;
  if (mCrowd.In() > 0) mLastIn = mRun.mNow;
  mIsGone = mRun.mNow - mLastIn > mRun.mOptions.mTimeout + kSecond;
  TellSecond(true);
}

void Load::TellSecond(bool isWhole) {
  mOnSecond(mRun.mNow - mBegin.mAt, {mRun.mRecord.Second(), mRun.mNow - mSecond.mAt, mCrowd.In(),
                                     isWhole, UseSince(mSecond)});
  mRun.mRecord.BeginSecond();
  mSecond = MarkNow();
  while (mNextSecond <= mRun.mNow) mNextSecond += kSecond;
}

void Load::Do(Us meant) {
  Station* const station = mCrowd.Next();
  if (station == nullptr) return mRun.mRecord.Count(Error::kNotSent);
  // For each of them: those before it took their time.
  mRun.mNow = SteadyUs();
  const Us late = mRun.mNow - meant;
  mRun.mRecord.Count([=](Figures& figures) {
    ++figures.mActions;
    figures.mLate.Add(late);
  });
  switch (mRun.mOptions.mMix.At(mRandom())) {
    case Deed::kClick:
      return TouchOneOf(*station, mRun.mTargets.Clicks(), meant);
    case Deed::kEdit:
      return TouchOneOf(*station, mRun.mTargets.Edits(), meant);
    case Deed::kEnter:
      return station->Enter(meant);
  }
}

void Load::TouchOneOf(Station& station, const std::vector<std::size_t>& targets, Us meant) {
  const std::size_t target = targets[mRandom() % targets.size()];
  station.Touch(target, mRun.mTargets[target].Value(mTouches[target]++), meant);
}

// One stop does not make the host owe less; what is missing after two has not been waited for.
void Load::AwaitAnswers() {
  const Us last = mRun.mNow + mRun.mOptions.mTimeout;
  while (!mIsGone && mStops() < 2 && mCrowd.IsWaiting() && mRun.mNow < last) Turn(last);
  mCrowd.GiveUpWaiting(mStops() < 2 ? Error::kTimeOut : Error::kUnanswered);
}

// A host that never catches up is tried all the same.
void Load::Settle() {
  constexpr int kPatience = 10;
  Begin();
  mCrowd.Ask();
  const Us last = mRun.mNow + kPatience * mRun.mOptions.mTimeout;
  while (!IsOver() && mCrowd.IsBehind() && mRun.mNow < last) mCrowd.Turn(last);
}

}  // namespace dorn::load
