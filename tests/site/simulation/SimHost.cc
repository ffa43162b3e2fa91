#include "SimHost.h"

#include <cstdio>
#include <cstdlib>
#include <utility>
#include <variant>

namespace dorn::site::simulation {
namespace {

using namespace std::chrono_literals;

OriginId NewOrigin(Random& random) {
  OriginId origin{};
  for (unsigned char& byte : origin) byte = static_cast<unsigned char>(random.Next());
  return origin;
}

Digest NewSid(Random& random) {
  Digest sid{};
  for (unsigned char& byte : sid) byte = static_cast<unsigned char>(random.Next());
  return sid;
}

// A change says what it is: start, number.
std::string CommandOf(const Handed& what) {
  return std::to_string(what.start) + " " + std::to_string(what.number);
}

Handed HandedOf(const std::string& command) {
  char* end = nullptr;
  Handed what;
  what.start = static_cast<int>(std::strtol(command.c_str(), &end, 10));
  what.number = static_cast<int>(std::strtol(end, nullptr, 10));
  return what;
}

}  // namespace

void World::Trace(const std::string& what) const {
  if (isTraced) std::printf("%9.3f  %s\n", static_cast<double>(now.count()) / 1000, what.c_str());
}

SimHost::SimHost(World& world, int start)
    : mWorld(world),
      mStart(start),
      mTransport(world.log, world.random),
      mModel(world.random.Next()),
      mNode(NewOrigin(world.random), mTransport, *this, *this, world.rules),
      mClock(world.random.Ms(0, 1'000'000)),
      mNextTick(world.now + world.random.Ms(0, 99)),
      mTroubledAt(world.now) {
  mTransport.tellsOtherLog = world.tellsOtherLog;
  mTransport.takesForeignManifests = world.takesForeignManifests;
  mTransport.onPublish = [this](const std::string& bytes) { NotePublished(bytes); };
}

void SimHost::NotePublished(const std::string& bytes) {
  const auto entry = DecodeEntry(bytes);
  if (const auto* end = std::get_if<SessionEnd>(&*entry)) {
    mWorld.Trace(Name() + " ends session " + std::to_string(end->session) + " extended by " +
                 std::to_string(end->extended));
    mWorld.truth.OnEndPublished(*end, mWorld.now);
  } else if (const auto* manifest = std::get_if<Manifest>(&*entry)) {
    mWorld.Trace(Name() + " announces the snapshot of " + std::to_string(manifest->mark));
    if (!std::exchange(mWorld.cutsWhoAnnounces, false)) return;
    mWorld.Trace(Name() + " is cut off");
    mTransport.Cut(mWorld.now + mWorld.random.Ms(500, 20'000));
  }
}

void SimHost::Step() {
  NoteTrouble();
  if (IsStopped()) return mTransport.Step(mWorld.now);
  mTransport.Deliver(mNode, mWorld.now);
  if (mWorld.now >= mNextTick) Tick();
}

void SimHost::NoteTrouble() {
  if (IsStopped() || mTransport.IsTroubled() || mWorld.log.IsAway()) mTroubledAt = mWorld.now;
}

void SimHost::JumpClock(Ms by) {
  mClock += by;
  mTroubledAt = mWorld.now;
  mWorld.clocksAreTrue = false;
}

void SimHost::CalmDown() {
  mStoppedUntil = std::min(mStoppedUntil, mWorld.now);
  mBurst = 0;
  mTransport.CalmDown(mWorld.now);
}

void SimHost::Tick() {
  mNextTick = mWorld.now + 100ms;
  mNode.Tick(mWorld.now + mClock);
  LiveStations();
  mNode.Flush();
  if (mNode.Waiting() > 1000) mWorld.truth.Fail(Name() + " has more than 1,000 changes waiting");
}

void SimHost::LiveStations() {
  if (mWorld.isQuiet) return;
  if (mWorld.random.Chance(mWorld.changesPerThousandTicks)) {
    for (int left = mWorld.random.Of(1, 4); left > 0; --left) HandIn(false);
  }
  for (; mBurst > 0; --mBurst) HandIn(false);
  if (mWorld.random.Chance(5)) StartSession();
  for (auto& [session, isUsed] : mSessions) {
    if (isUsed && mWorld.random.Chance(500)) mNode.ExtendSession(session);
    if (mWorld.random.Chance(10)) isUsed = !isUsed;
  }
}

bool SimHost::ChangeSomething() {
  const int number = mNumber;
  HandIn(false);
  mNode.Flush();
  return mNumber != number;
}

void SimHost::HandIn(bool isProposal) {
  const Handed what{mStart, mNumber};
  const std::string dialog = "dialog " + std::to_string(mWorld.random.Of(1, 3));
  const Change change{dialog, 0, 0, mWorld.random.Of(0, 1'000'000'000), CommandOf(what)};
  const auto ticket = isProposal ? mNode.Propose(change) : mNode.Submit(change);
  if (!ticket) return;
  ++mNumber;
  mOwn[*ticket] = {what, mWorld.now, isProposal, false};
  mWorld.truth.OnHandedIn(what, isProposal);
  if (mWorld.applyAtOnce && !isProposal) Apply(mNode.LastApplied(), change, std::nullopt);
}

void SimHost::StartSession() {
  const auto intervalMs = static_cast<std::uint32_t>(mWorld.random.Of(1, 12) * 500);
  if (const auto ticket = mNode.StartSession({NewSid(mWorld.random), intervalMs, "data"})) {
    mOwn[*ticket] = {{mStart, -1}, mWorld.now, false, true};
  }
}

void SimHost::Apply(Sequence sequence, const Change& change, std::optional<Ticket> mine) {
  const Handed what = HandedOf(change.command);
  const bool isSeenBefore = mWorld.applyAtOnce && what.start == mStart && mine;
  if (!isSeenBefore || change.token != 0) {
    // Until it has the site's beginning, it applies to its own.
    if (HasSite()) {
      mWorld.truth.OnApplied(mModel.Count(), sequence, what, change.token);
    }
    mModel.Apply(change.dialog, change.command);
  }
  if (!mine) return;
  const auto own = mOwn.extract(*mine);
  if (own.empty() || own.mapped().what.number != what.number || what.start != mStart) {
    return mWorld.truth.Fail(Name() + " was given a ticket that is not this change's");
  }
  mWorld.truth.OnAccepted(what);
}

bool SimHost::Load(std::string_view bytes) {
  const bool isLoaded = mModel.Load(bytes);
  if (isLoaded) mHasBeginning = true;
  if (isLoaded && mTransport.HasOtherLog()) mWorld.truth.OnShown(mModel.Count());
  return isLoaded;
}

void SimHost::OnServing(bool isServing) {
  if (isServing) mHasBeginning = true;
  if (isServing && mTransport.HasOtherLog()) {
    mWorld.truth.Fail(Name() + " begins to serve with what is not of this log");
  }
  mWorld.Trace(Name() + (isServing ? " serves" : " serves no longer"));
}

void SimHost::OnLogAway(bool isAway) {
  mWorld.Trace(Name() + (isAway ? " has no log" : " has the log again"));
}

void SimHost::OnUnknown(Ticket ticket) {
  if (mOwn.count(ticket) == 0) mWorld.truth.Fail(Name() + " hears of an unknown ticket");
}

void SimHost::OnRefused(Ticket ticket) {
  const auto found = mOwn.extract(ticket);
  if (found.empty()) return mWorld.truth.Fail(Name() + " is refused what it has not handed in");
  const Own& own = found.mapped();
  mWorld.Trace(Name() + " is refused change " + std::to_string(own.what.number));
  if (own.isSession) return;
  mWorld.truth.OnRefused(own.what);
  // A generation takes all with it that was handed in while the oldest waited.
  if (!own.isProposal && mTroubledAt + 13s < own.at) {
    mWorld.truth.Fail(Name() + " is refused a change while nothing was wrong");
  }
}

void SimHost::OnPassed(Ticket ticket) {
  const auto found = mOwn.extract(ticket);
  if (found.empty()) return mWorld.truth.Fail(Name() + " passed what it has not handed in");
  mWorld.Trace(Name() + " passed change " + std::to_string(found.mapped().what.number));
  if (!found.mapped().isSession) mWorld.truth.OnAccepted(found.mapped().what);
}

void SimHost::OnSessionStart(Sequence session, const SessionStart& start,
                             std::optional<Ticket> mine) {
  mWorld.truth.OnSession(session, start.intervalMs);
  if (!mSessions.emplace(session, mine.has_value()).second) {
    mWorld.truth.Fail(Name() + " hears of a session twice");
  }
  if (mine) mOwn.erase(*mine);
}

void SimHost::OnSessionEnd(Sequence session) {
  if (mSessions.erase(session) == 0) mWorld.truth.Fail(Name() + " hears of an unknown session");
  const Sequence last = mNode.LastApplied();
  if (last == 0) return;  // It was in a log that is no more.
  const auto entry = DecodeEntry(mWorld.log.At(last).bytes);
  const auto* end = std::get_if<SessionEnd>(&*entry);
  if (end == nullptr || end->session != session || !mWorld.clocksAreTrue) return;
  mWorld.truth.OnEnded(last, *end);
}

void SimHost::OnKeep() {
  if (mKeptAt < mWorld.now - 1s) mWorld.Trace(Name() + " keeps the site");
  mKeptAt = mWorld.now;
  if (!mWorld.isQuiet && mWorld.random.Chance(300)) HandIn(true);
}

void SimHost::OnDiverged(Sequence mark, bool /*mustStop*/) {
  mWorld.truth.Fail(Name() + " has another state than the keeper at " + std::to_string(mark));
}

void SimHost::OnWord(const std::string& line) {
  mWorld.Trace(Name() + ": " + line);
  if (line.find("is not the one that this host has read") == std::string::npos) return;
  ++mOtherLogs;
  mHasBeginning = false;
}

}  // namespace dorn::site::simulation
