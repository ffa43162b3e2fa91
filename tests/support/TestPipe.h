// A pipe of the tests.
#ifndef TESTS_SUPPORT_TESTPIPE_H_
#define TESTS_SUPPORT_TESTPIPE_H_

#include <string>

// Both ends of a pipe; the reading end does not block.
class TestPipe {
 public:
  TestPipe();
  ~TestPipe();
  TestPipe(const TestPipe&) = delete;
  TestPipe& operator=(const TestPipe&) = delete;

  int ReadEnd() const { return mEnds[0]; }
  int WriteEnd() const { return mEnds[1]; }
  void Write(const std::string& bytes) const;
  void CloseReadEnd();
  void CloseWriteEnd();

 private:
  int mEnds[2] = {-1, -1};
};

#endif  // TESTS_SUPPORT_TESTPIPE_H_
