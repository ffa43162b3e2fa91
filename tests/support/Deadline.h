// How long a test waits for something that must happen. Waits end as soon as it happened; the
// limit only decides when a test gives up.
#ifndef TESTS_SUPPORT_DEADLINE_H_
#define TESTS_SUPPORT_DEADLINE_H_

#include <chrono>

// The environment variable DORN_TEST_TIMEOUT_SCALE: a number above 0; 1 when unset.
double TestPatience();

// 20 s times that. A machine that is busy with something else may stand still for seconds.
std::chrono::milliseconds TestTimeout();

// A point in time TestTimeout() after its construction.
class Deadline {
 public:
  Deadline() : mEnd(std::chrono::steady_clock::now() + TestTimeout()) {}

  bool IsOver() const { return std::chrono::steady_clock::now() >= mEnd; }

  // For poll(): 0 when the deadline is over, otherwise at least 1.
  int LeftMs() const;

 private:
  std::chrono::steady_clock::time_point mEnd;
};

// Ends the process with SIGALRM when a test is still at work TestTimeout() after its construction:
// for code that blocks for ever, or loops, when it is wrong.
class HangGuard {
 public:
  HangGuard();
  ~HangGuard();
  HangGuard(const HangGuard&) = delete;
  HangGuard& operator=(const HangGuard&) = delete;
};

#endif  // TESTS_SUPPORT_DEADLINE_H_
