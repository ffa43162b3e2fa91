// A process that runs without standard input, as hosts may.
#ifndef TESTS_SUPPORT_NOSTANDARDINPUT_H_
#define TESTS_SUPPORT_NOSTANDARDINPUT_H_

#include <fcntl.h>
#include <unistd.h>

// While it lives, descriptor 0 is free at first: what is opened next gets it. Whatever has it at
// the end is closed.
class NoStandardInput {
 public:
  NoStandardInput() : mSaved(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    close(STDIN_FILENO);
  }
  ~NoStandardInput() {
    close(STDIN_FILENO);
    if (mSaved < 0) return;
    dup2(mSaved, STDIN_FILENO);
    close(mSaved);
  }
  NoStandardInput(const NoStandardInput&) = delete;
  NoStandardInput& operator=(const NoStandardInput&) = delete;

  // Whether somebody has the descriptor now.
  static bool IsTaken() { return fcntl(STDIN_FILENO, F_GETFD) != -1; }

 private:
  int mSaved;
};

#endif  // TESTS_SUPPORT_NOSTANDARDINPUT_H_
