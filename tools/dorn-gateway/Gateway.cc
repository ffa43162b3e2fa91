#include "tools/dorn-gateway/Gateway.h"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <vector>

#include "tools/dorn-gateway/PageSession.h"

namespace dorn::gateway {

namespace {

// Standard streams, the listener, the reactor's own, and files while they are read.
constexpr std::size_t kOwnDescriptors = 64;

}  // namespace

bool RaiseDescriptorLimit(const Limits& limits) {
  const rlim_t wanted = limits.mConnections + limits.mLoggedIn + kOwnDescriptors;
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return false;
  if (limit.rlim_cur >= wanted) return true;
  limit.rlim_cur = std::min(wanted, limit.rlim_max);
  return setrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur >= wanted;
}

Gateway::Gateway(const Options& options, Log& log)
    : mShared(options, log),
      mListener(mShared),
      mProbe(mShared),
      mSignals(mShared.mIo),
      mTicks(mShared.mIo) {}

// What is still under way holds references to the rest: it goes first.
Gateway::~Gateway() {
  mListener.Close();
  mProbe.Stop();
  mShared.mPages.clear();
}

std::string Gateway::Start() {
  std::string why = mListener.Open();
  if (!why.empty()) return why;
  if (!RaiseDescriptorLimit(mShared.mOptions.mLimits)) {
    mShared.mLog.Warn("fewer descriptors than the limits of pages need; raise the hard limit");
  }
  mProbe.Start();
  Tick();
  return "";
}

void Gateway::HandleSignals() {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    boost::system::error_code ignored;
    mSignals.add(signal, ignored);
  }
  AwaitSignal();
}

void Gateway::AwaitSignal() {
  mSignals.async_wait([this](const boost::system::error_code& error, int signal) {
    if (error) return;
    if (signal == SIGHUP) {
      mListener.ReloadCertificate();
    } else {
      BeginStop();
    }
    AwaitSignal();
  });
}

void Gateway::Run() { mShared.mIo.run(); }

void Gateway::Stop() {
  Post([this] { BeginStop(); });
}

void Gateway::ReloadCertificate() {
  Post([this] { mListener.ReloadCertificate(); });
}

void Gateway::Tick() {
  const Ms now = mShared.Now();
  const std::vector<std::shared_ptr<PageSession>> pages(mShared.mPages.begin(),
                                                        mShared.mPages.end());
  for (const auto& page : pages) page->Tick(now);
  if (mShared.mIsStopping && (mShared.mPages.empty() || now >= mStopBy)) return EndStop();
  mTicks.expires_after(mShared.mIsStopping ? std::min(mShared.mOptions.mTimes.mTick, Ms(50))
                                           : mShared.mOptions.mTimes.mTick);
  mTicks.async_wait([this](const boost::system::error_code& error) {
    if (!error || mShared.mIsStopping) Tick();
  });
}

// A second signal ends it at once.
void Gateway::BeginStop() {
  if (mShared.mIsStopping) return EndStop();
  mShared.mLog.Info("stopping");
  mShared.mIsStopping = true;
  mStopBy = mShared.Now() + mShared.mOptions.mTimes.mClose;
  mListener.Close();
  mProbe.Stop();
  for (const auto& page :
       std::vector<std::shared_ptr<PageSession>>(mShared.mPages.begin(), mShared.mPages.end())) {
    page->Stop();
  }
  mTicks.cancel();
}

void Gateway::EndStop() {
  mShared.mLog.Info("stopped");
  mShared.mIo.stop();
}

}  // namespace dorn::gateway
