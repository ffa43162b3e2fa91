// The library's only reading of the clock, so that tests can put made-up instants in its place.
// Internal: not installed. Any thread.
#ifndef DORN_BASE_CLOCK_H_
#define DORN_BASE_CLOCK_H_

#include <sys/time.h>

namespace dorn {

using ClockFunction = timeval (*)();

// The wall clock (gettimeofday), or what the last SetClock() installed.
timeval Now();

// Replaces the clock and returns the previous replacement; null is the wall clock itself.
// For tests only.
ClockFunction SetClock(ClockFunction replacement);

}  // namespace dorn

#endif  // DORN_BASE_CLOCK_H_
