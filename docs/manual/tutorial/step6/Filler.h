// A machine that fills bottles from a tank, simulated in steps of a tenth of a second. It knows
// nothing of panels.
#ifndef FILLER_FILLER_H_
#define FILLER_FILLER_H_

#include <algorithm>

class Filler {
 public:
  static constexpr int kTankMl = 3000;
  static constexpr int kFlowMl = 100;  // In one step.

  enum class State { kStopped, kFilling, kDone, kTankEmpty };

  // Begins an order. Does nothing while one is being filled.
  void Start(int bottles, int volumeMl) {
    if (mState == State::kFilling) return;
    mOrderedBottles = bottles;
    mVolumeMl = volumeMl;
    mFilledBottles = 0;
    mInBottleMl = 0;
    mState = State::kFilling;
  }

  void Stop() {
    if (mState == State::kFilling) mState = State::kStopped;
  }

  void Refill() { mInTankMl = kTankMl; }

  void Step() {
    if (mState != State::kFilling) return;
    const int flow = std::min({kFlowMl, mVolumeMl - mInBottleMl, mInTankMl});
    mInTankMl -= flow;
    mInBottleMl += flow;
    if (mInBottleMl == mVolumeMl) {
      ++mFilledBottles;
      mInBottleMl = 0;
      if (mFilledBottles == mOrderedBottles) mState = State::kDone;
    } else if (mInTankMl == 0) {
      mState = State::kTankEmpty;
    }
  }

  State GetState() const { return mState; }
  bool IsFilling() const { return mState == State::kFilling; }
  int FilledBottles() const { return mFilledBottles; }
  int InBottleMl() const { return mInBottleMl; }
  int InTankMl() const { return mInTankMl; }

 private:
  State mState = State::kStopped;
  int mOrderedBottles = 0;
  int mVolumeMl = 0;
  int mFilledBottles = 0;
  int mInBottleMl = 0;
  int mInTankMl = kTankMl;
};

#endif  // FILLER_FILLER_H_
