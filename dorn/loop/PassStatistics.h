// Counts and times the passes of loops. Internal: not installed. Any thread: a process may have
// more than one loop.
#ifndef DORN_LOOP_PASSSTATISTICS_H_
#define DORN_LOOP_PASSSTATISTICS_H_

#include <atomic>
#include <chrono>
#include <cstdint>

namespace dorn {

struct PassStatistics {
  std::atomic<std::uint64_t> passes{0};
  std::atomic<bool> isTimed{false};  // Until somebody asks, no clock is read.
  std::atomic<std::uint64_t> longestUs{0};
};

// Those of the whole process.
PassStatistics& Passes();

// Times one pass without its wait, if passes are timed.
class PassTimer {
 public:
  PassTimer() : mIsTimed(Passes().isTimed.load(std::memory_order_relaxed)) {
    Passes().passes.fetch_add(1, std::memory_order_relaxed);
    Go();
  }
  ~PassTimer() {
    if (!mIsTimed) return;
    Pause();
    std::uint64_t longest = Passes().longestUs.load(std::memory_order_relaxed);
    while (mWorkedUs > longest && !Passes().longestUs.compare_exchange_weak(
                                      longest, mWorkedUs, std::memory_order_relaxed)) {
    }
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
