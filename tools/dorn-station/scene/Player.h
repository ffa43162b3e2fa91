// Plays a scene against a host and tells the first thing that is not as it should be.
//
// The order of a scene is the order at the host: before a step acts, a fence has brought every
// station what the host had sent until then, and a step has ended only when the host has dealt with
// it. What is expected is looked for behind a fence as well. Times are for hosts that take a while,
// not for what happens at once.
#ifndef TOOLS_DORN_STATION_SCENE_PLAYER_H_
#define TOOLS_DORN_STATION_SCENE_PLAYER_H_

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/dorn-station/scene/Actor.h"
#include "tools/dorn-station/scene/Host.h"
#include "tools/dorn-station/scene/Step.h"

namespace dorn::scene {

struct PlayOptions {
  std::vector<std::string> mStart;  // The host's program and arguments; none: it runs at mAt.
  dorn::tools::HostAndPort mAt{"127.0.0.1", dorn::tools::kStationPort};
  Ms mTimeout = 5'000;
  double mPatience = 1;  // Times that are limits are taken so many times.
  ActorOptions mActor;
  std::function<void(const Step& step)> mBefore;  // Called before each step; may be empty.
};

struct Failure {
  std::string mExpected;
  std::string mGot;
};

struct Result {
  std::size_t mSteps = 0;  // That held.
  Ms mTook = 0;
  std::optional<Failure> mFailure;
  std::size_t mLine = 0;  // Of the failure; 0: at the beginning or the end of the scene.
  std::string mSource;
  std::string mWho;         // The station that it happened to; empty: none.
  std::string mMessages;    // Its last ones.
  std::string mHostOutput;  // The host's last lines.
  bool mNoHost = false;     // It could not be started, or nobody listens.
};

class Player {
 public:
  explicit Player(PlayOptions options);

  Result Play(const Scene& scene);

  // The same by single steps, for somebody who makes a scene while it is played: Start(), steps,
  // and in between Idle(), so that stations and host go on.
  Result Start();
  Result PlayStep(const Step& step);
  void Idle() { RunAll(0); }
  Result Finish();

 private:
  using Verdict = std::optional<Failure>;

  // Time and the host (Player.cc).
  Verdict Begin();
  Verdict End();
  Verdict Do(const Step& step);
  Verdict DoHosts(const Step& step);
  Verdict DoStations(const Step& step, Actor& actor);
  void Describe(const Step* step, const Failure& failure, Result& result) const;
  Actor& ActorOf(const std::string& name);
  void RunAll(Ms limit);
  // False when the time is over or the host has died.
  bool WaitUntil(Ms limit, const std::function<bool()>& holds);
  bool HoldsAfterDeath(const std::function<bool()>& holds);
  Verdict SyncAll();
  Verdict Sync(Actor& actor);
  Ms Limit(const Step& step) const;
  bool HasDied() const { return mShouldRun && !mHost.IsRunning(); }
  Failure Missed(const std::string& expected, const std::string& got) const;
  Verdict StartHost(Ms limit);
  Verdict StopHost(Ms limit);
  Verdict ExpectLine(const Step& step);
  Verdict ExpectNoLine(const Step& step);
  Verdict ExpectExit(const Step& step);

  // What stations do (PlayerActs.cc).
  Verdict Connect(const Step& step, Actor& actor);
  Verdict LogIn(const Step& step, Actor& actor);
  Verdict Return(const Step& step, Actor& actor);
  Verdict Refused(const Step& step, const Actor& actor, bool isRefused) const;
  Verdict Enter(const Step& step, Actor& actor);
  Verdict Click(const Step& step, Actor& actor);
  Verdict Set(const Step& step, Actor& actor);
  Verdict Acknowledge(const Step& step, Actor& actor);
  Verdict Send(const Step& step, Actor& actor);
  Verdict Act(const Step& step, Actor& actor, const std::string& type,
              const dorn::station::SetObject& object);
  Verdict Get(const Step& step, Actor& actor);
  Verdict Find(const Step& step, Actor& actor, const dorn::station::Object*& object);

  // What they expect (PlayerExpects.cc).
  Verdict ExpectValue(const Step& step, Actor& actor);
  Verdict ExpectPresence(const Step& step, Actor& actor);
  Verdict ExpectDialog(const Step& step, Actor& actor);
  Verdict ExpectCommand(const Step& step, Actor& actor);
  Verdict ExpectNothing(const Step& step, Actor& actor);
  Verdict ExpectClosed(const Step& step, Actor& actor);
  Verdict ExpectSessionEnd(const Step& step, Actor& actor);

  const PlayOptions mOptions;
  Host mHost;
  bool mShouldRun = false;
  bool mNoHost = false;
  std::size_t mHostMark = 0;  // What it had printed when the step before began.
  Ms mBegan = 0;
  std::map<std::string, std::unique_ptr<Actor>> mActors;
};

// A station's state in words: "shows panel", "is logged out: wrong password".
std::string StateOf(const Actor& actor);
// "no object pump1_stat in panel; do you mean pump1_state?"
std::string NoObject(const Actor& actor, const std::string& name);

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_PLAYER_H_
