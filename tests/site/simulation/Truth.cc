#include "Truth.h"

#include <algorithm>
#include <iterator>
#include <variant>

namespace dorn::site::simulation {
namespace {

std::string Name(const Handed& what) {
  return "change " + std::to_string(what.number) + " of start " + std::to_string(what.start);
}

}  // namespace

void Truth::OnHandedIn(const Handed& what, bool isProposal) { mHandedIn[what] = isProposal; }

void Truth::OnAccepted(const Handed& what) {
  if (!mAccepted.insert(what).second) Fail(Name(what) + " was accepted twice");
  if (mRefused.count(what) != 0) Fail(Name(what) + " was accepted after it was refused");
}

void Truth::OnRefused(const Handed& what) {
  if (!mRefused.insert(what).second) Fail(Name(what) + " was refused twice");
  if (IsApplied(what)) Fail(Name(what) + " was refused after it was applied");
}

void Truth::OnApplied(std::size_t place, Sequence sequence, const Handed& what, Sequence token) {
  OnBegun(place);
  if (place < *mBegin) return Fail(Name(what) + " was applied by a host without the beginning");
  if (place - *mBegin < mApplied.size()) {
    const Application& first = mApplied[place - *mBegin];
    if (first.sequence != sequence || first.what < what || what < first.what) {
      Fail(Name(what) + " was applied by one host where another applied " + Name(first.what));
    }
    return;
  }
  if (!mApplied.empty() && mApplied.back().sequence > sequence) {
    Fail(Name(what) + " was applied by one host and passed over by another");
  }
  if (mHandedIn.count(what) == 0) Fail(Name(what) + " was never handed in");
  if (mRefused.count(what) != 0) Fail(Name(what) + " was applied after it was refused");
  if (!mPlaces.emplace(what, place).second) Fail(Name(what) + " was applied twice");
  // A former keeper's proposals must not come behind those of the present one.
  if (token != 0 && token < mLastToken) Fail(Name(what) + " is a former keeper's");
  mLastToken = std::max(mLastToken, token);
  mApplied.push_back({sequence, what, token});
}

void Truth::OnBegun(std::size_t applied) {
  if (mBegin) return;
  mBegin = applied;
  if (mShown.count(applied) == 0) Fail("an empty log began with what no host has shown");
}

void Truth::OnOtherLog(const SharedLog& log, std::set<std::size_t> show) {
  const Sequence last = log.Last();
  for (; !mApplied.empty() && mApplied.back().sequence > last; mApplied.pop_back()) {
    mLost.insert(mApplied.back().what);
    mPlaces.erase(mApplied.back().what);
  }
  mLastToken = 0;
  for (const Application& each : mApplied) mLastToken = std::max(mLastToken, each.token);
  if (!log.NewestManifest()) {
    mBegin.reset();
    mShown = std::move(show);
  }
  ForgetSessions(last);
  for (Sequence sequence = 1; sequence <= last; ++sequence) {
    OnEntered(sequence, *DecodeEntry(log.At(sequence).bytes), log.At(sequence).at);
  }
}

void Truth::ForgetSessions(Sequence last) {
  mOrders.clear();
  mExtended.clear();
  mExtendedAtEnd.clear();
  mIntervals.erase(mIntervals.upper_bound(last), mIntervals.end());
  const auto erase = [last](auto& map, const auto& isGone) {
    for (auto each = map.begin(); each != map.end();) {
      each = isGone(*each, last) ? map.erase(each) : std::next(each);
    }
  };
  erase(mEnded, [](const auto& each, Sequence end) { return each.second > end; });
  erase(mEndsPublished, [](const auto& each, Sequence end) {
    return std::max(each.first.first, each.first.second) > end;
  });
}

std::size_t Truth::AppliedUpTo(Sequence sequence) const {
  const auto behind = std::upper_bound(
      mApplied.begin(), mApplied.end(), sequence,
      [](Sequence value, const Application& application) { return value < application.sequence; });
  return mBegin.value_or(0) + static_cast<std::size_t>(behind - mApplied.begin());
}

void Truth::CheckOrders() {
  std::map<int, int> last;
  for (const Application& application : mApplied) {
    int& number = last[application.what.start];
    if (application.what.number < number) Fail(Name(application.what) + " was applied too late");
    number = application.what.number;
  }
  for (const auto& [what, isProposal] : mHandedIn) {
    const bool isSettled = IsApplied(what) || mRefused.count(what) != 0 || mLost.count(what) != 0;
    // What a host proposed and lost the lease by may be dropped while it is dead.
    const bool isLeftOut = !isSettled && !isProposal && what.number < last[what.start];
    if (isLeftOut) Fail(Name(what) + " is missing between others of the same start");
  }
}

void Truth::OnSession(Sequence session, std::uint32_t intervalMs) {
  mIntervals.emplace(session, intervalMs);
}

void Truth::OnEndPublished(const SessionEnd& end, Ms now) {
  mEndsPublished.emplace(std::make_pair(end.session, end.extended), now);
}

void Truth::OnEntered(Sequence sequence, const Entry& entry, Ms now) {
  if (const auto* batch = std::get_if<Batch>(&entry)) {
    NoteItems(sequence, *batch, now);
  } else if (const auto* next = std::get_if<NewGeneration>(&entry)) {
    Order& order = mOrders[next->origin];
    if (next->generation > order.generation) order = {next->generation, 0};
  } else if (const auto* end = std::get_if<SessionEnd>(&entry)) {
    mExtendedAtEnd[sequence] = mExtended[end->session];
  }
}

void Truth::NoteItems(Sequence sequence, const Batch& batch, Ms now) {
  Order& order = mOrders[batch.origin];
  if (batch.generation != order.generation) return;
  std::uint64_t number = batch.first;
  for (const Item& item : batch.items) {
    if (number == order.last + 1) {
      ++order.last;
      if (std::holds_alternative<SessionStart>(item)) mExtended[sequence] = now;
      const auto* extend = std::get_if<SessionExtend>(&item);
      if (extend != nullptr) mExtended[extend->session] = now;
    }
    ++number;
  }
}

void Truth::OnEnded(Sequence sequence, const SessionEnd& end) {
  if (!mEnded.emplace(end.session, sequence).second) return;
  const Ms idle = mEndsPublished[{end.session, end.extended}] - mExtendedAtEnd[sequence];
  if (4 * idle < 5 * Ms(mIntervals[end.session])) {
    Fail("session " + std::to_string(end.session) + " was ended " + std::to_string(idle.count()) +
         " ms after it was used");
  }
}

}  // namespace dorn::site::simulation
