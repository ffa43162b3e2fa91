// Wakes the loop without its pipe where the loop is going to look anyway. Internal: not installed.
#ifndef DORN_LOOP_DEFERREDWAKEUP_H_
#define DORN_LOOP_DEFERREDWAKEUP_H_

#include <pthread.h>

#include <atomic>

namespace dorn {

// A hook of the loop that adds and removes records would write a byte for each and the loop read
// them again. While a thread runs hooks it notes such a wish instead, and the pass of the loop that
// follows does not wait.
//
// Async-signal-safe: a handler that interrupts a hook notes its wish too, which the loop has not
// read yet. One that interrupts anything else, such as the way into select, is told to write.
class DeferredWakeUp {
 public:
  // As long as it lives this thread runs hooks, unless Stop() is called.
  class Hooks {
   public:
    explicit Hooks(DeferredWakeUp& wakeUp) : mWakeUp(wakeUp) { mWakeUp.mThread = pthread_self(); }
    ~Hooks() { mWakeUp.mThread = kNone; }
    Hooks(const Hooks&) = delete;
    Hooks& operator=(const Hooks&) = delete;

   private:
    DeferredWakeUp& mWakeUp;
  };

  // True when the wish is noted; false: the caller has to write to the pipe.
  bool Note() {
    if (mThread != pthread_self()) return false;
    mIsNoted = true;
    return true;
  }

  bool IsNoted() const { return mIsNoted; }

  // Whether a wish was noted; there is none any more.
  bool Take() { return mIsNoted && mIsNoted.exchange(false); }

  // For somebody who waits in a hook on his own: from now on wishes are written.
  void Stop() { mThread = kNone; }

 private:
  static constexpr pthread_t kNone = 0;  // No thread has it in this system's library.

  std::atomic<pthread_t> mThread{kNone};
  std::atomic<bool> mIsNoted{false};
};

}  // namespace dorn

#endif  // DORN_LOOP_DEFERREDWAKEUP_H_
