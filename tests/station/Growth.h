// How the time that something takes grows with the number of objects.
#ifndef TESTS_STATION_GROWTH_H_
#define TESTS_STATION_GROWTH_H_

#include <algorithm>
#include <ctime>

namespace dorn::station {

// Eight times as many objects take eight times as long, and 64 times if each is paid for by all.
inline constexpr double kMostGrowth = 24;

// Seconds of this thread, which do not count what else the machine does. The best of a few.
template <typename Act>
double SecondsOf(const Act& act) {
  double best = 1e9;
  for (int i = 0; i < 5; ++i) {
    timespec before{};
    timespec after{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
    act();
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
    best = std::min(best, static_cast<double>(after.tv_sec - before.tv_sec) +
                              static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9);
  }
  return best;
}

}  // namespace dorn::station

#endif  // TESTS_STATION_GROWTH_H_
