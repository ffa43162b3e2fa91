#include "tests/support/TestPipe.h"

#include <fcntl.h>
#include <unistd.h>

TestPipe::TestPipe() {
  // Failing leaves -1 in both, and the test that uses them fails.
  static_cast<void>(pipe2(mEnds, O_NONBLOCK | O_CLOEXEC));
}

TestPipe::~TestPipe() {
  CloseReadEnd();
  CloseWriteEnd();
}

void TestPipe::Write(const std::string& bytes) const {
  // A pipe holds 64 KiB, more than any test puts in.
  static_cast<void>(!write(mEnds[1], bytes.data(), bytes.size()));
}

void TestPipe::CloseReadEnd() {
  if (mEnds[0] >= 0) close(mEnds[0]);
  mEnds[0] = -1;
}

void TestPipe::CloseWriteEnd() {
  if (mEnds[1] >= 0) close(mEnds[1]);
  mEnds[1] = -1;
}
