// Asks a host that nobody uses whether it answers.
#ifndef TOOLS_DORN_GATEWAY_HOSTPROBE_H_
#define TOOLS_DORN_GATEWAY_HOSTPROBE_H_

#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <string>
#include <string_view>

#include "tools/dorn-gateway/HostConnection.h"

namespace dorn::gateway {

// A connection that a stopped host's kernel accepts says nothing: the question is a HELLO that
// names nobody. The host answers it at once with an error, and counts no wrong password, as there
// was none.
class HostProbe : public HostConnection::Owner {
 public:
  explicit HostProbe(Shared& shared) : mShared(shared), mTimer(shared.mIo) {}
  ~HostProbe() override;
  HostProbe(const HostProbe&) = delete;
  HostProbe& operator=(const HostProbe&) = delete;

  // Asks at once, and then again and again until Stop().
  void Start();
  void Stop();

  // While pages have connections to the host, these tell.
  bool IsAsking() const { return mConnection != nullptr; }

 private:
  void OnHostUp() override;
  void OnHostBytes(std::string_view bytes) override;
  void OnHostDown(const std::string& why) override;

  void Ask();
  void Wait();
  void Told(bool isUp, std::string_view why);

  Shared& mShared;
  boost::asio::steady_timer mTimer;
  std::shared_ptr<HostConnection> mConnection;
  bool mHasTold = false;
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_HOSTPROBE_H_
