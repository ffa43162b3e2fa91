// Runs an application's loop pass by pass on the calling thread. Header only: whoever includes it
// links the loop layer.
#ifndef TESTS_SUPPORT_LOOPRUNNER_H_
#define TESTS_SUPPORT_LOOPRUNNER_H_

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "dorn/loop/KZApplication.h"
#include "tests/support/Deadline.h"

class LoopRunner {
 public:
  explicit LoopRunner(KZApplication& app) : mApp(app) {}

  // Runs passes until `condition` holds, which is asked before each pass, and says whether it held
  // before the deadline. Meanwhile another thread wakes the loop every few milliseconds, so that a
  // condition that no descriptor announces (what a peer received, say) is noticed too. Whether
  // the library itself wakes its loop is therefore not shown by this; RunPass() alone shows it.
  bool RunUntil(const std::function<bool()>& condition) {
    const Deadline deadline;
    const Ticker ticker(mApp);
    while (!condition()) {
      if (deadline.IsOver()) return condition();
      mApp.RunPass();
    }
    return true;
  }

  // Exactly `count` passes, none of which waits: each finds a wake-up.
  void RunPasses(int count) {
    for (int i = 0; i < count; ++i) {
      mApp.WakeUp();
      mApp.RunPass();
    }
  }

  // Lets everything happen that is ready without waiting for anything outside: requested
  // additions and removals are applied, bytes that have arrived are handed over.
  void Settle() { RunPasses(4); }

 private:
  class Ticker {
   public:
    explicit Ticker(KZApplication& app) : mThread([this, &app] { Run(app); }) {}
    ~Ticker() {
      {
        const std::lock_guard<std::mutex> guard(mMutex);
        mDone = true;
      }
      mCondition.notify_one();
      mThread.join();
    }

   private:
    void Run(KZApplication& app) {
      std::unique_lock<std::mutex> lock(mMutex);
      while (!mCondition.wait_for(lock, std::chrono::milliseconds(5), [this] { return mDone; })) {
        app.WakeUp();
      }
    }

    std::mutex mMutex;
    std::condition_variable mCondition;
    bool mDone = false;
    std::thread mThread;  // Last: it starts when all else is ready.
  };

  KZApplication& mApp;
};

#endif  // TESTS_SUPPORT_LOOPRUNNER_H_
