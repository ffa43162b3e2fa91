// Many peers of one server, served by this thread.
#ifndef BENCH_FANOUT_CROWD_H_
#define BENCH_FANOUT_CROWD_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/fanout/Protocol.h"

using Clock = std::chrono::steady_clock;

// The peers that receive, connected and entered one after the other. Ends the program with a line
// on standard error when the server does not answer for ten seconds.
class Crowd {
 public:
  Crowd(int port, int peers, std::vector<Step> (*enter)(int));
  ~Crowd();

  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  int Size() const { return static_cast<int>(mPeers.size()); }
  int Descriptor(int peer) const { return mPeers[static_cast<std::size_t>(peer)].fd; }

  // Waits until every peer got `bytes` more than at the last call. Returns when the last one did.
  Clock::time_point AwaitAll(std::size_t bytes);

  // Keeps a question of each of the first `active` peers under way until `total` answers of
  // `answerBytes` have come.
  void Converse(int active, int total, std::size_t answerBytes, std::string (*question)(int));

 private:
  struct Peer {
    int fd;
    std::size_t got;
  };

  int mEpoll;
  std::vector<Peer> mPeers;
  std::size_t mAwaited = 0;
};

// Goes through the steps of entering on a blocking connection.
void EnterBy(int fd, const std::vector<Step>& steps);

void WriteAll(int fd, const std::string& bytes);

// Reads and drops what has arrived.
void Discard(int fd);

[[noreturn]] void Fail(const std::string& reason);

#endif  // BENCH_FANOUT_CROWD_H_
