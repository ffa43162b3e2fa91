// Runs a piece of a test in a child process: for code that ends the process, never returns, or
// needs a process of its own kind (closed descriptors, another network).
#ifndef TESTS_SUPPORT_CHILDPROCESS_H_
#define TESTS_SUPPORT_CHILDPROCESS_H_

#include <functional>
#include <string>

struct ChildResult {
  int mExitCode = -1;   // -1 when a signal ended the child.
  int mSignal = 0;      // The signal that ended it, or 0. SIGALRM: it ran into the deadline.
  std::string mOutput;  // Everything that it wrote to standard output.
};

// Forks and runs `body`; its result becomes the exit code unless it ends the process itself.
// Call it while the test has no other thread.
ChildResult RunChild(const std::function<int()>& body);

#endif  // TESTS_SUPPORT_CHILDPROCESS_H_
