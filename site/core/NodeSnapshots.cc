// How a node comes to the state of its site: the snapshot that it begins with, and what it does
// when its own state is another.
#include <algorithm>
#include <utility>
#include <variant>

#include "site/core/NodeBody.h"
#include "site/core/Sha256.h"

namespace dorn::site {
namespace {

constexpr Ms kReloadAtMostEach{60'000};
constexpr Ms kFetchAgainAfter{1000};
constexpr Ms kMissingAfter{2000};  // Brokers that have lost it say so again each 5 s.
constexpr int kTriesBeforeWord = 10;

}  // namespace

// Compares what the keeper's state was with what this host's was.
void Node::Body::Compare(Sequence sequence, const Manifest& manifest, bool isFirst) {
  if (mWanted) return Want(sequence, manifest);
  const auto own = mSnapshots.DigestAt(manifest.mark);
  if (own ? *own == manifest.digest : !isFirst) return;
  // Before the first manifest each host had its own beginning.
  if (isFirst) return Want(sequence, manifest);

  ++mCounters.diverged;
  mHasStopped |= mReloadedAt && mNow - *mReloadedAt < kReloadAtMostEach;
  if (!mHasStopped) {
    mReloadedAt = mNow;
    Want(sequence, manifest);
  }
  mListener.OnDiverged(manifest.mark, mHasStopped);
}

// A mark comes before its manifest. Whatever says otherwise would keep all others out.
bool Node::Body::IsPossible(Sequence sequence, const Manifest& manifest) {
  return manifest.mark != 0 && manifest.mark < sequence;
}

bool Node::Body::IsOfUse(const Manifest& manifest) const {
  return manifest.mark > mForgottenBehind;
}

// A later one is as good as an earlier one, and will stay for longer.
void Node::Body::Want(Sequence sequence, const Manifest& manifest) {
  if (!IsPossible(sequence, manifest) || !IsOfUse(manifest)) return;
  if (mWanted && manifest.mark <= mWanted->manifest.mark) return;
  mWanted = {manifest, std::nullopt, 0};
  mTransport.Fetch(manifest.mark, manifest.pieces);
}

void Node::Body::OnFetched(Sequence mark, const std::optional<std::string>& bytes) {
  if (!mWanted || mWanted->manifest.mark != mark) return;
  if (bytes && Load(mWanted->manifest, *bytes)) {
    mWanted.reset();
    ++mCounters.snapshots;
    return Follow(mark);
  }
  // A piece was missing, perhaps because later snapshots have taken its place. Their manifests are
  // in the log, but not always behind this one: it may be a doubled one of long ago.
  mWanted->askAgainAt = mNow + kFetchAgainAfter;
  if (!bytes && ++mWanted->missing == kTriesBeforeWord) {
    mListener.OnWord(
        "The newest snapshot of the site is not among those of the brokers, and is still asked "
        "for: bring it back from a back-up with the log; or stop all hosts and delete both "
        "streams, to begin anew with what the resource files say.");
  }
  if (!mIsFollowing && !mIsWatching) Watch();
}

// Somebody has deleted them. Whoever starts waits for one, however little changes meanwhile. What
// was answered before the newest one was stored may come behind its announcement.
void Node::Body::OnNoSnapshots() {
  if (mAnnouncedAt && mNow - *mAnnouncedAt < kMissingAfter) return;
  mSnapshots.OnGone();
  if (!IsKeeper() || std::exchange(mToldNoSnapshots, true)) return;
  mListener.OnWord(
      "The brokers have none of the site's snapshots any more: this host, which keeps the site, "
      "stores a new one. Until then no host can start.");
}

bool Node::Body::Load(const Manifest& manifest, std::string_view bytes) {
  if (bytes.size() != manifest.bytes || Sha256(bytes) != manifest.digest) {
    if (std::exchange(mToldDamaged, manifest.mark) != manifest.mark) {
      mListener.OnWord(
          "The site's snapshot is not what its host has stored, and is asked for again: see the "
          "brokers' disks, and who else writes to them.");
    }
    return false;
  }
  auto parts = ReadSnapshot(bytes, mRules);
  if (!parts || !mShared.Load(parts->dialogs)) {
    mListener.OnWord("A snapshot of the site cannot be read: see that all hosts have one version.");
    return false;
  }
  mState = std::move(parts->state);
  mSnapshots.Remember(manifest.mark, manifest.digest);
  if (mState.Token() > mLease.Token()) {
    mLease.OnTake(mState.Token(), mState.Keeper(), mNow);
    mClock.OnTake();
    mSnapshots.OnTake();
  }
  SettleOwn();
  for (const auto& [sequence, session] : mState.Sessions()) {
    TellSession(sequence, session.start, std::nullopt);
  }
  return true;
}

// What nobody could begin with is not to become the site's snapshot.
bool Node::Body::IsLoadable(std::string_view bytes) {
  const auto parts = ReadSnapshot(bytes, mRules);
  const bool isLoadable = parts && mShared.IsLoadable(parts->dialogs);
  if (!isLoadable && !mToldUnloadable) {
    mListener.OnWord(
        "The site's dialogs are too large for a snapshot, which is not stored: no host can start "
        "with them, and the log grows. Let them have fewer than 1,000,000 objects, 10,000,000 "
        "values and 1,024 levels.");
  }
  mToldUnloadable = !isLoadable;
  return isLoadable;
}

// What this host has handed in may have been applied in a part of the log that it has not seen.
void Node::Body::SettleOwn() {
  const State::Origin own = mState.FindOrigin(mOrigin);
  const Sender::Settled settled = mSender.Settle(own.generation, own.last, own.before, mNow);
  for (const Ticket ticket : settled.passed) mListener.OnPassed(ticket);
  for (const Ticket ticket : settled.refused) Refuse(ticket);
}

void Node::Body::TellSession(Sequence session, const SessionStart& start,
                             std::optional<Ticket> mine) {
  const auto told = mToldSessions.find(session);
  if (told != mToldSessions.end() && told->second == start.sid) return;
  TellEnd(session);  // Another one had its place, in a log that is no more.
  mToldSessions[session] = start.sid;
  mListener.OnSessionStart(session, start, mine);
}

void Node::Body::TellEnd(Sequence session) {
  mClock.OnEnd(session);
  if (mToldSessions.erase(session) != 0) mListener.OnSessionEnd(session);
}

// Ends those that have gone while this host did not read the log.
void Node::Body::TellSessions() {
  std::vector<Sequence> gone;
  for (const auto& [session, sid] : mToldSessions) {
    if (mState.Session(session) == nullptr) gone.push_back(session);
  }
  for (const Sequence session : gone) TellEnd(session);
}

}  // namespace dorn::site
