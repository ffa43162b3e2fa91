// Browsers' ends of many WebSockets, or stations' of many plain connections.
#ifndef BENCH_GATEWAY_CLIENTS_H_
#define BENCH_GATEWAY_CLIENTS_H_

#include <string>
#include <vector>

#include "bench/gateway/Host.h"

enum class Speech {
  kTcp,        // Framed texts, without a relay.
  kRawFrames,  // Framed texts in binary frames, as they are.
  kPageFrames  // What pages and gateway say to each other.
};

struct Received {
  std::size_t mMessages = 0;
  std::vector<double> mLatenciesUs;

  double PercentileUs(double percent);
};

class Clients {
 public:
  Clients(Speech speech, const Host& host) : mSpeech(speech), mHost(host) {}
  ~Clients();
  Clients(const Clients&) = delete;
  Clients& operator=(const Clients&) = delete;

  // Connects one client and logs it in by its number. False when it cannot.
  bool Add(int port);
  // Takes what comes for so long.
  Received Take(std::chrono::milliseconds time);

 private:
  struct Client {
    int mFd = -1;
    std::string mBytes;
  };

  void TakeMessages(std::size_t number, Received& received);

  const Speech mSpeech;
  const Host& mHost;
  int mPoll = -1;
  std::vector<Client> mClients;
};

#endif  // BENCH_GATEWAY_CLIENTS_H_
