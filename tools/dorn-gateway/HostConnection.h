// One TCP connection to the host.
#ifndef TOOLS_DORN_GATEWAY_HOSTCONNECTION_H_
#define TOOLS_DORN_GATEWAY_HOSTCONNECTION_H_

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <string>
#include <string_view>

#include "tools/dorn-gateway/Shared.h"

namespace dorn::gateway {

// Connects once and is then used up. Lives as long as an operation of it is under way.
class HostConnection : public std::enable_shared_from_this<HostConnection> {
 public:
  class Owner {
   public:
    virtual ~Owner() = default;
    virtual void OnHostUp() = 0;
    // The view holds during the call.
    virtual void OnHostBytes(std::string_view bytes) = 0;
    // The last call. `why` is for people.
    virtual void OnHostDown(const std::string& why) = 0;
  };

  HostConnection(Shared& shared, Owner& owner);
  ~HostConnection();
  HostConnection(const HostConnection&) = delete;
  HostConnection& operator=(const HostConnection&) = delete;

  // `browser` decides where the connection comes from when the host is on loopback.
  void Connect(const Address& browser);
  // False, and nothing is sent, when too much waits already.
  [[nodiscard]] bool Send(std::string_view bytes);
  // The owner hears nothing more.
  void Close();

  bool IsUp() const { return mIsUp; }

 private:
  using Tcp = boost::asio::ip::tcp;
  using Error = boost::system::error_code;

  void Resolve();
  void ConnectTo(const Tcp::endpoint& host);
  void BindFor(const Tcp::endpoint& host);
  void OnConnected(const Error& error);
  void AwaitBytes();
  bool ReadMore();
  bool Take(const Error& error, std::string_view bytes);
  void Write();
  void Fail(const std::string& why);
  std::string Named() const;

  Shared& mShared;
  Owner* mOwner;  // Null when it is to hear nothing more.
  boost::asio::basic_stream_socket<Tcp, boost::asio::io_context::executor_type> mSocket;
  boost::asio::steady_timer mTimer;
  std::unique_ptr<Tcp::resolver> mResolver;
  Address mBrowser;
  bool mIsUp = false;
  std::array<char, 2048> mBytes{};
  std::string mWaiting;  // Behind what is being written.
  std::string mWriting;
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_HOSTCONNECTION_H_
