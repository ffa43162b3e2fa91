#include "tests/support/Deadline.h"

#include <unistd.h>

#include <cstdlib>

double TestPatience() {
  const char* text = std::getenv("DORN_TEST_TIMEOUT_SCALE");
  const double scale = text != nullptr ? std::atof(text) : 1.0;
  return scale > 0 ? scale : 1.0;
}

std::chrono::milliseconds TestTimeout() {
  return std::chrono::milliseconds(static_cast<long>(20000 * TestPatience()));
}

int Deadline::LeftMs() const {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      mEnd - std::chrono::steady_clock::now());
  if (left.count() > 0) return static_cast<int>(left.count());
  return IsOver() ? 0 : 1;
}

HangGuard::HangGuard() { alarm(static_cast<unsigned>(TestTimeout().count() / 1000 + 1)); }

HangGuard::~HangGuard() { alarm(0); }
