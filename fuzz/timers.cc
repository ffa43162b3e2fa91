// The timers of an application against a plain sorted list, with callbacks that change them and a
// clock that steps.
#include <sys/time.h>

#include <algorithm>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "dorn/loop/KZApplication.h"
#include "fuzz/FuzzTarget.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestApplication.h"

namespace {

struct Timer {
  uint64_t mTime;
  unsigned mId;
  std::string mName;
  unsigned mInterval;
};

class Model {
 public:
  void Set(uint64_t now, uint64_t interval, unsigned id, const std::string& name, bool periodic) {
    if (interval == 0) {
      const auto isIt = [id](const Timer& timer) { return timer.mId == id; };
      mTimers.erase(std::remove_if(mTimers.begin(), mTimers.end(), isIt), mTimers.end());
    } else {
      Insert({now + interval, id, name, periodic ? static_cast<unsigned>(interval) : 0});
    }
  }

  // Takes all timers that are due; the result is the time until the next one.
  uint64_t Fire(uint64_t now, std::deque<Timer>& fired) {
    while (!mTimers.empty()) {
      Timer timer = mTimers.front();
      if (now < timer.mTime) return timer.mTime - now;
      mTimers.erase(mTimers.begin());
      fired.push_back(timer);
      if (timer.mInterval == 0) continue;
      const uint64_t periods = (now - timer.mTime) / timer.mInterval + 1;
      uint64_t step = timer.mInterval * periods;
      // In 32 bits, unless there are too many.
      if (fired.size() < 100000) step &= 0xFFFFFFFF;
      timer.mTime += step == 0 ? timer.mInterval : step;
      Insert(timer);
    }
    return 0;
  }

  bool Has(unsigned id) const {
    return std::any_of(mTimers.begin(), mTimers.end(),
                       [id](const Timer& timer) { return timer.mId == id; });
  }

  std::vector<Timer> mTimers;

 private:
  void Insert(const Timer& timer) {
    size_t at = 0;
    while (at < mTimers.size() && mTimers[at].mTime < timer.mTime) ++at;
    mTimers.insert(mTimers.begin() + static_cast<long>(at), timer);
  }
};

class Driver {
 public:
  Driver(FuzzInput& in, TestApplication& app) : mIn(in), mClock(0), mApp(app) {
    mApp.mOnTimer = [this](unsigned) { Fired(); };
  }
  ~Driver() {
    mApp.mOnTimer = nullptr;
    mApp.ResetTimer();
    mApp.mFired.clear();
  }
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;

  // Timers of short intervals and clock steps of years make thousands of calls each.
  void Run() {
    while (!mIn.IsEmpty() && mCalls < kMaxCalls) Step();
  }

 private:
  static constexpr int kMaxCalls = 3000;
  static constexpr size_t kMaxTimers = 200;

  void Step() {
    const unsigned choice = mIn.Below(12);
    if (choice < 8) {
      Change(choice);
    } else if (choice < 11) {
      Pass();
    } else {
      StepClock();
    }
    Compare();
  }

  void Change(unsigned choice) {
    switch (choice) {
      case 0:
        Cancel(mIn.Below(16));
        return;
      case 1:
        mApp.ResetTimer();
        mModel.mTimers.clear();
        return;
      case 2:
        EditByHand();
        return;
      default:
        Set(mIn.Below(4), mIn.Below(16), mIn.Flag());
    }
  }

  void Set(unsigned size, unsigned id, bool periodic) {
    if (mModel.mTimers.size() >= kMaxTimers) return;
    static constexpr int kBytes[] = {1, 1, 2, 5};
    const uint64_t interval = mIn.Number(kBytes[size]);
    const std::string name = mIn.Flag() ? "dialog" : "";
    mApp.SetTimerData(interval, id, name, periodic ? 1 : 0);
    mModel.Set(mClock.NowMs(), interval, id, name, periodic);
  }

  void Cancel(unsigned id) {
    FUZZ_CHECK(mApp.HasTimer(id) == mModel.Has(id));
    mApp.SetTimerData(0, id, "", 0);
    mModel.Set(mClock.NowMs(), 0, id, "", false);
  }

  // The list is public. Whoever changes it keeps its order.
  void EditByHand() {
    if (mModel.mTimers.empty()) return;
    const unsigned index = mIn.Byte() % static_cast<unsigned>(mModel.mTimers.size());
    auto timer = mApp.mTimerList.begin();
    std::advance(timer, index);
    switch (mIn.Below(3)) {
      case 0:
        mApp.mTimerList.insert(timer, *timer);
        mModel.mTimers.insert(mModel.mTimers.begin() + index, Timer(mModel.mTimers[index]));
        return;
      case 1:
        mApp.mTimerList.erase(timer);
        mModel.mTimers.erase(mModel.mTimers.begin() + index);
        return;
      default:
        mModel.mTimers[index].mTime = timer->mTime = TimeFor(index);
    }
  }

  // A time between those of the neighbours.
  uint64_t TimeFor(size_t index) {
    const std::vector<Timer>& timers = mModel.mTimers;
    const uint64_t first = index > 0 ? timers[index - 1].mTime : 0;
    const uint64_t last = index + 1 < timers.size() ? timers[index + 1].mTime : first + 1000;
    return first + mIn.Number(2) % (last - first + 1);
  }

  void Pass() {
    mClock.AdvanceMs(static_cast<int64_t>(mIn.Number(2)));
    const uint64_t expected = mModel.Fire(mClock.NowMs(), mExpected);
    FUZZ_CHECK(mApp.BaseTimer(mClock.Now()) == expected);
    FUZZ_CHECK(mExpected.empty());
  }

  // The callback of one timer, which may set and cancel others.
  void Fired() {
    ++mCalls;
    FUZZ_CHECK(!mExpected.empty());
    const Timer expected = mExpected.front();
    mExpected.pop_front();
    const TestApplication::Fired& fired = mApp.mFired.back();
    FUZZ_CHECK(fired.mId == expected.mId && fired.mName == expected.mName);
    FUZZ_CHECK(fired.mIsDialog == !expected.mName.empty());
    if (mCalls < kMaxCalls && mIn.Below(4) == 1) Change(mIn.Below(8));
  }

  // Up to two years either way.
  void StepClock() {
    const auto step = static_cast<int64_t>(mIn.Number(5) & 0xFFFFFFFFFULL);
    const bool isBack = mIn.Flag();
    mClock.AdvanceMs(isBack ? -std::min(step, static_cast<int64_t>(mClock.NowMs())) : step);
  }

  void Compare() {
    mApp.mFired.clear();
    FUZZ_CHECK(mApp.mTimerList.size() == mModel.mTimers.size());
    auto timer = mApp.mTimerList.begin();
    for (const Timer& expected : mModel.mTimers) {
      FUZZ_CHECK(timer->mTime == expected.mTime && timer->mId == expected.mId);
      FUZZ_CHECK(timer->mName == expected.mName && timer->mInterval == expected.mInterval);
      ++timer;
    }
  }

  FuzzInput& mIn;
  FakeClock mClock;
  TestApplication& mApp;
  Model mModel;
  std::deque<Timer> mExpected;
  int mCalls = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static TestApplication app;
  FuzzInput in(data, size);
  Driver(in, app).Run();
  return 0;
}
