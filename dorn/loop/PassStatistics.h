// Counts and times the passes of loops. Internal: not installed. For the thread of the loop.
#ifndef DORN_LOOP_PASSSTATISTICS_H_
#define DORN_LOOP_PASSSTATISTICS_H_

#include <chrono>
#include <cstdint>

namespace dorn {

struct PassStatistics {
  std::uint64_t passes = 0;
  bool isTimed = false;  // Until somebody asks, no clock is read.
  std::uint64_t longestUs = 0;
};

// Those of the whole process.
PassStatistics& Passes();

// Times one pass without its wait, if passes are timed.
class PassTimer {
 public:
  PassTimer() : mIsTimed(Passes().isTimed) {
    ++Passes().passes;
    Go();
  }
  ~PassTimer() {
    Pause();
    if (mWorkedUs > Passes().longestUs) Passes().longestUs = mWorkedUs;
  }

  PassTimer(const PassTimer&) = delete;
  PassTimer& operator=(const PassTimer&) = delete;

  void Pause() {
    if (!mIsTimed) return;
    const auto worked = std::chrono::steady_clock::now() - mSince;
    mWorkedUs += static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(worked).count());
    mSince += worked;
  }
  void Go() {
    if (mIsTimed) mSince = std::chrono::steady_clock::now();
  }

 private:
  bool mIsTimed;
  std::chrono::steady_clock::time_point mSince;
  std::uint64_t mWorkedUs = 0;
};

}  // namespace dorn

#endif  // DORN_LOOP_PASSSTATISTICS_H_
