// What a node is made of; see Node.h for what it does.
//
// Whatever comes from the log goes to the state first, which says whether it counts; what counts is
// passed on to the parts below. What this host wants of the log is published by Tick() alone.
//
// What holds between any two calls:
// - While it follows, the state and the dialogs are those behind the entry LastApplied().
// - It serves when it follows, has caught up, the site has begun, and no snapshot is to be loaded.
// - The listener was told of each session that the state has, and of no other, except between
//   loading a snapshot and catching up: what ended meanwhile is told then, and only if the entries
//   behind the snapshot have not started it again.
#ifndef SITE_CORE_NODEBODY_H_
#define SITE_CORE_NODEBODY_H_

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "site/core/Lease.h"
#include "site/core/Node.h"
#include "site/core/Sender.h"
#include "site/core/SessionClock.h"
#include "site/core/Snapshots.h"
#include "site/core/State.h"

namespace dorn::site {

class Node::Body {
 public:
  Body(const OriginId& origin, Transport& transport, SharedState& shared, NodeListener& listener,
       const Rules& rules);

  void Tick(Ms now);
  std::optional<Ticket> HandIn(Item item);
  std::optional<Ticket> Propose(Change change);
  void ExtendSession(Sequence session);
  void Flush() { mSender.Flush(mNow); }

  const State& GetState() const { return mState; }
  bool IsServing() const;
  bool IsKeeper() const { return IsServing() && MayKeep() && mLease.IsSure(mNow); }
  std::size_t Waiting() const { return mSender.Waiting(); }
  const Counters& Count();
  Sequence LastApplied() const { return mIsFollowing ? mLast : 0; }
  std::optional<Ms> SinceAnswer() const;

  void OnOpened(const std::optional<NewestManifest>& newest);
  void OnOtherLog(const std::optional<NewestManifest>& newest);
  void OnHole(Sequence next);
  void OnEntry(Sequence sequence, std::string_view bytes);
  void OnCaughtUp();
  void OnAnswered();
  void OnStored(Sequence mark, bool isStored) { mSnapshots.OnStored(mark, isStored); }
  void OnNoSnapshots();
  void OnFetched(Sequence mark, const std::optional<std::string>& bytes);

 private:
  // A snapshot that is to be loaded.
  struct Wanted {
    Manifest manifest;
    std::optional<Ms> askAgainAt;  // While nothing is on its way.
    int missing = 0;               // So often a piece was not there.
  };

  bool IsCurrent() const { return mIsFollowing && mIsCaughtUp && !mWanted && !mHasStopped; }
  bool MayKeep() const { return IsCurrent() && mShared.IsWhole(); }
  std::optional<Manifest> ManifestIn(const NewestManifest& newest);
  void Follow(Sequence last);
  void Watch();
  void TellUnopened();
  void Announce();
  void TellOutcomes();
  void DoKeepersWork();

  void Carry(Sequence sequence, const Batch& batch, const Verdict& verdict);
  void Carry(Sequence sequence, const NewGeneration& next, const Verdict& verdict);
  void Carry(Sequence sequence, const Take& take, const Verdict& verdict);
  void Carry(Sequence sequence, const Renew& renew, const Verdict& verdict);
  void Carry(Sequence sequence, const Mark& mark, const Verdict& verdict);
  void Carry(Sequence sequence, const Manifest& manifest, const Verdict& verdict);
  void Carry(Sequence sequence, const SessionEnd& end, const Verdict& verdict);
  void CarryItem(Sequence sequence, const Change& change, std::optional<Ticket> mine);
  void CarryItem(Sequence sequence, const SessionStart& start, std::optional<Ticket> mine);
  void CarryItem(Sequence sequence, const SessionExtend& extend, std::optional<Ticket> mine);

  void Compare(Sequence sequence, const Manifest& manifest, bool isFirst);
  static bool IsPossible(Sequence sequence, const Manifest& manifest);
  bool IsOfUse(const Manifest& manifest) const;
  void Want(Sequence sequence, const Manifest& manifest);
  bool Load(const Manifest& manifest, std::string_view bytes);
  bool IsLoadable(std::string_view bytes);
  void SettleOwn();
  void TellSession(Sequence session, const SessionStart& start, std::optional<Ticket> mine);
  void TellEnd(Sequence session);
  void TellSessions();
  void Refuse(Ticket ticket);

  const OriginId mOrigin;
  Transport& mTransport;
  SharedState& mShared;
  NodeListener& mListener;
  const Rules mRules;

  State mState;
  Sender mSender;
  Lease mLease;
  SessionClock mClock;
  Snapshots mSnapshots;
  Counters mCounters;

  Ms mNow{0};
  std::optional<Ms> mBegun;     // The first Tick().
  std::optional<Ms> mAnswered;  // The last time the log answered.
  Sequence mLast = 0;           // The last entry that was delivered, or that a snapshot stands for.
  bool mIsFollowing = false;    // Entries are applied.
  bool mIsWatching = false;     // Only manifests are looked at.
  bool mIsCaughtUp = false;
  bool mIsOpened = false;
  Sequence mForgottenBehind = 0;  // From this entry or an earlier one the log leads nowhere.
  bool mHasStopped = false;       // It differed twice within a minute.
  std::optional<Wanted> mWanted;
  std::optional<Ms> mReloadedAt;             // Because it differed.
  std::map<Sequence, Digest> mToldSessions;  // With their identifiers.
  bool mToldServing = false;
  bool mToldAway = false;
  bool mToldUnopened = false;
  bool mToldResources = false;
  Sequence mToldDamaged = 0;  // The snapshot that was told last.
  bool mToldUnloadable = false;
  bool mToldNoSnapshots = false;
  std::optional<Ms> mAnnouncedAt;  // The newest snapshot.
};

}  // namespace dorn::site

#endif  // SITE_CORE_NODEBODY_H_
