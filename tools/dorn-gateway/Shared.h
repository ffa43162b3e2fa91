// What all parts of a running gateway have in common. One thread, no locks.
#ifndef TOOLS_DORN_GATEWAY_SHARED_H_
#define TOOLS_DORN_GATEWAY_SHARED_H_

#include <array>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tools/dorn-gateway/Addresses.h"
#include "tools/dorn-gateway/Conversion.h"
#include "tools/dorn-gateway/Log.h"
#include "tools/dorn-gateway/LoginDelay.h"
#include "tools/dorn-gateway/Metrics.h"
#include "tools/dorn-gateway/Options.h"
#include "tools/dorn-gateway/PageFiles.h"
#include "tools/dorn-gateway/WaitingFrames.h"

namespace dorn::gateway {

class PageSession;
class WebSocketLine;

struct Shared {
  Shared(const Options& options, Log& log)
      : mOptions(options),
        mLog(log),
        mConversion(options.mReading),
        mLoginDelay(options.mTimes.mLogInDelay, options.mTimes.mLogInQueue),
        mFiles(mOptions),
        mTrustedProxies(ReadNetworks(options.mTrustedProxies)),
        mMetricsFrom(ReadNetworks(options.mMetricsFrom)) {}

  Ms Now() const {
    return std::chrono::duration_cast<Ms>(std::chrono::steady_clock::now().time_since_epoch());
  }

  const Options mOptions;
  Log& mLog;
  Metrics mMetrics;
  WaitingFrames mWaiting;
  Conversion mConversion;
  LoginDelay mLoginDelay;
  PageFiles mFiles;
  const std::vector<Network> mTrustedProxies;
  const std::vector<Network> mMetricsFrom;
  std::unordered_set<std::shared_ptr<PageSession>> mPages;
  std::unordered_set<WebSocketLine*> mLines;                    // That live, in whatever state.
  std::unordered_map<std::string, std::size_t> mConnectionsOf;  // Of each place that has any.
  bool mIsStopping = false;
  // Into which long texts of hosts are read, and from which they are gone before the next are: a
  // connection's own room is small.
  std::array<char, 65536> mHostBytes{};
  // The last one: what is under way when it dies still counts itself out above.
  boost::asio::io_context mIo{1};
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_SHARED_H_
