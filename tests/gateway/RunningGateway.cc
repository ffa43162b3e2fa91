#include "tests/gateway/RunningGateway.h"

#include <future>
#include <thread>

#include "tools/dorn-gateway/Gateway.h"

using dorn::gateway::Ms;

struct RunningGateway::Running {
  Running(const dorn::gateway::Options& options, std::FILE* file)
      : mLog(false, file), mGateway(options, mLog) {}

  dorn::gateway::Log mLog;
  dorn::gateway::Gateway mGateway;
  std::thread mThread;
};

dorn::gateway::Options RunningGateway::OptionsFor(int hostPort) {
  dorn::gateway::Options options;
  options.mListen.mPort = 0;
  options.mHost.mPort = static_cast<unsigned short>(hostPort);
  options.mTimes.mTick = Ms(10);
  options.mTimes.mProbe = Ms(0);
  return options;
}

RunningGateway::RunningGateway(const dorn::gateway::Options& options)
    : mLogFile(std::tmpfile()), mRunning(std::make_unique<Running>(options, mLogFile)) {
  mWhyNot = mRunning->mGateway.Start();
  if (!mWhyNot.empty()) return;
  mPort = mRunning->mGateway.Port();
  mRunning->mThread = std::thread([this] { mRunning->mGateway.Run(); });
}

RunningGateway::~RunningGateway() {
  Stop();
  mRunning.reset();
  std::fclose(mLogFile);
}

dorn::gateway::Metrics RunningGateway::Metrics() {
  std::promise<dorn::gateway::Metrics> told;
  mRunning->mGateway.Post([&] { told.set_value(mRunning->mGateway.GetMetrics()); });
  return told.get_future().get();
}

std::size_t RunningGateway::Conversions() {
  std::promise<std::size_t> told;
  mRunning->mGateway.Post([&] { told.set_value(mRunning->mGateway.Conversions()); });
  return told.get_future().get();
}

std::string RunningGateway::Logged() const {
  std::string text;
  char bytes[4096];
  for (long at = 0;; at = static_cast<long>(text.size())) {
    const ssize_t got = pread(fileno(mLogFile), bytes, sizeof bytes, at);
    if (got <= 0) return text;
    text.append(bytes, static_cast<std::size_t>(got));
  }
}

void RunningGateway::Stop() {
  if (!mRunning->mThread.joinable()) return;
  BeginStop();
  mRunning->mThread.join();
}

void RunningGateway::BeginStop() { mRunning->mGateway.Stop(); }

void RunningGateway::ReloadCertificate() { mRunning->mGateway.ReloadCertificate(); }
