#include "site/core/State.h"

#include <utility>
#include <variant>

namespace dorn::site {

Verdict State::Apply(Sequence sequence, const Entry& entry) {
  return std::visit([&](const auto& kind) { return Count(sequence, kind); }, entry);
}

State::Origin State::FindOrigin(const OriginId& origin) const {
  const auto found = mOrigins.find(origin);
  return found == mOrigins.end() ? Origin() : found->second;
}

Sequence State::FindSession(const Digest& sid) const {
  const auto found = mSessionsBySid.find(sid);
  return found == mSessionsBySid.end() ? 0 : found->second;
}

const State::KnownSession* State::Session(Sequence session) const {
  const auto found = mSessions.find(session);
  return found == mSessions.end() ? nullptr : &found->second;
}

Verdict State::Count(Sequence sequence, const Batch& batch) {
  Verdict verdict;
  const Origin known = FindOrigin(batch.origin);
  if (!HasBegun() || (mRules.generation && batch.generation != known.generation)) return verdict;
  const std::uint64_t next = known.last + 1;
  verdict.isGap = mRules.withoutHoles && batch.first > next;
  if (verdict.isGap) return verdict;
  if (mRules.eachOnce && batch.first < next) verdict.firstNew = next - batch.first;
  if (verdict.firstNew >= batch.items.size()) return verdict;

  verdict.counts = true;
  verdict.applied.resize(batch.items.size());
  for (std::size_t i = verdict.firstNew; i < batch.items.size(); ++i) {
    verdict.applied[i] = std::visit(
        [&](const auto& item) { return CountItem(sequence, item, verdict); }, batch.items[i]);
  }
  // Also what was fenced has had its turn: the items behind it must not wait for it.
  Use(batch.origin, sequence).last = batch.first + batch.items.size() - 1;
  return verdict;
}

bool State::CountItem(Sequence /*sequence*/, const Change& change, Verdict& /*verdict*/) {
  return change.token == 0 || !IsFenced(change.token);
}

bool State::CountItem(Sequence sequence, const SessionStart& start, Verdict& verdict) {
  // A session is named by its entry: there is but one in each.
  if (mSessions.count(sequence) != 0) return false;
  verdict.replaced = FindSession(start.sid);
  EndSession(verdict.replaced);
  mSessions[sequence] = {start, sequence};
  mSessionsBySid[start.sid] = sequence;
  return true;
}

bool State::CountItem(Sequence sequence, const SessionExtend& extend, Verdict& /*verdict*/) {
  const auto found = mSessions.find(extend.session);
  if (found == mSessions.end()) return false;
  found->second.extended = sequence;
  return true;
}

Verdict State::Count(Sequence sequence, const NewGeneration& next) {
  Verdict verdict;
  verdict.counts = next.generation > FindOrigin(next.origin).generation;
  if (!verdict.counts) return verdict;
  Origin& origin = Use(next.origin, sequence);
  origin.generation = next.generation;
  origin.before = std::exchange(origin.last, 0);
  return verdict;
}

Verdict State::Count(Sequence sequence, const Take& take) {
  Verdict verdict;
  verdict.counts = take.expected == mToken;
  if (!verdict.counts) return verdict;
  mKeeper = take.origin;
  mToken = sequence;
  mRenewals = 0;
  mMarks = 0;
  return verdict;
}

Verdict State::Count(Sequence /*sequence*/, const Renew& renew) {
  Verdict verdict;
  verdict.counts = !IsFenced(renew.token) && renew.count > mRenewals;
  if (verdict.counts) mRenewals = renew.count;
  return verdict;
}

Verdict State::Count(Sequence /*sequence*/, const Mark& mark) {
  Verdict verdict;
  verdict.counts = !IsFenced(mark.token) && mark.count > mMarks;
  if (verdict.counts) mMarks = mark.count;
  return verdict;
}

Verdict State::Count(Sequence sequence, const Manifest& manifest) {
  Verdict verdict;
  verdict.counts =
      !IsFenced(manifest.token) && manifest.mark > mNewestMark && manifest.mark < sequence;
  if (verdict.counts) mOlderMark = std::exchange(mNewestMark, manifest.mark);
  return verdict;
}

Verdict State::Count(Sequence /*sequence*/, const SessionEnd& end) {
  Verdict verdict;
  const KnownSession* session = Session(end.session);
  if (session == nullptr || IsFenced(end.token)) return verdict;
  verdict.counts = !mRules.endsTheIdleOnly || session->extended == end.extended;
  if (verdict.counts) EndSession(end.session);
  return verdict;
}

State::Origin& State::Use(const OriginId& id, Sequence sequence) {
  Origin& origin = mOrigins[id];
  mOriginsByUse.erase(origin.used);
  origin.used = sequence;
  mOriginsByUse[sequence] = id;
  if (mOrigins.size() > kMaxOrigins) {
    const auto oldest = mOriginsByUse.begin();
    mOrigins.erase(oldest->second);
    mOriginsByUse.erase(oldest);
  }
  return origin;
}

void State::EndSession(Sequence session) {
  const auto found = mSessions.find(session);
  if (found == mSessions.end()) return;
  mSessionsBySid.erase(found->second.start.sid);
  mSessions.erase(found);
}

void State::Save(ByteWriter& out) const {
  out.Put(mKeeper);
  out.Put(mToken);
  out.Put(mRenewals);
  out.Put(mMarks);
  out.Put(mNewestMark);
  out.Put(mOlderMark);
  out.Put(static_cast<std::uint32_t>(mOrigins.size()));
  for (const auto& [id, origin] : mOrigins) {
    out.Put(id);
    out.Put(origin.generation);
    out.Put(origin.last);
    out.Put(origin.before);
    out.Put(origin.used);
  }
  out.Put(static_cast<std::uint32_t>(mSessions.size()));
  for (const auto& [sequence, session] : mSessions) {
    out.Put(sequence);
    out.Put(session.extended);
    out.Put(session.start.sid);
    out.Put(session.start.intervalMs);
    out.Put(session.start.data);
  }
}

void State::Load(ByteReader& in) {
  *this = State(mRules);
  in.Get(mKeeper);
  in.Get(mToken);
  in.Get(mRenewals);
  in.Get(mMarks);
  in.Get(mNewestMark);
  in.Get(mOlderMark);
  constexpr std::size_t kOriginBytes = sizeof(OriginId) + 4 + 8 + 8 + 8;
  for (std::size_t left = in.Count(kOriginBytes); left > 0 && in.IsSound(); --left) {
    const auto id = in.Number<OriginId>();
    Origin& origin = mOrigins[id];
    in.Get(origin.generation);
    in.Get(origin.last);
    in.Get(origin.before);
    in.Get(origin.used);
    mOriginsByUse[origin.used] = id;
  }
  constexpr std::size_t kLeastSessionBytes = 8 + 8 + sizeof(Digest) + 4 + 4;
  for (std::size_t left = in.Count(kLeastSessionBytes); left > 0 && in.IsSound(); --left) {
    const auto sequence = in.Number<Sequence>();
    KnownSession& session = mSessions[sequence];
    in.Get(session.extended);
    in.Get(session.start.sid);
    in.Get(session.start.intervalMs);
    in.Get(session.start.data);
    mSessionsBySid[session.start.sid] = sequence;
  }
  // Broken bytes, or two of one name.
  if (mOriginsByUse.size() != mOrigins.size() || mSessionsBySid.size() != mSessions.size()) {
    in.Fail();
  }
}

}  // namespace dorn::site
