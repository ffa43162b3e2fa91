// A relay as a process, and what it costs.
#ifndef BENCH_GATEWAY_RELAY_H_
#define BENCH_GATEWAY_RELAY_H_

#include <sys/types.h>

#include <string>
#include <vector>

// Runs from construction to destruction, with all processes that it starts.
class Relay {
 public:
  // "%p" in the arguments is the port on which it listens.
  explicit Relay(std::vector<std::string> arguments);
  ~Relay();
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;

  int Port() const { return mPort; }
  // Waits until it accepts connections.
  bool IsReady() const;

  // Of all its processes.
  double CpuSeconds() const;
  // Memory that they have for themselves, shared pages divided among those that share them.
  long MemoryKb() const;

 private:
  std::vector<pid_t> Processes() const;

  int mPort = 0;
  pid_t mPid = -1;
};

#endif  // BENCH_GATEWAY_RELAY_H_
