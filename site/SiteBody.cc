#include "site/SiteBody.h"

#include <sys/eventfd.h>
#include <sys/random.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "dorn/server/VQApplication.h"
#include "site/Connections.h"
#include "site/core/Sha256.h"

namespace dorn::site {

namespace {

// How often the node is told the time.
constexpr long kTickNs = 50'000'000;

// How often it is looked which sessions are in use.
constexpr Ms kUseEvery{1000};

// For how long the log may be away until nobody new is let in.
constexpr Ms kAwayLimit{15000};

SiteBody* gCurrent = nullptr;

OriginId RandomOrigin() {
  OriginId origin{};
  // Without randomness two hosts might take each other's changes for their own.
  if (getrandom(origin.data(), origin.size(), 0) != static_cast<ssize_t>(origin.size())) {
    std::fputs("dorn-site: the system gives no random numbers\n", stderr);
    std::abort();
  }
  return origin;
}

void Drain(int fd) {
  std::uint64_t count = 0;
  // There may be nothing: it is read to be empty.
  [[maybe_unused]] const ssize_t ignored = read(fd, &count, sizeof count);
}

timeval WallClock() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return {now.tv_sec, now.tv_nsec / 1000};
}

}  // namespace

SiteBody::SiteBody(VQApplication& app, SiteOptions options, std::unique_ptr<Carrier> carrier,
                   Clock clock)
    : mApp(app),
      mOptions(std::move(options)),
      mCarrier(std::move(carrier)),
      mClock(std::move(clock)),
      mTrees(mDialogs, {mOptions.formerDialogs.begin(), mOptions.formerDialogs.end()}),
      mSessions(app) {
  if (gCurrent == nullptr) gCurrent = this;
}

// The records leave the loop with their destruction.
SiteBody::~SiteBody() {
  if (gCurrent == this) gCurrent = nullptr;
  if (IsStarted()) mApp.SetMoreStatistics({});
  mWatches.clear();
  mNode.reset();
  mCarrier.reset();
  for (const int fd : {mTimer, mEvent}) {
    if (fd >= 0) close(fd);
  }
}

SiteBody* SiteBody::Current() { return gCurrent; }

bool SiteBody::Start() {
  if (IsStarted() || gCurrent != this) {
    std::fputs("dorn-site: a process has one site, and it starts once\n", stderr);
    return false;
  }
  if (mCarrier == nullptr || !MakeDialogs()) return false;
  mResources = Sha256(mTrees.Save());
  mNode = std::make_unique<Node>(RandomOrigin(), *mCarrier, *this, *this);
  mSessions.SetNode(*mNode);
  SetAccepting(false);
  mApp.SetMoreStatistics([this] { return Status().Text(); });
  return WatchDescriptors();
}

bool SiteBody::MakeDialogs() {
  for (const KZString& name : mOptions.dialogs) {
    VQDialog* dialog = mApp.DialogList()->Search(name);
    if (dialog == nullptr) dialog = mApp.CreateDialog(name);
    auto* shared = dynamic_cast<SharedDialog*>(dialog);
    if (shared == nullptr) {
      std::fprintf(stderr, "dorn-site: the maker makes no shared dialog \"%s\"\n",
                   static_cast<const char*>(name));
      return false;
    }
    mDialogs[name] = shared;
  }
  return true;
}

// A timer of the system's, since those of the application follow the wall clock: setting it would
// cost a host its being the keeper.
bool SiteBody::WatchDescriptors() {
  mTimer = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
  mEvent = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  const itimerspec every = {{0, kTickNs}, {0, kTickNs}};
  if (mTimer < 0 || mEvent < 0 || timerfd_settime(mTimer, 0, &every, nullptr) != 0) {
    std::fputs("dorn-site: no descriptors are left for its timer\n", stderr);
    return false;
  }
  KZFdDataList* list = mApp.GetFdDataList();
  mWatches.push_back(std::make_unique<Watch>(mCarrier->Descriptor(), list, [this] { Work(); }));
  mWatches.push_back(std::make_unique<Watch>(mEvent, list, [this] {
    Drain(mEvent);
    Work();
  }));
  mWatches.push_back(std::make_unique<Watch>(mTimer, list, [this] {
    Drain(mTimer);
    Tick();
  }));
  return true;
}

SiteStatus SiteBody::Status() const {
  SiteStatus status;
  if (!IsStarted()) return status;
  const Node::Counters& count = mNode->Count();
  status.isServing = mIsServing;
  status.isLogAway = mIsLogAway;
  status.isKeeper = mNode->IsKeeper();
  status.isHealthy = mIsAccepting;
  status.isWhole = IsWhole();
  status.waiting = mNode->Waiting();
  status.position = mNode->LastApplied();
  status.keeper = mNode->Token();
  if (const std::optional<Ms> since = mNode->SinceAnswer()) status.answeredMsAgo = since->count();
  status.entries = count.entries;
  status.applied = count.applied;
  status.unknown = count.unknown;
  status.refused = count.refused;
  status.sentAgain = count.sentAgain;
  status.dropped = count.dropped;
  status.garbage = count.refusedEntries;
  status.takes = count.takes;
  status.diverged = count.diverged;
  status.snapshots = count.snapshots;
  status.unequal = mUnequal;
  return status;
}

void SiteBody::Tick() {
  const Ms now = mClock();
  mNode->Tick(now);
  mSessions.Retry();
  if (now - mLastUse >= kUseEvery) {
    mLastUse = now;
    mSessions.NoteUse();
    mErrors.Keep([this](int id) { return FindConnection(mApp, id) != nullptr; });
  }
  const bool isCutOff = mAwaySince.has_value() && now - *mAwaySince > kAwayLimit;
  SetAccepting(mIsServing && !isCutOff && !mIsStopped);
  Work();
}

void SiteBody::Work() {
  mCarrier->Deliver(*mNode);
  SendAll();
  TellOrigins();
  mNode->Flush();
}

// What is handed in during a pass of the loop goes out together, at the beginning of the next one.
void SiteBody::AskForWork() {
  const std::uint64_t one = 1;
  // It fails only when it is readable already.
  [[maybe_unused]] const ssize_t ignored = write(mEvent, &one, sizeof one);
}

bool SiteBody::CreateSession(const KZString& sid, int ms, std::string_view data) {
  const bool isTaken = mSessions.Create(sid, ms, data);
  if (isTaken) AskForWork();  // A station waits for the answer: not until the next tick.
  return isTaken;
}

// Connections that come meanwhile wait in the system's queue.
void SiteBody::SetAccepting(bool isAccepting) {
  if (isAccepting == mIsAccepting) return;
  mIsAccepting = isAccepting;
  VQStationSocket& listener = mApp.mStationSocket;
  if (isAccepting) {
    listener.SetFDStatus(KZFdData::kStatusActive);
    listener.AddEvent();
  } else {
    listener.RemoveEvent();
  }
}

void SiteBody::OnServing(bool isServing) {
  mIsServing = isServing;
  if (!isServing) return;
  mSessions.Sweep();
  mSessions.Retry();
}

void SiteBody::OnLogAway(bool isAway) {
  if (isAway == mIsLogAway) return;
  mIsLogAway = isAway;
  mAwaySince = isAway ? std::optional<Ms>(mClock()) : std::nullopt;
  TellState(nullptr, nullptr);
}

void SiteBody::OnSessionStart(Sequence session, const SessionStart& start,
                              std::optional<Ticket> mine) {
  mSessions.Started(session, start, mine);
}

void SiteBody::OnSessionEnd(Sequence session) { mSessions.Ended(session); }

void SiteBody::OnKeep() {
  const timeval now = WallClock();
  for (const auto& [name, dialog] : std::map<std::string, SharedDialog*>(mDialogs)) {
    if (Find(name) == dialog) dialog->OnKeep(now);
  }
}

void SiteBody::OnDiverged(Sequence mark, bool mustStop) {
  std::fprintf(stderr,
               "dorn-site: this host's dialogs differed from the keeper's at entry %llu: they are "
               "loaded anew; look for what OnApply() uses beside the change\n",
               static_cast<unsigned long long>(mark));
  if (!mustStop || mIsStopped) return;
  mIsStopped = true;
  SetAccepting(false);
  std::fputs(
      "dorn-site: it was not the first time within a minute: no station is let in any more; "
      "start this host anew\n",
      stderr);
}

void SiteBody::OnWord(const std::string& line) {
  std::fprintf(stderr, "dorn-site: %s\n", line.c_str());
}

void SiteBody::Forget(SharedDialog& dialog) {
  for (auto each = mDialogs.begin(); each != mDialogs.end();) {
    each = each->second == &dialog ? mDialogs.erase(each) : std::next(each);
  }
}

SharedDialog* SiteBody::Find(const std::string& name) const {
  const auto found = mDialogs.find(name);
  return found != mDialogs.end() ? found->second : nullptr;
}

std::string SiteBody::Save() { return mTrees.Save(); }

bool SiteBody::Load(std::string_view bytes) {
  SendAll();  // What was applied before is forgotten with the trees.
  std::vector<SharedTrees::Loaded> loaded;
  std::vector<std::string> missing;
  if (!mTrees.Load(bytes, loaded, missing)) return false;
  mHasMissed = false;
  for (const std::string& name : missing) {
    OnWord("dialog \"" + name + "\" is not the same on all hosts: start all with the same dialogs" +
           (Find(name) == nullptr ? "; this host, which does not have it, does not keep the site"
                                  : ""));
  }
  for (const SharedTrees::Loaded& each : loaded) ShowWholeTree(*each.dialog, each.isSameShape);
  return true;
}

}  // namespace dorn::site
