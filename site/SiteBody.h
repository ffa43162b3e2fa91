// What lies behind a Site: the glue between the node, the loop, the dialogs and the stations.
// Internal: not installed. Loop thread only.
#ifndef SITE_SITEBODY_H_
#define SITE_SITEBODY_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "dorn/model/VQJsonCommand.h"
#include "site/Carrier.h"
#include "site/OwnChanges.h"
#include "site/SharedDialog.h"
#include "site/SharedTrees.h"
#include "site/Site.h"
#include "site/SiteSessions.h"
#include "site/StationErrors.h"
#include "site/Watch.h"
#include "site/core/Node.h"

class VQApplication;

namespace dorn::site {

class ChangeRound;

// Everything that reaches the node happens in this order: what has come is delivered and applied,
// the changes are sent to the stations, and then their hosts hear of it (OnApplied()).
class SiteBody final : public SharedState, public NodeListener {
 public:
  // The time that the node is told; a test brings its own.
  using Clock = std::function<Ms()>;

  SiteBody(VQApplication& app, SiteOptions options, std::unique_ptr<Carrier> carrier, Clock clock);
  ~SiteBody() override;

  SiteBody(const SiteBody&) = delete;
  SiteBody& operator=(const SiteBody&) = delete;

  // The one that exists; null: there is none.
  static SiteBody* Current();

  bool Start();
  SiteStatus Status() const;
  SiteSessions& Sessions() { return mSessions; }
  bool IsStarted() const { return mNode != nullptr; }

  // Called twenty times a second.
  void Tick();

  // For the dialogs.
  void Submit(SharedDialog& dialog, VQClientSocket& client, VQJsonCommand& command);
  bool Propose(SharedDialog& dialog, const VQJsonCommand& command);
  // As the function of that name in Site.h.
  bool CreateSession(const KZString& sid, int ms, std::string_view data);
  // Around everything that shows a station the whole tree.
  void BeforeSnapshot(SharedDialog& dialog);
  void AfterSnapshot(SharedDialog& dialog, VQClientSocket& client);
  void Forget(SharedDialog& dialog);

  // SharedState
  void Apply(Sequence sequence, const site::Change& change, std::optional<Ticket> mine) override;
  std::string Save() override;
  bool Load(std::string_view bytes) override;
  bool IsWhole() const override { return !mHasMissed && !mTrees.HasOthers(); }
  bool IsLoadable(std::string_view bytes) override { return SharedTrees::IsLoadable(bytes); }
  Digest Resources() override { return mResources; }

  // NodeListener
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
  // A change that OnApplied() is still to be called with.
  struct Applied {
    OwnChange own;
    std::unique_ptr<VQJsonCommand> command;
    SharedDialog::Change told;
  };

  bool MakeDialogs();
  bool WatchDescriptors();
  void Work();
  void AskForWork();
  void Miss(const std::string& dialog);
  void TellInapplicable(const std::string& dialog, const char* why);
  void SendAll();
  void SendChanges(SharedDialog& dialog);
  void TellOrigins();
  void TellOrigin(Applied& applied);
  void Refuse(const OwnChange& own);
  void TellTreesWord(const OwnChange& own, const char* error);
  void TellState(const SharedDialog* only, VQClientSocket* client);
  void TakeBackErrors(const OwnChange& own);
  void ShowWholeTree(SharedDialog& dialog, bool isSameShape);
  void SetAccepting(bool isAccepting);
  VQClientSocket* StationOf(const OwnChange& own);
  SharedDialog* Find(const std::string& name) const;

  VQApplication& mApp;
  SiteOptions mOptions;
  std::unique_ptr<Carrier> mCarrier;
  Clock mClock;
  std::map<std::string, SharedDialog*> mDialogs;  // The application's list owns them.
  SharedTrees mTrees;
  Digest mResources{};
  std::unique_ptr<Node> mNode;
  SiteSessions mSessions;
  OwnChanges mOwn;
  StationErrors mErrors;

  std::set<std::string> mChanged;       // Dialogs with something to send.
  std::set<std::string> mInapplicable;  // Whose changes cannot be applied here: told once.
  bool mHasMissed = false;  // A change of a dialog that is not here, since the last snapshot.
  std::vector<Applied> mApplied;
  bool mIsServing = false;
  bool mIsLogAway = false;
  std::optional<Ms> mAwaySince;
  bool mIsAccepting = true;
  bool mIsStopped = false;  // Differed too often: nobody is let in any more.
  std::uint64_t mUnequal = 0;
  Ms mLastUse{0};

  int mTimer = -1;
  int mEvent = -1;
  std::vector<std::unique_ptr<Watch>> mWatches;
};

}  // namespace dorn::site

#endif  // SITE_SITEBODY_H_
