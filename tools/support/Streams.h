// What every tool does about the streams that it was started with.
#ifndef TOOLS_SUPPORT_STREAMS_H_
#define TOOLS_SUPPORT_STREAMS_H_

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace dorn::tools {

// Before anything is opened: a connection or a file that took the place of a closed stream would
// get what is printed, or be read as if somebody typed. Nothing is there to read then, and what is
// printed is lost, as PrintedAll() tells.
inline void TakeClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The lowest number that is free is this one.
    if (fcntl(stream, F_GETFD) < 0) static_cast<void>(open("/dev/null", O_RDONLY));
  }
}

// At the end: whether standard output took all that was printed; otherwise says so on standard
// error. A reader that has gone away is nobody's loss, and ends the program before.
inline bool PrintedAll(const char* program) {
  const bool isFlushed = std::fflush(stdout) == 0;
  if (isFlushed && std::ferror(stdout) == 0) return true;
  std::fprintf(stderr,
               "%s: standard output did not take everything: it is closed, or its disk is full\n",
               program);
  return false;
}

}  // namespace dorn::tools

#endif  // TOOLS_SUPPORT_STREAMS_H_
