// A gateway in a thread of its own, as tests need it.
#ifndef TESTS_GATEWAY_RUNNINGGATEWAY_H_
#define TESTS_GATEWAY_RUNNINGGATEWAY_H_

#include <cstdio>
#include <memory>
#include <string>

#include "tools/dorn-gateway/Metrics.h"
#include "tools/dorn-gateway/Options.h"

// Runs from construction to destruction, on a port that the system chooses. Its log goes to a file
// that nobody sees unless he asks.
class RunningGateway {
 public:
  // What tests usually want: ticks of 10 ms and no questions to the host.
  static dorn::gateway::Options OptionsFor(int hostPort);

  explicit RunningGateway(const dorn::gateway::Options& options);
  explicit RunningGateway(int hostPort) : RunningGateway(OptionsFor(hostPort)) {}
  ~RunningGateway();
  RunningGateway(const RunningGateway&) = delete;
  RunningGateway& operator=(const RunningGateway&) = delete;

  // Why it could not start; empty when it did.
  const std::string& WhyNot() const { return mWhyNot; }
  int Port() const { return mPort; }
  // As of some moment since the call.
  dorn::gateway::Metrics Metrics();
  std::size_t Conversions();
  // A copy of what it has logged so far.
  std::string Logged() const;

  // Begins to stop, and waits until it has.
  void Stop();
  void BeginStop();
  void ReloadCertificate();

 private:
  struct Running;

  std::FILE* mLogFile;
  std::unique_ptr<Running> mRunning;
  std::string mWhyNot;
  int mPort = 0;
};

#endif  // TESTS_GATEWAY_RUNNINGGATEWAY_H_
