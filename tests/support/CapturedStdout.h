// Redirects descriptor 1 into a temporary file, so that a test compares every byte printed.
#ifndef TESTS_SUPPORT_CAPTUREDSTDOUT_H_
#define TESTS_SUPPORT_CAPTUREDSTDOUT_H_

#include <string>

// Captures from construction until Text() or destruction, whichever comes first; then standard
// output is what it was before.
class CapturedStdout {
 public:
  CapturedStdout();
  ~CapturedStdout();
  CapturedStdout(const CapturedStdout&) = delete;
  CapturedStdout& operator=(const CapturedStdout&) = delete;

  // Ends the capture and returns all that was printed meanwhile, stdio's buffer included.
  std::string Text();

 private:
  void Restore();

  int mSaved = -1;
  int mFile = -1;
};

#endif  // TESTS_SUPPORT_CAPTUREDSTDOUT_H_
