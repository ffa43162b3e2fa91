#include "tests/support/CapturedStdout.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

CapturedStdout::CapturedStdout() {
  std::fflush(stdout);
  mSaved = dup(STDOUT_FILENO);
  mFile = memfd_create("captured-stdout", MFD_CLOEXEC);
  dup2(mFile, STDOUT_FILENO);
}

CapturedStdout::~CapturedStdout() {
  Restore();
  close(mFile);
}

std::string CapturedStdout::Text() {
  Restore();
  std::string text(static_cast<size_t>(lseek(mFile, 0, SEEK_END)), '\0');
  const ssize_t got = pread(mFile, text.data(), text.size(), 0);
  text.resize(got < 0 ? 0 : static_cast<size_t>(got));
  return text;
}

void CapturedStdout::Restore() {
  if (mSaved < 0) return;
  std::fflush(stdout);
  dup2(mSaved, STDOUT_FILENO);
  close(mSaved);
  mSaved = -1;
}
