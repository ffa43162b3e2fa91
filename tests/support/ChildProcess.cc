#include "tests/support/ChildProcess.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "tests/support/Deadline.h"

namespace {

[[noreturn]] void RunBody(const std::function<int()>& body, int output) {
  dup2(output, STDOUT_FILENO);
  alarm(static_cast<unsigned>(TestTimeout().count() / 1000 + 1));
  const int code = body();
  std::fflush(stdout);
  _exit(code);
}

std::string ReadAll(int fd) {
  std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
  const ssize_t got = pread(fd, text.data(), text.size(), 0);
  text.resize(got < 0 ? 0 : static_cast<size_t>(got));
  return text;
}

}  // namespace

ChildResult RunChild(const std::function<int()>& body) {
  std::fflush(stdout);
  std::fflush(stderr);
  const int output = memfd_create("child-stdout", MFD_CLOEXEC);
  const pid_t child = fork();
  if (child == 0) RunBody(body, output);
  int status = 0;
  waitpid(child, &status, 0);
  ChildResult result;
  if (WIFEXITED(status)) result.mExitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.mSignal = WTERMSIG(status);
  result.mOutput = ReadAll(output);
  close(output);
  return result;
}
