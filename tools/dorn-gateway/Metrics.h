// What a gateway counts, and the text in which it tells.
#ifndef TOOLS_DORN_GATEWAY_METRICS_H_
#define TOOLS_DORN_GATEWAY_METRICS_H_

#include <array>
#include <cstdint>
#include <string>

#include "station/Reader.h"

namespace dorn::gateway {

// Written and read on the gateway's thread. "In" is what comes from pages and goes to the host,
// "out" what pages get.
struct Metrics {
  static constexpr std::array<double, 13> kFenceBounds{
      0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5};

  void CountText(station::Reading reading);
  void CountFence(double seconds);

  // In the text format that Prometheus reads.
  std::string Text() const;

  std::uint64_t mPages = 0;            // Open WebSockets.
  std::uint64_t mHostConnections = 0;  // Open or being opened.
  std::uint64_t mQueuedBytes = 0;      // That wait for pages.
  std::uint64_t mConnections = 0;      // From browsers, of all kinds.

  std::uint64_t mPagesTotal = 0;
  std::uint64_t mMessagesIn = 0;
  std::uint64_t mMessagesOut = 0;
  std::uint64_t mBytesIn = 0;
  std::uint64_t mBytesOut = 0;
  std::uint64_t mRefused = 0;  // Texts of pages.
  std::uint64_t mLogIns = 0;   // Good ones.
  std::uint64_t mLogInFailures = 0;
  std::uint64_t mReconnects = 0;  // Connections to the host that went on with a session.
  std::uint64_t mHostLosses = 0;  // Connections to the host that were lost or not opened.
  std::uint64_t mDeadPages = 0;
  std::uint64_t mSlowPages = 0;
  std::uint64_t mRejected = 0;  // Connections and WebSockets beyond a limit.
  bool mIsHostUp = false;

 private:
  std::array<std::uint64_t, 3> mTexts{};  // By station::Reading.
  std::array<std::uint64_t, kFenceBounds.size() + 1> mFences{};
  double mFenceSum = 0;
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_METRICS_H_
