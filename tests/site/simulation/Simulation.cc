#include "Simulation.h"

#include <algorithm>
#include <set>
#include <utility>

namespace dorn::site::simulation {
namespace {

using namespace std::chrono_literals;

constexpr Ms kStep = 20ms;

}  // namespace

Simulation::Simulation(const Options& options)
    : mWorld(options.seed), mReplacesAnnounced(options.replacesAnnounced) {
  mWorld.rules = options.rules;
  mWorld.applyAtOnce = options.applyAtOnce;
  mWorld.tellsOtherLog = options.tellsOtherLog;
  mWorld.takesForeignManifests = options.replacesAnnounced;
  mWorld.isTraced = options.isTraced;
  mWorld.log.onEnter = [this](Sequence sequence, const Entry& entry) {
    mWorld.truth.OnEntered(sequence, entry, mWorld.now);
  };
  ChooseMix();
  mPlaces.resize(static_cast<std::size_t>(mWorld.random.Of(2, 4)));
  for (Place& place : mPlaces) place.startsAt = mWorld.random.Ms(0, 3000);
}

void Simulation::ChooseMix() {
  Random& random = mWorld.random;
  mIsLong = random.Chance(100);
  mIsPrompt = random.Chance(150);
  mMix.stops = random.Chance(500);
  mMix.crashes = random.Chance(500);
  mMix.bursts = random.Chance(300);
  mWorld.changesPerThousandTicks = random.Of(20, mIsLong ? 60 : 300);
  mWorld.log.weather.lost = random.Chance(500) ? random.Of(0, 150) : 0;
  if (mIsPrompt) return;
  mMix.elections = random.Chance(600);
  mMix.followers = random.Chance(400);
  mMix.cuts = random.Chance(500);
  mMix.lags = random.Chance(300);
  mMix.refusals = random.Chance(300);
  mMix.clocks = random.Chance(200);
  mMix.pieces = random.Chance(400);
  mMix.replaces = random.Chance(300);
  mWorld.log.weather.doubled = random.Chance(500) ? random.Of(0, 200) : 0;
  mWorld.log.weather.late = random.Chance(500) ? random.Of(0, 200) : 0;
}

Result Simulation::Run() {
  RunFor(mIsLong ? mWorld.random.Ms(200'000, 300'000) : mWorld.random.Ms(20'000, 80'000), true);
  CalmDown();
  RunFor(25s, false);
  mWorld.isQuiet = true;
  RunFor(2s, false);
  if (mWorld.truth.Wrong().empty()) ChangeEverywhere();
  RunFor(3s, false);
  if (mWorld.truth.Wrong().empty()) CheckEnd();

  for (const Place& place : mPlaces) {
    if (place.host) Count(*place.host);
  }
  mResult.wrong = mWorld.truth.Wrong();
  mResult.applied = mWorld.truth.Applied();
  mResult.refused = mWorld.truth.Refused();
  mResult.sessionsEnded = mWorld.truth.Ends();
  mResult.entries = mWorld.log.Last();
  mResult.forgotten = mWorld.log.FirstKept() - 1;
  mResult.starts = static_cast<std::size_t>(mStarts);
  return mResult;
}

void Simulation::ChangeEverywhere() {
  for (const Place& place : mPlaces) {
    if (!place.host->ChangeSomething()) mWorld.truth.Fail("a host takes no change in the end");
  }
}

void Simulation::Count(const SimHost& host) {
  const Node::Counters& counters = host.GetNode().Count();
  mResult.takes += counters.takes;
  mResult.snapshotsLoaded += counters.snapshots;
  mResult.sentAgain += counters.sentAgain;
  mResult.otherLogs += host.OtherLogs();
}

void Simulation::RunFor(Ms time, bool withFaults) {
  mNextFault = mWorld.now + mWorld.random.Ms(0, 8000);
  for (const Ms end = mWorld.now + time; mWorld.now < end && mWorld.truth.Wrong().empty();) {
    if (withFaults && mWorld.now >= mNextFault) Fault();
    Step();
  }
}

void Simulation::Step() {
  mWorld.now += kStep;
  mWorld.log.Step(mWorld.now);
  for (Place& place : mPlaces) {
    if (!place.host && mWorld.now >= place.startsAt) {
      place.host = std::make_unique<SimHost>(mWorld, ++mStarts);
      mWorld.Trace("host " + std::to_string(mStarts) + " starts");
    }
    if (place.host) place.host->Step();
  }
  ReplaceWhenDue();
  Check();
}

// --- faults ---

void Simulation::Fault() {
  mNextFault = mWorld.now + mWorld.random.Ms(500, 8000);
  if (mWorld.random.Chance(400)) return FaultOfLog();
  if (mMix.crashes && mWorld.random.Chance(20)) {
    mWorld.Trace("all hosts crash");
    for (Place& place : mPlaces) Crash(place);
    return;
  }
  const int last = static_cast<int>(mPlaces.size()) - 1;
  Place& place = mPlaces[static_cast<std::size_t>(mWorld.random.Of(0, last))];
  if (place.host) FaultOf(place);
}

void Simulation::FaultOfLog() {
  switch (mWorld.random.Of(0, mMix.replaces ? 3 : 2)) {
    case 0:
      if (!mMix.elections || mWorld.log.IsAway()) return;
      mWorld.Trace("an election");
      return mWorld.log.BeginElection(mWorld.now + mWorld.random.Ms(4000, 9000));
    case 1:
      if (!mMix.followers) return;
      mWorld.Trace("a follower is stopped");
      return mWorld.log.StopFollower(mWorld.now + mWorld.random.Ms(1000, 30'000));
    case 2:
      if (!mMix.pieces) return;
      mWorld.Trace("pieces of snapshots are missing");
      return mWorld.log.LoseAPiece(mWorld.now + mWorld.random.Ms(500, 10'000));
    default:
      return FaultOfReplacedLog();
  }
}

void Simulation::FaultOfReplacedLog() {
  const int kind = mWorld.random.Of(0, 4);
  if (kind <= 1 && !mWorld.log.HasBackUp()) {
    mWorld.Trace("the log is backed up");
    return mWorld.log.BackUp();
  }
  if (mDue != Replacement::kNone || mWorld.random.Chance(400)) return ReplaceLog(kind);
  mWorld.cutsWhoAnnounces = mReplacesAnnounced && mWorld.random.Chance(500);
  mDue = mWorld.cutsWhoAnnounces ? Replacement::kWhileOneAnnounces : Replacement::kWhileOneLoads;
}

void Simulation::ReplaceWhenDue() {
  if (mDue == Replacement::kNone) return;
  if (mDue == Replacement::kWhileOneAnnounces) {
    if (mWorld.cutsWhoAnnounces) return;
    ++mResult.replacedWhileAnnouncing;
  } else {
    const auto isLoading = [](const Place& place) {
      return place.host && place.host->Transport().IsFetching();
    };
    if (std::none_of(mPlaces.begin(), mPlaces.end(), isLoading)) return;
    ++mResult.replacedWhileLoading;
  }
  mDue = Replacement::kNone;
  ReplaceLog(mWorld.random.Of(mWorld.log.HasBackUp() ? 0 : 2, 4));
}

// All brokers are down meanwhile.
void Simulation::ReplaceLog(int kind) {
  SharedLog& log = mWorld.log;
  const Ms until = mWorld.now + mWorld.random.Ms(500, 9000);
  if (kind <= 1) {
    mWorld.Trace("the log is put back to its back-up");
    log.PutBack(until);
  } else if (kind <= 3) {
    mWorld.Trace("the log loses its end");
    log.LoseEnd(mWorld.now - mWorld.random.Ms(0, 5000), until);
  } else {
    mWorld.Trace("the log is deleted");
    log.Empty(mWorld.random.Chance(500), until);
  }
  std::set<std::size_t> show{0};
  for (Place& place : mPlaces) {
    if (place.host) show.insert(place.host->Applied());
  }
  mWorld.truth.OnOtherLog(log, std::move(show));
}

void Simulation::FaultOf(Place& place) {
  SimHost& host = *place.host;
  const Ms until = mWorld.now + Outage();
  const std::string name = "host " + std::to_string(host.Start());
  switch (mWorld.random.Of(0, 6)) {
    case 0:
      if (!mMix.stops) return;
      mWorld.Trace(name + " is stopped");
      return host.Stop(until);
    case 1:
      if (!mMix.crashes) return;
      mWorld.Trace(name + " crashes");
      return Crash(place);
    case 2:
      if (!mMix.cuts) return;
      mWorld.Trace(name + " is cut off");
      return host.Transport().Cut(until);
    case 3:
      if (!mMix.lags) return;
      mWorld.Trace(name + " hears late");
      return host.Transport().Lag(mWorld.random.Ms(50, 6000), until);
    case 4:
      if (!mMix.refusals) return;
      mWorld.Trace(name + " cannot publish");
      return host.Transport().Refuse(until);
    case 5:
      if (!mMix.clocks) return;
      mWorld.Trace(name + "'s clock jumps");
      return host.JumpClock(mWorld.random.Ms(10, 20'000));
    default:
      if (!mMix.bursts) return;
      return host.Burst(mWorld.random.Of(10, 1500));
  }
}

Ms Simulation::Outage() {
  if (mIsLong && mWorld.random.Chance(200)) return mWorld.random.Ms(60'000, 150'000);
  return mWorld.random.Ms(100, mWorld.random.Chance(300) ? 20'000 : 4000);
}

void Simulation::Crash(Place& place) {
  if (!place.host) return;
  Count(*place.host);
  place.host.reset();
  place.startsAt = mWorld.now + mWorld.random.Ms(200, 8000);
}

void Simulation::CalmDown() {
  mWorld.Trace("nothing goes wrong from here on");
  mDue = Replacement::kNone;
  mWorld.cutsWhoAnnounces = false;
  mWorld.log.CalmDown(mWorld.now);
  for (Place& place : mPlaces) {
    if (place.host) place.host->CalmDown();
    place.startsAt = std::min(place.startsAt, mWorld.now);
  }
}

// --- what must hold ---

void Simulation::Check() {
  for (const Place& place : mPlaces) {
    if (!place.host) continue;
    const SimHost& host = *place.host;
    const Sequence last = host.GetNode().LastApplied();
    const bool isServing = host.GetNode().IsServing();
    if (!host.HasSite()) continue;
    if (isServing) mWorld.truth.OnBegun(host.Applied());
    if (last != 0 && host.Applied() != mWorld.truth.AppliedUpTo(last)) {
      mWorld.truth.Fail("host " + std::to_string(host.Start()) +
                        " has not applied what others have");
    }
  }
  if (mIsPrompt) CheckKeepers();
}

void Simulation::CheckKeepers() {
  int sure = 0;
  for (const Place& place : mPlaces) {
    if (place.host && place.host->KeptAt() > mWorld.now - 100ms) ++sure;
  }
  if (sure > 1) mWorld.truth.Fail("two hosts keep the site at once");
}

void Simulation::CheckEnd() {
  mWorld.truth.CheckOrders();
  int keepers = 0;
  for (const Place& place : mPlaces) {
    const SimHost& host = *place.host;
    const std::string name = "host " + std::to_string(host.Start());
    keepers += host.GetNode().IsKeeper() ? 1 : 0;
    if (!host.GetNode().IsServing()) mWorld.truth.Fail(name + " does not serve in the end");
    if (!host.IsSettled()) mWorld.truth.Fail(name + " does not know an outcome in the end");
    CheckSame(host, *mPlaces.front().host);
  }
  if (keepers != 1) mWorld.truth.Fail("not one host keeps the site in the end");
}

void Simulation::CheckSame(const SimHost& host, const SimHost& other) {
  if (host.SaveModel() == other.SaveModel()) return;
  mWorld.truth.Fail("host " + std::to_string(host.Start()) + " shows other dialogs in the end");
}

}  // namespace dorn::site::simulation
