// Looks at, and replaces, system calls of the loop: the test program defines select(), fcntl(),
// write(), usleep(), those of epoll and those for clocks itself. Without a spy they are the real
// ones; but the clock of the machine is never set.
#ifndef TESTS_LOOP_SYSTEMCALLSPY_H_
#define TESTS_LOOP_SYSTEMCALLSPY_H_

#include <sys/select.h>
#include <sys/time.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

// While one lives, every select() of any thread is noted. At most one at a time.
class SelectSpy {
 public:
  struct Call {
    int mLimit;
    bool mHasExceptionSet;
    std::optional<timeval> mTimeout;  // Empty: waits for ever.
    size_t mUnflushed;                // Bytes of standard output still in the program.
  };

  SelectSpy();
  ~SelectSpy();
  SelectSpy(const SelectSpy&) = delete;
  SelectSpy& operator=(const SelectSpy&) = delete;

  // The time-out of the last call in milliseconds; -1: none was given.
  long LastWaitMs() const;

  std::vector<Call> mCalls;
  // Instead of the real call, which then is not made; the result is select()'s, errno set as it
  // wishes.
  std::function<int(fd_set* reads, fd_set* writes)> mReplacement;
  // After the real call, with what it found: what other threads do meanwhile.
  std::function<void()> mAfterwards;
};

// While one lives, it is told of every fcntl() that failed, before the caller is. At most one at a
// time.
class FailedFcntlSpy {
 public:
  explicit FailedFcntlSpy(std::function<void(int fd)> onFailure);
  ~FailedFcntlSpy();
  FailedFcntlSpy(const FailedFcntlSpy&) = delete;
  FailedFcntlSpy& operator=(const FailedFcntlSpy&) = delete;

  const std::function<void(int fd)> mOnFailure;
};

// While one lives, what is asked of epoll sets is noted, and what poll() is asked. At most one at a
// time.
class EpollSpy {
 public:
  EpollSpy();
  ~EpollSpy();
  EpollSpy(const EpollSpy&) = delete;
  EpollSpy& operator=(const EpollSpy&) = delete;

  int mSetsMade = 0;
  int mChanges = 0;           // Of members: added, or taken out.
  std::vector<int> mWaitsMs;  // How long each epoll_wait() and each poll() were to wait.
  int mWaitError = 0;         // What epoll_wait() fails with, without being made; 0: it is made.
};

// While one lives, the clocks that count from the start of the machine stand still until a test
// moves them. Not to be used beside anything that waits by such a clock. At most one at a time.
class StillClockSpy {
 public:
  StillClockSpy();
  ~StillClockSpy();
  StillClockSpy(const StillClockSpy&) = delete;
  StillClockSpy& operator=(const StillClockSpy&) = delete;

  void AdvanceUs(long long us) { mUs += us; }

  std::atomic<long long> mUs{1234567899};
};

// While one lives, usleep() only notes for how long it was to be. At most one at a time.
class SleepSpy {
 public:
  SleepSpy();
  ~SleepSpy();
  SleepSpy(const SleepSpy&) = delete;
  SleepSpy& operator=(const SleepSpy&) = delete;

  std::vector<unsigned> mSleepsUs;
};

// While one lives, write() fails with these errors, the first one first, and then is the real one.
// At most one at a time.
class FailedWriteSpy {
 public:
  explicit FailedWriteSpy(std::vector<int> errors);
  ~FailedWriteSpy();
  FailedWriteSpy(const FailedWriteSpy&) = delete;
  FailedWriteSpy& operator=(const FailedWriteSpy&) = delete;

  const std::vector<int> mErrors;
  std::size_t mCalls = 0;
};

// While one lives, settimeofday() notes the time and gives a result.
class ClockSettingSpy {
 public:
  ClockSettingSpy();
  ~ClockSettingSpy();
  ClockSettingSpy(const ClockSettingSpy&) = delete;
  ClockSettingSpy& operator=(const ClockSettingSpy&) = delete;

  std::vector<timeval> mTimes;
  int mResult = 0;
};

#endif  // TESTS_LOOP_SYSTEMCALLSPY_H_
