#include "site/core/NodeBody.h"

#include <algorithm>
#include <string>
#include <utility>
#include <variant>

#include "site/core/Sha256.h"

namespace dorn::site {
namespace {

constexpr Ms kOpenedWithin{10'000};

}  // namespace

Node::Body::Body(const OriginId& origin, Transport& transport, SharedState& shared,
                 NodeListener& listener, const Rules& rules)
    : mOrigin(origin),
      mTransport(transport),
      mShared(shared),
      mListener(listener),
      mRules(rules),
      mState(rules),
      mSender(origin, transport, rules),
      mLease(origin),
      mSnapshots(transport) {}

// --- the host's side ---

void Node::Body::Tick(Ms now) {
  mNow = now;
  TellUnopened();
  const bool isAway = mLease.IsAway(now);
  if (std::exchange(mToldAway, isAway) != isAway) mListener.OnLogAway(isAway);
  mSender.Tick(now);
  TellOutcomes();
  mClock.Tick(mLease.KeptAtMost(now));
  if (const auto entry = mLease.Tick(MayKeep(), now)) {
    static_cast<void>(mTransport.Publish(Encode(*entry)));  // Asked again until it comes back.
  }
  if (mLease.IsMine() && MayKeep()) DoKeepersWork();
  if (mWanted && mWanted->askAgainAt && now >= *mWanted->askAgainAt) {
    mWanted->askAgainAt.reset();
    mTransport.Fetch(mWanted->manifest.mark, mWanted->manifest.pieces);
  }
  if (IsKeeper()) mListener.OnKeep();
  mSender.Flush(now);
}

// Once: hosts that are started together with their brokers open sooner.
void Node::Body::TellUnopened() {
  if (!mBegun) mBegun = mNow;
  if (mIsOpened || mToldUnopened || mNow - *mBegun < kOpenedWithin) return;
  mToldUnopened = true;
  mListener.OnWord(
      "The site's log cannot be opened, which is tried on: see that the brokers run with JetStream, "
      "no fewer than the log has replicas, and that addresses, user and certificates are right.");
}

void Node::Body::TellOutcomes() {
  for (const Ticket ticket : mSender.TakeRefused()) Refuse(ticket);
  for (const Ticket ticket : mSender.TakeUnknown(mNow)) {
    ++mCounters.unknown;
    mListener.OnUnknown(ticket);
  }
}

// Each of these entries is published again until it, or what makes it needless, has come back. The
// log may be another one, which this host has not been told yet: only while it is sure that it
// keeps does it announce a snapshot, which might be of the former, and let the log lose its
// beginning.
void Node::Body::DoKeepersWork() {
  const bool isSure = mLease.IsSure(mNow);
  const auto entry = mSnapshots.Tick(mState, mNow);
  if (entry && (isSure || !std::holds_alternative<Manifest>(*entry))) {
    static_cast<void>(mTransport.Publish(Encode(*entry)));
  }
  for (const SessionEnd& end : mClock.Due(mState, mLease.Kept())) {
    static_cast<void>(mTransport.Publish(Encode(end)));
  }
  if (isSure) mSnapshots.Forget(mNow);
}

std::optional<Ticket> Node::Body::HandIn(Item item) {
  if (!IsServing()) return std::nullopt;
  return mSender.Add(std::move(item), mNow);
}

std::optional<Ticket> Node::Body::Propose(Change change) {
  if (!IsKeeper()) return std::nullopt;
  change.token = mLease.Token();
  return mSender.Add(std::move(change), mNow);
}

void Node::Body::ExtendSession(Sequence session) {
  const State::KnownSession* known = mState.Session(session);
  if (known == nullptr || !mClock.MayTell(session, known->start.intervalMs, mNow)) return;
  if (HandIn(SessionExtend{session})) mClock.OnTold(session, mNow);
}

bool Node::Body::IsServing() const { return IsCurrent() && mState.HasBegun(); }

std::optional<Ms> Node::Body::SinceAnswer() const {
  return mAnswered ? std::optional<Ms>(mNow - *mAnswered) : std::nullopt;
}

const Node::Counters& Node::Body::Count() {
  mCounters.sentAgain = mSender.SentAgain();
  return mCounters;
}

void Node::Body::Announce() {
  const bool isServing = IsServing();
  if (std::exchange(mToldServing, isServing) != isServing) mListener.OnServing(isServing);
}

void Node::Body::Refuse(Ticket ticket) {
  ++mCounters.refused;
  mListener.OnRefused(ticket);
}

// --- the log's side ---

void Node::Body::OnOpened(const std::optional<NewestManifest>& newest) {
  const bool isFirst = !std::exchange(mIsOpened, true);
  // Opened anew, the log has forgotten what follows here, and behind all older snapshots.
  if (mIsFollowing) mForgottenBehind = std::max(mForgottenBehind, mLast);
  if (mWanted && !IsOfUse(mWanted->manifest)) mWanted.reset();
  mIsFollowing = false;
  mIsWatching = false;
  mIsCaughtUp = false;
  Announce();
  const auto manifest = newest ? ManifestIn(*newest) : std::nullopt;
  if (manifest && IsOfUse(*manifest)) return Want(newest->sequence, *manifest);
  // What a host that has already begun has applied is not the state before the first entry.
  if (isFirst) {
    Follow(0);
  } else {
    Watch();
  }
}

// What this host knows is of entries that the log does not have, so that it knows nothing: not who
// keeps, nor what it has of its own in there. What it still waits for is fenced off, since nobody
// can tell whether some of it comes yet. The dialogs stay as they are until the newest snapshot
// comes; without one, whoever keeps first makes it of what its dialogs show.
void Node::Body::OnOtherLog(const std::optional<NewestManifest>& newest) {
  mListener.OnWord(
      "The site's log is not the one that this host has read: it was deleted, restored from an "
      "older back-up, or has lost its end. This host begins anew with what is there; changes that "
      "were accepted may be lost. See the brokers' disks and who works on their streams.");
  mState = State(mRules);
  mSender.Fence(mNow);
  mLease.ForgetLog();
  mClock = SessionClock();
  mSnapshots.ForgetLog();
  mForgottenBehind = 0;
  mLast = 0;
  mWanted.reset();
  mIsOpened = false;
  OnOpened(newest);
}

std::optional<Manifest> Node::Body::ManifestIn(const NewestManifest& newest) {
  const auto entry = DecodeEntry(newest.entry);
  const auto* manifest = entry ? std::get_if<Manifest>(&*entry) : nullptr;
  if (manifest != nullptr && IsPossible(newest.sequence, *manifest)) return *manifest;
  ++mCounters.refusedEntries;
  mListener.OnWord(
      "The newest snapshot of the site is announced in another format: see that all hosts have one "
      "version.");
  return std::nullopt;
}

void Node::Body::Follow(Sequence last) {
  mLast = last;
  mIsFollowing = true;
  mIsWatching = false;
  mIsCaughtUp = false;
  mTransport.Read(last);
  Announce();
}

void Node::Body::Watch() {
  mLast = 0;
  mIsFollowing = false;
  mIsWatching = true;
  mIsCaughtUp = false;
  mTransport.Read(0);
  Announce();
}

// All hosts that read this part from now on miss the same. Whoever has read it before will differ,
// and shows it at the next mark.
void Node::Body::OnHole(Sequence next) {
  if (next <= mLast + 1) return;
  mListener.OnWord("The brokers have lost entries " + std::to_string(mLast + 1) + " to " +
                   std::to_string(next - 1) +
                   " of the site's log: changes may be missing. See the brokers' disks, and who "
                   "deletes from the log.");
  mLast = next - 1;
}

void Node::Body::OnAnswered() {
  mAnswered = mNow;
  mLease.OnAnswered(mNow);
}

void Node::Body::OnEntry(Sequence sequence, std::string_view bytes) {
  if (sequence <= mLast) return;
  ++mCounters.entries;
  if (mIsFollowing && sequence != mLast + 1) {
    mListener.OnWord(
        "This host was away for longer than the log is kept: it waits for a snapshot.");
    mIsFollowing = false;
    mIsWatching = true;
    mIsCaughtUp = false;
  }
  mLast = sequence;
  const auto entry = DecodeEntry(bytes);
  if (!entry) {
    if (mCounters.refusedEntries++ == 0) {
      mListener.OnWord(
          "The log holds an entry that is none of this version: see who else writes into it.");
    }
  } else if (mIsFollowing) {
    const Verdict verdict = mState.Apply(sequence, *entry);
    if (!verdict.counts && !std::holds_alternative<Batch>(*entry)) ++mCounters.dropped;
    std::visit([&](const auto& kind) { Carry(sequence, kind, verdict); }, *entry);
  } else if (const auto* manifest = std::get_if<Manifest>(&*entry)) {
    Want(sequence, *manifest);
  }
  Announce();
}

void Node::Body::OnCaughtUp() {
  if (!mIsFollowing) return;
  mIsCaughtUp = true;
  TellSessions();
  Announce();
}

void Node::Body::Carry(Sequence sequence, const Batch& batch, const Verdict& verdict) {
  const bool isOwn = batch.origin == mOrigin;
  if (isOwn && verdict.isGap) mSender.SawGap(mNow);
  if (!verdict.counts) {
    mCounters.dropped += batch.items.size();
    return;
  }
  mCounters.dropped += verdict.firstNew;
  mSnapshots.OnChanged(batch.items.size() - verdict.firstNew);
  if (verdict.replaced != 0) TellEnd(verdict.replaced);
  for (std::size_t i = verdict.firstNew; i < batch.items.size(); ++i) {
    const auto mine =
        isOwn ? mSender.CameBack(batch.generation, batch.first + i, mNow) : std::nullopt;
    if (verdict.applied[i]) {
      std::visit([&](const auto& item) { CarryItem(sequence, item, mine); }, batch.items[i]);
    } else {
      ++mCounters.dropped;
      if (mine && *mine != 0) Refuse(*mine);
    }
  }
}

void Node::Body::CarryItem(Sequence sequence, const Change& change, std::optional<Ticket> mine) {
  ++mCounters.applied;
  mShared.Apply(sequence, change, mine);
}

void Node::Body::CarryItem(Sequence sequence, const SessionStart& start,
                           std::optional<Ticket> mine) {
  TellSession(sequence, start, mine);  // First: it forgets one that had this place.
  mClock.OnUsed(sequence);
}

void Node::Body::CarryItem(Sequence /*sequence*/, const SessionExtend& extend,
                           std::optional<Ticket> /*mine*/) {
  mClock.OnUsed(extend.session);
}

void Node::Body::Carry(Sequence /*sequence*/, const NewGeneration& next, const Verdict& verdict) {
  if (!verdict.counts || next.origin != mOrigin) return;
  for (const Ticket ticket : mSender.CameBack(next, mNow)) Refuse(ticket);
}

void Node::Body::Carry(Sequence sequence, const Take& take, const Verdict& verdict) {
  if (!verdict.counts) return;
  if (take.origin == mOrigin && sequence > mLease.Token()) ++mCounters.takes;
  mLease.OnTake(sequence, take.origin, mNow);
  mClock.OnTake();
  mSnapshots.OnTake();
}

void Node::Body::Carry(Sequence /*sequence*/, const Renew& renew, const Verdict& verdict) {
  if (verdict.counts) mLease.OnRenew(renew);
}

void Node::Body::Carry(Sequence sequence, const Mark& mark, const Verdict& verdict) {
  // A state that is to be replaced need not be compared.
  if (!verdict.counts || mWanted) return;
  std::string bytes = WriteSnapshot(mState, mShared.Save());
  const Digest digest = Sha256(bytes);
  mSnapshots.Remember(sequence, digest);
  mSnapshots.OnMark(mNow);
  if (!MayKeep() || !mLease.IsMine() || mark.token != mLease.Token()) return;
  if (!IsLoadable(bytes)) return;
  mSnapshots.Store(sequence, std::move(bytes), digest, mShared.Resources(), mNow);
}

void Node::Body::Carry(Sequence sequence, const Manifest& manifest, const Verdict& verdict) {
  if (!verdict.counts) return;
  const bool isFirst = mState.OlderMark() == 0;
  mSnapshots.OnManifest(mState.NewestMark(), mState.OlderMark(), mNow);
  mToldNoSnapshots = false;
  mAnnouncedAt = mNow;
  if (manifest.resources != mShared.Resources() && !std::exchange(mToldResources, true)) {
    mListener.OnWord(
        "The resource files of this host are not those of the site, whose dialogs it shows: "
        "install the same on all hosts.");
  }
  Compare(sequence, manifest, isFirst);
}

void Node::Body::Carry(Sequence /*sequence*/, const SessionEnd& end, const Verdict& verdict) {
  if (!verdict.counts) return;
  mSnapshots.OnChanged(1);
  TellEnd(end.session);
}

}  // namespace dorn::site
