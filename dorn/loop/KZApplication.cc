#include "dorn/loop/KZApplication.h"

#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <deque>
#include <utility>

#include "dorn/base/Clock.h"
#include "dorn/base/SemaphoreLock.h"
#include "dorn/loop/KZFdData.h"
#include "dorn/loop/ListState.h"
#include "dorn/loop/LiveList.h"
#include "dorn/loop/LoopPass.h"
#include "dorn/loop/NextPass.h"
#include "dorn/loop/PassStatistics.h"
#include "dorn/loop/RestartTimer.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/loop/TimerIndex.h"

using dorn::SemaphoreLock;

namespace {

constexpr std::uint64_t kBufferedWaitMs = 10;  // The longest wait while a buffer holds data.
constexpr useconds_t kFailedSelectUs = 10000;

// The application whose ready records this thread is serving. A timer that is registered there
// needs no wake-up byte: the deadlines are read again before the loop waits.
thread_local const KZApplication* tDispatching = nullptr;

class DispatchScope {
 public:
  explicit DispatchScope(const KZApplication* app) : mOuter(std::exchange(tDispatching, app)) {}
  ~DispatchScope() { tDispatching = mOuter; }

  DispatchScope(const DispatchScope&) = delete;
  DispatchScope& operator=(const DispatchScope&) = delete;

 private:
  const KZApplication* mOuter;
};

// Stands around a pass. There may be one inside another, of another application.
class PassScope {
 public:
  explicit PassScope(const KZApplication* app) : mApp(app), mOuter(tInnermost) {
    tInnermost = this;
  }
  ~PassScope() { tInnermost = mOuter; }

  PassScope(const PassScope&) = delete;
  PassScope& operator=(const PassScope&) = delete;

  static bool HasAny() { return tInnermost != nullptr; }
  static bool Has(const KZApplication* app) {
    const PassScope* scope = tInnermost;
    while (scope != nullptr && scope->mApp != app) scope = scope->mOuter;
    return scope != nullptr;
  }

 private:
  static thread_local const PassScope* tInnermost;

  const KZApplication* mApp;
  const PassScope* mOuter;
};

thread_local const PassScope* PassScope::tInnermost = nullptr;

thread_local unsigned long tTimerRound = 0;

// What is to be called at the end of a pass.
std::deque<void (*)()>& Leftovers() {
  thread_local std::deque<void (*)()> leftovers;
  return leftovers;
}

// One that throws leaves the others to the next pass. Returns whether there were any.
bool CallLeftovers() {
  if (Leftovers().empty()) return false;
  while (!Leftovers().empty()) {
    void (*const call)() = Leftovers().front();
    Leftovers().pop_front();
    call();
  }
  return true;
}

class TimerRoundScope {
 public:
  TimerRoundScope() {
    thread_local unsigned long rounds = 0;
    tTimerRound = ++rounds;
  }
  ~TimerRoundScope() { tTimerRound = 0; }

  TimerRoundScope(const TimerRoundScope&) = delete;
  TimerRoundScope& operator=(const TimerRoundScope&) = delete;
};

// A pass inside a pass could destroy the records that the outer one is serving.
bool RefuseInPass(const KZApplication* app) {
  if (!PassScope::Has(app)) return false;
  std::fputs("dorn: a pass of the loop was asked for inside a pass, by a hook; nothing is done\n",
             stderr);
  return true;
}

std::uint64_t ToMilliseconds(timeval time) {
  return static_cast<std::uint64_t>(time.tv_sec) * 1000 +
         static_cast<std::uint64_t>(time.tv_usec / 1000);
}

timeval ToTimeval(std::uint64_t milliseconds) {
  timeval time{};
  time.tv_sec = static_cast<time_t>(milliseconds / 1000);
  time.tv_usec = static_cast<suseconds_t>(milliseconds % 1000 * 1000);
  return time;
}

// The wait for what comes first; 0: for ever.
std::uint64_t Sooner(std::uint64_t waitMs, std::uint64_t limitMs) {
  return waitMs == 0 ? limitMs : std::min(waitMs, limitMs);
}

// How many timers fire in one pass before steps no longer wrap.
constexpr std::size_t kMaxBurst = 100000;

// The timer at the first point of its grid after `nowMs`.
KZTimerData Rescheduled(const KZTimerData& timer, std::uint64_t nowMs) {
  KZTimerData next(timer);
  // Kept: 32 bits, and the product wraps.
  const auto periods = static_cast<std::uint32_t>((nowMs - timer.mTime) / timer.mInterval + 1);
  const std::uint32_t step = timer.mInterval * periods;
  // A step that wrapped to nothing would leave the timer due for ever, and this pass without an
  // end. It happens when the clock is set forward by more than 49 days.
  next.mTime += step != 0 ? step : timer.mInterval;
  return next;
}

// The same without the wrap. After a clock step some periods wrap to steps of a millisecond, again
// and again: such a timer would fire millions of times, each with its place in memory.
KZTimerData RescheduledAtOnce(const KZTimerData& timer, std::uint64_t nowMs) {
  KZTimerData next(timer);
  next.mTime += ((nowMs - timer.mTime) / timer.mInterval + 1) * timer.mInterval;
  return next;
}

// Replaces the fields of the local time that are given. False when there is no such time.
bool ReplaceFields(time_t* clock, int year, int mon, int day, int hour, int min, int sec) {
  tm fields{};
  if (localtime_r(clock, &fields) == nullptr) return false;
  if (year > 0) fields.tm_year = year - 1900;
  if (mon > 0) fields.tm_mon = mon - 1;
  if (day > 0) fields.tm_mday = day;
  if (hour >= 0) fields.tm_hour = hour;
  if (min >= 0) fields.tm_min = min;
  if (sec >= 0) fields.tm_sec = sec;
  // Kept: also in summer.
  fields.tm_isdst = 0;
  const time_t replaced = std::mktime(&fields);
  if (replaced == -1) return false;
  *clock = replaced;
  return true;
}

}  // namespace

bool dorn::IsInPass() { return PassScope::HasAny(); }

bool dorn::IsInPassOf(const KZApplication* app) { return PassScope::Has(app); }

void dorn::AtEndOfPass(void (*call)()) { Leftovers().push_back(call); }

unsigned long dorn::TimerRound() { return tTimerRound; }

dorn::PassStatistics& dorn::Passes() {
  static PassStatistics passes;
  return passes;
}

KZApplication::KZApplication() : mTimerIndex(std::make_unique<dorn::TimerIndex>(mTimerList)) {}

KZApplication::~KZApplication() = default;

void KZApplication::AppMain() {
  if (RefuseInPass(this)) return;
  for (;;) RunPass();
}

// Kept: the numbers in the trace lines are fixed texts.
void KZApplication::ApplicationTimer(timeval /*time*/, unsigned int /*id*/) {
  std::puts("KZApplication:336:ApplicationTimer");
  std::fflush(stdout);
}

// By value, as every override takes it: NOLINTNEXTLINE(performance-unnecessary-value-param)
void KZApplication::DialogTimer(timeval /*time*/, unsigned int /*id*/, KZString /*name*/) {
  std::puts("KZApplication:362:DialogTimer");
  std::fflush(stdout);
}

KZFdDataList* KZApplication::GetFdDataList() { return &mFdList; }

int KZApplication::Initialize(int /*argc*/, char** /*argv*/) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  return 1;
}

void KZApplication::RunPass() {
  if (RefuseInPass(this)) return;
  const PassScope pass(this);
  dorn::PassTimer timer;
  if (dorn::NextPass::Run(mFdList)) mFdList.mState->mSettled.NoteHooks();
  std::uint64_t waitMs = FirePassTimers();
  fd_set reads;
  fd_set writes;
  const std::uint64_t refreshMs = mFdList.mState->mSettled.RefreshIfDue();
  const bool isBuffered = mFdList.Prepare(&reads, &writes) == 0;
  if (isBuffered) waitMs = Sooner(waitMs, kBufferedWaitMs);
  if (refreshMs != 0) waitMs = Sooner(waitMs, refreshMs);
  // From here on a wish to wake up is a byte in the pipe.
  const bool isWoken = mFdList.IsWoken();
  timeval timeout = isWoken ? timeval{} : ToTimeval(waitMs);
  // What was printed is read before the loop sleeps, also at the other end of a pipe.
  std::fflush(stdout);
  timer.Pause();
  const int count =
      select(FD_SETSIZE, &reads, &writes, nullptr, isWoken || waitMs != 0 ? &timeout : nullptr);
  timer.Go();
  if (count < 0) {
    const bool isClosed = errno == EBADF;
    usleep(kFailedSelectUs);
    if (isClosed) mFdList.RemoveClosed();
    if (CallLeftovers()) mFdList.mState->mSettled.NoteHooks();
    return;
  }
  FdDataList ready;
  mFdList.Collect(&reads, &writes, &ready);
  if (count > 0 || isWoken || !ready.empty()) mFdList.mState->mSettled.NoteHooks();
  const dorn::DeferredWakeUp::Hooks hooks(mFdList.mState->mWakeUp);
  DispatchReady(ready);
  if (CallLeftovers()) mFdList.mState->mSettled.NoteHooks();
}

std::uint64_t KZApplication::FirePassTimers() {
  const dorn::DeferredWakeUp::Hooks hooks(mFdList.mState->mWakeUp);
  return BaseTimer(dorn::Now());
}

int KZApplication::AddEventFd(KZFdData* rec) { return mFdList.Add(rec); }

void KZApplication::RemoveEventFd(KZFdData* rec) { mFdList.Remove(rec); }

void KZApplication::WakeUp() { mFdList.WakeUp(); }

void KZApplication::SetTimerData(unsigned long interval, unsigned int id, KZString name, int cont) {
  if (interval == 0) {
    const SemaphoreLock lock(mTimerListLock);
    mTimerIndex->EraseId(id);
    return;
  }
  KZTimerData timer;
  timer.mTime = ToMilliseconds(dorn::Now()) + interval;
  timer.mId = id;
  timer.mName = std::move(name);
  // Kept: 32 bits of it.
  timer.mInterval = cont != 0 ? static_cast<unsigned int>(interval) : 0;
  {
    const SemaphoreLock lock(mTimerListLock);
    mTimerIndex->Insert(timer);
  }
  if (tDispatching != this) WakeUp();
}

void dorn::RestartSingleTimer(KZApplication& app, unsigned long interval, unsigned int id) {
  if (interval == 0) return app.SetTimerData(0, id, "", 0);
  const std::uint64_t time = ToMilliseconds(dorn::Now()) + interval;
  {
    const SemaphoreLock lock(app.mTimerListLock);
    app.mTimerIndex->RestartSingle(time, id);
  }
  if (tDispatching != &app) app.WakeUp();
}

void KZApplication::SetApplicationTimerInterval(unsigned long interval, unsigned int id) {
  SetTimerData(interval, id, "", 1);
}

void KZApplication::SetApplicationSingleTimerInterval(unsigned long interval, unsigned int id) {
  SetTimerData(interval, id, "", 0);
}

bool KZApplication::HasTimer(unsigned int id) {
  const SemaphoreLock lock(mTimerListLock);
  return mTimerIndex->HasId(id);
}

std::uint64_t KZApplication::BaseTimer(timeval tn) {
  // The result is settled before the callbacks run: a timer that one of them registers is seen in
  // time only because its wake-up byte ends the wait.
  const DispatchScope callbacks(nullptr);
  const std::uint64_t nowMs = ToMilliseconds(tn);
  std::uint64_t result = 0;
  KZTimerList fired;
  {
    const SemaphoreLock lock(mTimerListLock);
    while (!mTimerList.empty()) {
      const std::uint64_t due = mTimerList.front().mTime;
      if (nowMs < due) {
        result = due - nowMs;
        break;
      }
      mTimerIndex->MoveFirstTo(fired);
      const KZTimerData& timer = fired.back();
      if (timer.mInterval == 0) continue;
      const bool isBurst = fired.size() >= kMaxBurst;
      mTimerIndex->Insert(isBurst ? RescheduledAtOnce(timer, nowMs) : Rescheduled(timer, nowMs));
    }
  }
  const TimerRoundScope round;
  FireTimers(tn, fired);
  return result;
}

// Nothing is caught here: the exception of a callback goes to whoever runs the loop, and may run it
// again.
void KZApplication::FireTimers(timeval now, KZTimerList& fired) {
  if (fired.empty()) return;
  mFdList.mState->mSettled.NoteHooks();
  struct PutBack {
    ~PutBack() {
      if (mFired.empty()) return;
      const SemaphoreLock lock(mApp.mTimerListLock);
      mApp.mTimerIndex->InsertDue(mFired);
    }
    KZApplication& mApp;
    KZTimerList& mFired;
  } const putBack = {*this, fired};
  while (!fired.empty()) {
    const KZTimerData timer = fired.front();
    fired.pop_front();
    FireTimer(now, timer);
  }
}

void KZApplication::FireTimer(timeval now, const KZTimerData& timer) {
  if (timer.mName.empty()) {
    ApplicationTimer(now, timer.mId);
  } else {
    DialogTimer(now, timer.mId, timer.mName);
  }
}

void KZApplication::SetDateTime(int year, int mon, int day, int hour, int min, int sec) {
  timeval clock = dorn::Now();
  if (!ReplaceFields(&clock.tv_sec, year, mon, day, hour, min, sec)) return;
  clock.tv_usec = 0;
  // Without the right to set the clock the timers are discarded all the same.
  static_cast<void>(settimeofday(&clock, nullptr));
  ResetTimer();
}

void KZApplication::ResetTimer() {
  {
    const SemaphoreLock lock(mTimerListLock);
    mTimerIndex->Clear();
  }
  WakeUp();
}

void KZApplication::DispatchReady(FdDataList& ready) {
  const DispatchScope scope(this);
  const dorn::LiveList live(ready);
  while (!ready.empty()) {
    KZFdData* rec = ready.front();
    ready.pop_front();
    Dispatch(rec);
  }
}

void KZApplication::Dispatch(KZFdData* rec) {
  switch (rec->GetType()) {
    case KZFdData::kTypeEvent:
      return;
    case KZFdData::kTypeClient:
      switch (dorn::LoadShared(rec->mStatus)) {
        case KZFdData::kStatusOpen:
          rec->ReadyToWrite();
          return;
        case KZFdData::kStatusActive:
          rec->ReadyToRead();
          return;
        default:
          return;
      }
    default:
      rec->ReadyToRead();
  }
}
