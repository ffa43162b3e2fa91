#include "tools/dorn-terminal/Signals.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace dorn::terminal {

namespace {

constexpr unsigned kSecondsToEnd = 3;

int gPipe = -1;
termios gBefore;  // The terminal as it was found.
bool gHasBefore = false;

extern "C" void OnSignal(int signal) {
  const int error = errno;
  const auto byte = static_cast<char>(signal);
  // A pipe that is full holds enough to wake the loop.
  static_cast<void>(!write(gPipe, &byte, 1));
  if (signal != SIGWINCH) alarm(kSecondsToEnd);
  errno = error;
}

// The terminal took nothing for seconds, so that its screen cannot be restored; its modes can.
extern "C" void OnAlarm(int) {
  if (gHasBefore) tcsetattr(STDIN_FILENO, TCSANOW, &gBefore);
  _exit(0);
}

void Handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

}  // namespace

Signals::Signals() {
  if (pipe2(mPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
  gPipe = mPipe[1];
  gHasBefore = tcgetattr(STDIN_FILENO, &gBefore) == 0;
  Handle(SIGALRM, OnAlarm);
  for (const int signal : {SIGWINCH, SIGTERM, SIGINT, SIGHUP}) Handle(signal, OnSignal);
}

Signals::~Signals() {
  for (const int signal : {SIGWINCH, SIGTERM, SIGINT, SIGHUP, SIGALRM}) Handle(signal, SIG_DFL);
  for (const int end : mPipe) close(end);
}

Signals::Seen Signals::Take() {
  Seen seen;
  char bytes[64];
  for (ssize_t got = 1; got > 0;) {
    got = read(mPipe[0], bytes, sizeof bytes);
    for (ssize_t i = 0; i < got; ++i) (bytes[i] == SIGWINCH ? seen.mResized : seen.mEnds) = true;
  }
  return seen;
}

}  // namespace dorn::terminal
