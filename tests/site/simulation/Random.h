// The same numbers for the same seed, on every machine.
#ifndef TESTS_SITE_SIMULATION_RANDOM_H_
#define TESTS_SITE_SIMULATION_RANDOM_H_

#include <chrono>
#include <cstdint>

namespace dorn::site::simulation {

class Random {
 public:
  explicit Random(std::uint64_t seed) : mState(seed) {}

  std::uint64_t Next() {
    mState += 0x9e3779b97f4a7c15U;
    std::uint64_t mixed = mState;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9U;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebU;
    return mixed ^ (mixed >> 31);
  }

  // Of `least` to `most`, both included.
  int Of(int least, int most) {
    return least + static_cast<int>(Next() % static_cast<std::uint64_t>(most - least + 1));
  }
  std::chrono::milliseconds Ms(int least, int most) {
    return std::chrono::milliseconds(Of(least, most));
  }
  bool Chance(int perThousand) { return Of(0, 999) < perThousand; }

 private:
  std::uint64_t mState;
};

}  // namespace dorn::site::simulation

#endif  // TESTS_SITE_SIMULATION_RANDOM_H_
