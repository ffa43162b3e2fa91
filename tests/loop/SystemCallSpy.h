// Looks at, and replaces, system calls of the loop: the test program defines select(), fcntl() and
// settimeofday() itself. Without a spy, select() is the real one; the clock of the machine is
// never set.
#ifndef TESTS_LOOP_SYSTEMCALLSPY_H_
#define TESTS_LOOP_SYSTEMCALLSPY_H_

#include <sys/select.h>
#include <sys/time.h>

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
