#include "tools/dorn-station/scene/Player.h"

#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <utility>

#include "tools/dorn-station/scene/Words.h"

namespace dorn::scene {

namespace {

using dorn::tools::SteadyMs;

constexpr Ms kHostLimit = 10'000;  // To listen, and to end.
constexpr Ms kLook = 10;           // Between two looks at what no descriptor tells.
constexpr std::size_t kShownMessages = 10;
constexpr std::size_t kShownLines = 15;

}  // namespace

Player::Player(PlayOptions options) : mOptions(std::move(options)), mHost(mOptions.mStart) {}

Result Player::Play(const Scene& scene) {
  Result result;
  mBegan = SteadyMs();
  if (auto failure = Begin(); failure) Describe(nullptr, *failure, result);
  for (const Step& step : scene.mSteps) {
    if (result.mFailure) break;
    if (mOptions.mBefore) mOptions.mBefore(step);
    if (auto failure = Do(step); failure) {
      Describe(&step, *failure, result);
    } else {
      ++result.mSteps;
    }
  }
  if (auto failure = End(); failure && !result.mFailure) Describe(nullptr, *failure, result);
  result.mTook = SteadyMs() - mBegan;
  result.mNoHost = mNoHost;
  return result;
}

Result Player::Start() {
  Result result;
  mBegan = SteadyMs();
  if (auto failure = Begin(); failure) Describe(nullptr, *failure, result);
  result.mNoHost = mNoHost;
  return result;
}

Result Player::PlayStep(const Step& step) {
  Result result;
  if (auto failure = Do(step); failure) Describe(&step, *failure, result);
  return result;
}

Result Player::Finish() {
  Result result;
  if (auto failure = End(); failure) Describe(nullptr, *failure, result);
  return result;
}

Player::Verdict Player::Begin() {
  if (!mHost.IsManaged()) return std::nullopt;
  Verdict failure = StartHost(static_cast<Ms>(kHostLimit * mOptions.mPatience));
  mNoHost = failure.has_value();
  return failure;
}

// A host that cannot end in order has a fault, even where all else was right.
Player::Verdict Player::End() {
  const bool hasDied = HasDied();
  mActors.clear();
  if (!mHost.IsManaged() || mNoHost || !mShouldRun) return std::nullopt;
  if (hasDied) return Failure{"a host that runs until the end", "it " + mHost.Ending()};
  return StopHost(static_cast<Ms>(kHostLimit * mOptions.mPatience));
}

void Player::Describe(const Step* step, const Failure& failure, Result& result) const {
  result.mFailure = failure;
  result.mHostOutput = mHost.LastLines(kShownLines);
  if (step == nullptr) return;
  result.mLine = step->mLine;
  result.mSource = step->mSource;
  const auto actor = mActors.find(step->mWho);
  if (actor == mActors.end()) return;
  result.mWho = step->mWho;
  result.mMessages = actor->second->Log().Last(kShownMessages);
}

Actor& Player::ActorOf(const std::string& name) {
  auto& actor = mActors[name];
  if (actor == nullptr) {
    actor = std::make_unique<Actor>(mOptions.mActor, mBegan);
    actor->SetAddress(mHost.IsManaged() ? mHost.Address().value_or(mOptions.mAt) : mOptions.mAt);
  }
  return *actor;
}

// Waits until something happens, at most `limit`, and lets everybody deal with it.
void Player::RunAll(Ms limit) {
  std::vector<pollfd> watched;
  int timeout = static_cast<int>(std::clamp<Ms>(limit, 0, mHost.IsManaged() ? kLook : 1000));
  for (const auto& [name, actor] : mActors) {
    watched.push_back(actor->Watched());
    const int wish = actor->PollTimeout();
    if (wish >= 0) timeout = std::min(timeout, wish);
  }
  watched.push_back({mHost.Descriptor(), POLLIN, 0});
  if (poll(watched.data(), watched.size(), timeout) < 0) {
    for (pollfd& each : watched) each.revents = 0;
  }
  std::size_t at = 0;
  for (const auto& [name, actor] : mActors) actor->Run(watched[at++].revents);
  if (mHost.IsManaged()) mHost.Run();
}

bool Player::WaitUntil(Ms limit, const std::function<bool()>& holds) {
  const Ms deadline = SteadyMs() + limit;
  while (!holds()) {
    const Ms left = deadline - SteadyMs();
    if (HasDied()) return HoldsAfterDeath(holds);
    if (left <= 0) return false;
    RunAll(left);
  }
  return true;
}

// What the host sent before it died is still on its way.
bool Player::HoldsAfterDeath(const std::function<bool()>& holds) {
  constexpr int kRounds = 64;
  for (int i = 0; i < kRounds && !holds(); ++i) RunAll(0);
  return holds();
}

Ms Player::Limit(const Step& step) const {
  const Ms limit = step.mWithin == kDefaultWithin ? mOptions.mTimeout : step.mWithin;
  return static_cast<Ms>(std::ceil(static_cast<double>(limit) * mOptions.mPatience));
}

// What went wrong, unless it is the host that went.
Failure Player::Missed(const std::string& expected, const std::string& got) const {
  return {expected, HasDied() ? "the host " + mHost.Ending() : got};
}

Player::Verdict Player::SyncAll() {
  for (const auto& [name, actor] : mActors) static_cast<void>(actor->StartSync());
  const auto isSynced = [](const auto& each) { return each.second->IsSynced(); };
  const Ms limit = static_cast<Ms>(static_cast<double>(mOptions.mTimeout) * mOptions.mPatience);
  if (WaitUntil(limit, [&] { return std::all_of(mActors.begin(), mActors.end(), isSynced); })) {
    return std::nullopt;
  }
  return Missed("a host that answers", "no answer to a fence within " + WrittenDuration(limit));
}

Player::Verdict Player::Sync(Actor& actor) {
  if (!actor.StartSync()) return std::nullopt;
  const Ms limit = static_cast<Ms>(static_cast<double>(mOptions.mTimeout) * mOptions.mPatience);
  if (WaitUntil(limit, [&] { return actor.IsSynced(); })) return std::nullopt;
  return Missed("a host that answers", "no answer to a fence within " + WrittenDuration(limit));
}

Player::Verdict Player::Do(const Step& step) {
  if (IsActing(step.mVerb)) {
    if (auto failure = SyncAll(); failure) return failure;
    for (const auto& [name, actor] : mActors) actor->Mark();
    mHostMark = mHost.Output().size();
  }
  if (step.mVerb == Verb::kWait) {
    static_cast<void>(WaitUntil(step.mWithin, [] { return false; }));
    if (!HasDied()) return std::nullopt;
    return Missed("a host that runs", "");
  }
  if (step.mWho == "host") return DoHosts(step);
  return DoStations(step, ActorOf(step.mWho));
}

Player::Verdict Player::DoHosts(const Step& step) {
  const Ms limit = step.mWithin == kDefaultWithin ? static_cast<Ms>(kHostLimit * mOptions.mPatience)
                                                  : Limit(step);
  switch (step.mVerb) {
    case Verb::kHostRestart:
      if (auto failure = mShouldRun ? StopHost(limit) : std::nullopt; failure) return failure;
      return StartHost(limit);
    case Verb::kHostStart:
      return StartHost(limit);
    case Verb::kHostStop:
      return StopHost(limit);
    case Verb::kHostKill:
      mShouldRun = false;
      mHost.KillNow();
      RunAll(0);
      return std::nullopt;
    case Verb::kHostLine:
      return ExpectLine(step);
    case Verb::kHostNoLine:
      return ExpectNoLine(step);
    default:
      return ExpectExit(step);
  }
}

Player::Verdict Player::StartHost(Ms limit) {
  std::string error;
  if (!mHost.Start(error)) return Failure{"a host that starts", error};
  mShouldRun = true;
  const bool listens = WaitUntil(limit, [this] { return mHost.Address().has_value(); });
  if (!listens) {
    const Failure failure = Missed("a host that listens and tells so by DORN_STATION_FILE",
                                   "it runs, and told no address within " + WrittenDuration(limit));
    mShouldRun = false;
    mHost.KillNow();
    return failure;
  }
  for (const auto& [name, actor] : mActors) actor->SetAddress(*mHost.Address());
  return std::nullopt;
}

Player::Verdict Player::StopHost(Ms limit) {
  if (HasDied()) return Missed("a host that runs", "");
  mShouldRun = false;
  mHost.Signal(SIGTERM);
  if (!WaitUntil(limit, [this] { return !mHost.IsRunning(); })) {
    mHost.KillNow();
    return Failure{"a host that ends when it is asked to",
                   "it still ran " + WrittenDuration(limit) + " after SIGTERM, and was killed"};
  }
  if (mHost.EndedWell()) return std::nullopt;
  return Failure{"a host that ends in order", "it " + mHost.Ending()};
}

Player::Verdict Player::ExpectLine(const Step& step) {
  const auto isThere = [&] { return mHost.TakeLine(step.mText); };
  if (WaitUntil(Limit(step), isThere) || isThere()) return std::nullopt;
  return Missed("a line of the host that contains " + WrittenWord(step.mText),
                "none within " + WrittenDuration(Limit(step)) + " behind the line found before");
}

Player::Verdict Player::ExpectNoLine(const Step& step) {
  const auto found = [&] { return mHost.FindLine(step.mText, mHostMark); };
  static_cast<void>(WaitUntil(step.mWithin, [&] { return found().has_value(); }));
  const auto line = found();
  if (!line && !HasDied()) return std::nullopt;
  return Missed("no line of the host that contains " + WrittenWord(step.mText), line.value_or(""));
}

Player::Verdict Player::ExpectExit(const Step& step) {
  mShouldRun = false;
  const bool ended = WaitUntil(Limit(step), [this] { return !mHost.IsRunning(); });
  const auto status = mHost.Status();
  const bool isRight =
      ended && status && WIFEXITED(*status) && std::to_string(WEXITSTATUS(*status)) == step.mValue;
  if (isRight) return std::nullopt;
  mShouldRun = !ended;
  return Failure{
      "the host ends with exit code " + step.mValue,
      ended ? "it " + mHost.Ending() : "it still runs after " + WrittenDuration(Limit(step))};
}

Player::Verdict Player::DoStations(const Step& step, Actor& actor) {
  switch (step.mVerb) {
    case Verb::kConnect:
      return Connect(step, actor);
    case Verb::kLogin:
    case Verb::kLoginRefused:
      return LogIn(step, actor);
    case Verb::kReturn:
    case Verb::kReturnRefused:
      return Return(step, actor);
    case Verb::kEnter:
    case Verb::kEnterNothing:
      return Enter(step, actor);
    case Verb::kClick:
      return Click(step, actor);
    case Verb::kSet:
      return Set(step, actor);
    case Verb::kAck:
      return Acknowledge(step, actor);
    case Verb::kSend:
      return Send(step, actor);
    case Verb::kLeave:
      actor.Leave();
      return std::nullopt;
    case Verb::kClose:
      actor.Close();
      return std::nullopt;
    case Verb::kGet:
    case Verb::kGetIs:
    case Verb::kGetContains:
    case Verb::kGetMissing:
      return Get(step, actor);
    case Verb::kValue:
      return ExpectValue(step, actor);
    case Verb::kThere:
    case Verb::kGone:
      return ExpectPresence(step, actor);
    case Verb::kDialog:
      return ExpectDialog(step, actor);
    case Verb::kCommand:
    case Verb::kMessage:
      return ExpectCommand(step, actor);
    case Verb::kNoUpdate:
    case Verb::kNoCommand:
    case Verb::kNoMessage:
      return ExpectNothing(step, actor);
    case Verb::kClosed:
      return ExpectClosed(step, actor);
    default:
      return ExpectSessionEnd(step, actor);
  }
}

}  // namespace dorn::scene
