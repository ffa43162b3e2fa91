// One start of a host: a node over a small model, stations that change it, and what goes wrong with
// it alone. A host that crashes is another one afterwards.
#ifndef TESTS_SITE_SIMULATION_SIMHOST_H_
#define TESTS_SITE_SIMULATION_SIMHOST_H_

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "MemoryTransport.h"
#include "Model.h"
#include "Random.h"
#include "SharedLog.h"
#include "Truth.h"
#include "site/core/Node.h"
#include "site/core/Rules.h"

namespace dorn::site::simulation {

// The site that all its hosts see.
struct World {
  explicit World(std::uint64_t seed) : random(seed), log(random) {}

  void Trace(const std::string& what) const;

  Random random;
  SharedLog log;
  Truth truth;
  Ms now{0};
  bool clocksAreTrue = true;  // No host's clock has jumped.
  int changesPerThousandTicks = 150;
  bool isQuiet = false;  // Nobody does anything by itself.
  Rules rules;
  bool applyAtOnce = false;  // A rule taken out: changes are applied before they come back.
  bool tellsOtherLog = true;
  bool takesForeignManifests = false;
  bool isTraced = false;
  // Whoever announces a snapshot next is cut off, so that it comes into the log much later.
  bool cutsWhoAnnounces = false;
};

class SimHost final : public SharedState, public NodeListener {
 public:
  SimHost(World& world, int start);

  // Twenty milliseconds are over.
  void Step();

  // --- faults ---
  MemoryTransport& Transport() { return mTransport; }
  void Stop(Ms until) { mStoppedUntil = until; }
  void JumpClock(Ms by);
  void Burst(int changes) { mBurst = changes; }
  void CalmDown();

  // Nothing that it has handed in waits for its outcome.
  bool IsSettled() const { return mOwn.empty() && mNode.Waiting() == 0; }
  bool IsStopped() const { return mWorld.now < mStoppedUntil; }
  const Node& GetNode() const { return mNode; }
  int Start() const { return mStart; }
  // Its dialogs are those of the site behind some entry, and as far as it can know of this log.
  bool HasSite() const { return mHasBeginning && !mTransport.HasOtherLog(); }
  // When it was last asked to keep the site.
  Ms KeptAt() const { return mKeptAt; }
  std::size_t Applied() const { return mModel.Count(); }
  std::size_t OtherLogs() const { return mOtherLogs; }  // So often it has said so.
  std::string SaveModel() const { return mModel.Save(); }

  // One more change; whether it was taken.
  bool ChangeSomething();

  // --- SharedState ---
  void Apply(Sequence sequence, const Change& change, std::optional<Ticket> mine) override;
  std::string Save() override { return mModel.Save(); }
  bool Load(std::string_view bytes) override;
  Digest Resources() override { return {}; }

  // --- NodeListener ---
  void OnServing(bool isServing) override;
  void OnLogAway(bool isAway) override;
  void OnUnknown(Ticket ticket) override;
  void OnRefused(Ticket ticket) override;
  void OnPassed(Ticket ticket) override;
  void OnSessionStart(Sequence session, const SessionStart& start,
                      std::optional<Ticket> mine) override;
  void OnSessionEnd(Sequence session) override;
  void OnKeep() override;
  void OnDiverged(Sequence mark, bool mustStop) override;
  void OnWord(const std::string& line) override;

 private:
  struct Own {
    Handed what;
    Ms at{0};
    bool isProposal = false, isSession = false;
  };

  void Tick();
  void LiveStations();
  void HandIn(bool isProposal);
  void StartSession();
  void NoteTrouble();
  void NotePublished(const std::string& bytes);
  std::string Name() const { return "host " + std::to_string(mStart); }

  World& mWorld;
  const int mStart;
  MemoryTransport mTransport;
  Model mModel;
  Node mNode;
  Ms mClock{0};  // How far its own clock is ahead.
  Ms mNextTick{0};
  Ms mStoppedUntil{0};
  Ms mTroubledAt{0};  // Its way to the log, or the log, was not in order for the last time.
  Ms mKeptAt{-1'000'000};
  int mNumber = 0;
  std::size_t mOtherLogs = 0;
  bool mHasBeginning = false;  // Its dialogs are those of the site, behind some entry.
  int mBurst = 0;
  std::map<Ticket, Own> mOwn;          // Whose outcome is not known.
  std::map<Sequence, bool> mSessions;  // Whether a station of this host uses it.
};

}  // namespace dorn::site::simulation

#endif  // TESTS_SITE_SIMULATION_SIMHOST_H_
