// A site of two to four hosts that live through a minute or some of faults. One seed, one schedule:
// the same seed plays the same again.
#ifndef TESTS_SITE_SIMULATION_SIMULATION_H_
#define TESTS_SITE_SIMULATION_SIMULATION_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "SimHost.h"

namespace dorn::site::simulation {

struct Options {
  std::uint64_t seed = 1;
  Rules rules;
  bool applyAtOnce = false;
  bool tellsOtherLog = true;
  // The log is replaced, too, while a snapshot is being announced, which comes into the new one.
  bool replacesAnnounced = false;
  bool isTraced = false;
};

struct Result {
  std::string wrong;  // Empty: everything held.
  std::size_t applied = 0, refused = 0, sessionsEnded = 0, entries = 0, starts = 0, takes = 0;
  std::size_t snapshotsLoaded = 0, forgotten = 0, sentAgain = 0, otherLogs = 0;
  std::size_t replacedWhileLoading = 0, replacedWhileAnnouncing = 0;
};

class Simulation {
 public:
  explicit Simulation(const Options& options);

  Result Run();

 private:
  // What may go wrong in this schedule; each has its own mix.
  struct Mix {
    bool elections = false, followers = false, cuts = false, stops = false, crashes = false;
    bool lags = false, refusals = false, clocks = false, pieces = false, bursts = false,
         replaces = false;
  };
  // When the log is replaced.
  enum class Replacement { kNone, kWhileOneLoads, kWhileOneAnnounces };
  // A place for a host; empty while the one there has crashed.
  struct Place {
    std::unique_ptr<SimHost> host;
    Ms startsAt{0};
  };

  void ChooseMix();
  void Step();
  void RunFor(Ms time, bool withFaults);
  void Fault();
  void FaultOfLog();
  void FaultOfReplacedLog();
  void ReplaceWhenDue();
  void ReplaceLog(int kind);
  void FaultOf(Place& place);
  void Crash(Place& place);
  void Count(const SimHost& host);
  void Check();
  void CheckKeepers();
  void CalmDown();
  void ChangeEverywhere();
  void CheckEnd();
  void CheckSame(const SimHost& host, const SimHost& other);
  Ms Outage();

  World mWorld;
  Mix mMix;
  bool mIsLong = false;
  const bool mReplacesAnnounced;
  // Entries reach the log and the hosts at once or never: then two must not even be sure at once.
  bool mIsPrompt = false;
  std::vector<Place> mPlaces;
  int mStarts = 0;
  Ms mNextFault{0};
  Replacement mDue = Replacement::kNone;
  Result mResult;
};

}  // namespace dorn::site::simulation

#endif  // TESTS_SITE_SIMULATION_SIMULATION_H_
