// What the code under test asks of the system. The test program defines these calls itself.
#ifndef TESTS_SERVER_CALLSPY_H_
#define TESTS_SERVER_CALLSPY_H_

#include <atomic>

struct CallSpy {
  static std::atomic<int> sPolls;
  static std::atomic<int> sLongestPollMs;
  static std::atomic<int> sMostPolled;        // Descriptors at once.
  static std::atomic<int> sInterruptedPolls;  // How many of the next ones a signal interrupts.
  // Of this thread alone: polls that would wait, and what the next of them fails with; 0: nothing.
  static thread_local int tWaits;
  static thread_local int tWaitError;

  // The descriptor the next write() to which a signal interrupts; -1: none.
  static std::atomic<int> sInterruptedFd;

  // The descriptor that takes a single byte of the next write(); -1: none.
  static std::atomic<int> sNarrowFd;

  // While it is set, each stat() of this path finds another file than the one that is opened.
  static std::atomic<const char*> sChangingPath;
  static std::atomic<int> sChanges;

  // Where the program's link to its own file leads; null: to that file. Empty: it cannot be read.
  static std::atomic<const char*> sProgram;
};

#endif  // TESTS_SERVER_CALLSPY_H_
