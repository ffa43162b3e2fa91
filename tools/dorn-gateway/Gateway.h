// A gateway: serves the page and its WebSockets, and speaks to one host.
#ifndef TOOLS_DORN_GATEWAY_GATEWAY_H_
#define TOOLS_DORN_GATEWAY_GATEWAY_H_

#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <string>
#include <utility>

#include "tools/dorn-gateway/HostProbe.h"
#include "tools/dorn-gateway/Listener.h"
#include "tools/dorn-gateway/Shared.h"

namespace dorn::gateway {

// Runs on the thread that calls Run().
class Gateway {
 public:
  // `log` must outlive it.
  Gateway(const Options& options, Log& log);
  ~Gateway();

  // Listens from now on. Why it cannot; empty when it does.
  std::string Start();
  // SIGTERM and SIGINT stop it in order, SIGHUP reads the certificate anew.
  void HandleSignals();
  // Returns when all pages are closed after Stop().
  void Run();

  // From any thread. Tells the pages, and closes them.
  void Stop();
  void ReloadCertificate();
  // Calls it on the thread of Run().
  template <class Call>
  void Post(Call&& call) {
    boost::asio::post(mShared.mIo, std::forward<Call>(call));
  }

  std::string Url() const { return mListener.Url(); }
  unsigned short Port() const { return mListener.Port(); }
  // On the thread of Run() alone, or while it is not running.
  const Metrics& GetMetrics() const { return mShared.mMetrics; }
  std::size_t Conversions() const { return mShared.mConversion.Conversions(); }

 private:
  void AwaitSignal();
  void Tick();
  void BeginStop();
  void EndStop();

  Shared mShared;
  Listener mListener;
  HostProbe mProbe;
  boost::asio::signal_set mSignals;
  boost::asio::steady_timer mTicks;
  Ms mStopBy{0};
};

// Takes as many descriptors as the limits need, as far as the system allows. False when it does
// not allow so many.
bool RaiseDescriptorLimit(const Limits& limits);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_GATEWAY_H_
