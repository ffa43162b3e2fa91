#include "tools/dorn-gateway/Listener.h"

#include <utility>

#include "tools/dorn-gateway/HttpSession.h"
#include "tools/dorn-gateway/Tls.h"

namespace dorn::gateway {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

// Until descriptors may be free again.
constexpr Ms kPause{100};

}  // namespace

std::string Listener::Open() {
  const Options& options = mShared.mOptions;
  const auto address = ReadAddress(options.mListen.mHost);
  if (!address) return "cannot listen on " + options.mListen.mHost + ": it is no address";
  if (options.mCertificate.empty() != options.mKey.empty()) {
    return "TLS takes both --cert and --key";
  }
  if (!options.mCertificate.empty()) {
    std::string why;
    mTls = LoadTls(options.mCertificate, options.mKey, why);
    if (!mTls) return why;
  }
  if (!mTls && !address->is_loopback() && !options.mIsInsecure) {
    return "passwords would cross the network in clear: listen on 127.0.0.1 behind a proxy that "
           "speaks TLS, give --cert and --key, or say --insecure";
  }
  const tcp::endpoint endpoint(*address, options.mListen.mPort);
  boost::system::error_code error;
  mAcceptor.open(endpoint.protocol(), error);
  if (!error) mAcceptor.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) mAcceptor.bind(endpoint, error);
  if (!error) mAcceptor.listen(asio::socket_base::max_listen_connections, error);
  if (error) {
    return "cannot listen on " + WrittenEndpoint(options.mListen.mHost, options.mListen.mPort) +
           ": " + error.message();
  }
  Accept();
  return "";
}

void Listener::Close() {
  boost::system::error_code ignored;
  mAcceptor.close(ignored);
  mPause.cancel();
}

void Listener::ReloadCertificate() {
  if (!mTls) return;
  std::string why;
  if (auto fresh = LoadTls(mShared.mOptions.mCertificate, mShared.mOptions.mKey, why); fresh) {
    mTls = std::move(fresh);
    mShared.mLog.Info("certificate read anew");
  } else {
    mShared.mLog.Error("the old certificate stays", {{"why", why}});
  }
}

unsigned short Listener::Port() const {
  boost::system::error_code ignored;
  return mAcceptor.local_endpoint(ignored).port();
}

std::string Listener::Url() const {
  return (mTls ? "https://" : "http://") + WrittenEndpoint(mShared.mOptions.mListen.mHost, Port()) +
         "/";
}

void Listener::Accept() {
  mAcceptor.async_accept(mNext, mNextPeer,
                         [this](const boost::system::error_code& error) { OnAccepted(error); });
}

void Listener::OnAccepted(const boost::system::error_code& error) {
  if (!mAcceptor.is_open()) return;
  if (error) {
    mShared.mLog.Error("cannot accept a connection", {{"why", error.message()}});
    mPause.expires_after(kPause);
    mPause.async_wait([this](const boost::system::error_code& stopped) {
      if (!stopped && mAcceptor.is_open()) Accept();
    });
    return;
  }
  TcpSocket socket = std::exchange(mNext, TcpSocket(mShared.mIo));
  if (const int bytes = mShared.mOptions.mLimits.mSendBuffer; bytes > 0) {
    boost::system::error_code ignored;
    socket.set_option(asio::socket_base::send_buffer_size(bytes), ignored);
  }
  if (auto slot = TakeSlot(Plain(mNextPeer.address())); slot)
    ServeHttp(mShared, std::move(socket), mTls, std::move(slot));
  Accept();
}

// Whether all the connections may be of this address.
bool Listener::IsSpared(const Address& peer) const {
  return (mShared.mOptions.mLimits.mIsLoopbackSpared && peer.is_loopback()) ||
         IsIn(mShared.mTrustedProxies, peer);
}

// Null when there are as many connections as are allowed: then this one is closed.
std::shared_ptr<void> Listener::TakeSlot(const Address& peer) {
  Metrics& metrics = mShared.mMetrics;
  const Limits& limits = mShared.mOptions.mLimits;
  std::string place = PlaceOf(peer);
  const auto known = mShared.mConnectionsOf.find(place);
  const std::size_t ofPlace = known == mShared.mConnectionsOf.end() ? 0 : known->second;
  if (metrics.mConnections >= limits.mConnections ||
      (ofPlace >= limits.mConnectionsOfPlace && !IsSpared(peer))) {
    ++metrics.mRejected;
    return nullptr;
  }
  ++metrics.mConnections;
  ++mShared.mConnectionsOf[place];
  return {&mShared, [place = std::move(place)](Shared* shared) {
            --shared->mMetrics.mConnections;
            const auto counted = shared->mConnectionsOf.find(place);
            if (--counted->second == 0) shared->mConnectionsOf.erase(counted);
          }};
}

}  // namespace dorn::gateway
