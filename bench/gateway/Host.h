// A host that sends each station ten updates a second, and remembers when.
#ifndef BENCH_GATEWAY_HOST_H_
#define BENCH_GATEWAY_HOST_H_

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

using Clock = std::chrono::steady_clock;

// The stations' turns are spread over the tenth of a second; the text of one round is the same for
// all. A station says which one it is by its user name, a number.
class Host {
 public:
  static constexpr std::size_t kMaxStations = 1000;
  static constexpr int kRounds = 16;  // Of which the times are kept.

  Host();
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  int Port() const { return mPort; }
  std::size_t LoggedIn() const { return mLoggedIn; }
  // From now on there are updates.
  void StartUpdates() { mIsSending = true; }
  // When this round's text was sent to this station.
  Clock::time_point SentAt(std::size_t station, int round) const {
    return Clock::time_point(
        Clock::duration(mSent[station][static_cast<std::size_t>(round % kRounds)].load()));
  }

 private:
  void Run();
  void Accept();
  void Serve(int fd);
  void SendRound(int round);

  int mListener = -1;
  int mPort = 0;
  int mPoll = -1;
  std::atomic<bool> mEnds{false};
  std::atomic<bool> mIsSending{false};
  std::atomic<std::size_t> mLoggedIn{0};
  std::vector<int> mAccepted;
  std::array<int, kMaxStations> mStations{};  // Descriptors; 0: none.
  std::array<std::array<std::atomic<std::int64_t>, kRounds>, kMaxStations> mSent{};
  std::thread mThread;
};

// The number of the round that an update belongs to, found in any of its forms; -1: no update.
int RoundOf(const std::string& message);

#endif  // BENCH_GATEWAY_HOST_H_
