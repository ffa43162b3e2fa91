// All stations of a run and the loop that serves them, on the calling thread alone.
#ifndef TOOLS_DORN_LOAD_CROWD_H_
#define TOOLS_DORN_LOAD_CROWD_H_

#include <cstddef>
#include <memory>
#include <vector>

#include "tools/dorn-load/Station.h"

namespace dorn::load {

class Crowd {
 public:
  // The stations come when they are told to.
  explicit Crowd(Run& run);
  ~Crowd();
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  // Sleeps until something arrives, a signal comes, or the time `until` does, to the microsecond,
  // and serves what there is. Brings the time of the run up to date.
  void Turn(Us until);

  std::size_t Size() const { return mStations.size(); }
  Station& At(std::size_t number) { return *mStations[number]; }
  std::size_t In() const { return mRun.mIn; }
  std::size_t Refused() const { return mRun.mRefused; }
  bool IsWaiting() const;
  // Somebody is not in, or something that was asked is not answered.
  bool IsBehind() const;
  // One that is in, each in its turn; null when none is.
  Station* Next();
  // All that are in ask whether the host is there.
  void Ask();
  void GiveUpWaiting(Error error);

 private:
  void SetTimer(Us until);

  Run& mRun;
  int mEpoll;
  int mTimer;
  Us mTimerAt = 0;
  Us mLookAt = 0;
  std::size_t mTurn = 0;
  std::vector<std::unique_ptr<Station>> mStations;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_CROWD_H_
