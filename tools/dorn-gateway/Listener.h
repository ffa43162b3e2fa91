// Accepts the connections of browsers.
#ifndef TOOLS_DORN_GATEWAY_LISTENER_H_
#define TOOLS_DORN_GATEWAY_LISTENER_H_

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <string>

#include "tools/dorn-gateway/Shared.h"
#include "tools/dorn-gateway/Streams.h"

namespace dorn::gateway {

class Listener {
 public:
  explicit Listener(Shared& shared)
      : mShared(shared), mAcceptor(shared.mIo), mNext(shared.mIo), mPause(shared.mIo) {}

  // Why it cannot listen; empty when it does.
  std::string Open();
  void Close();
  // Reads the certificate anew, for connections to come; the old one stays when that fails.
  void ReloadCertificate();

  // "http://127.0.0.1:8080/", with the port that the system chose.
  std::string Url() const;
  unsigned short Port() const;

 private:
  void Accept();
  void OnAccepted(const boost::system::error_code& error);
  std::shared_ptr<void> TakeSlot(const Address& peer);
  bool IsSpared(const Address& peer) const;

  Shared& mShared;
  std::shared_ptr<boost::asio::ssl::context> mTls;
  boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, Executor> mAcceptor;
  TcpSocket mNext;
  boost::asio::ip::tcp::endpoint mNextPeer;
  boost::asio::steady_timer mPause;
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_LISTENER_H_
