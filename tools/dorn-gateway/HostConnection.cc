#include "tools/dorn-gateway/HostConnection.h"

#include <netinet/in.h>

#include <boost/asio/write.hpp>
#include <utility>

namespace dorn::gateway {

namespace asio = boost::asio;

namespace {

// The kernel chooses the port when it knows the other end: the same one may serve many times.
using BindAddressNoPort = asio::detail::socket_option::boolean<IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT>;

// After so much from one host the other connections come first.
constexpr int kReadsInARow = 4;

}  // namespace

HostConnection::HostConnection(Shared& shared, Owner& owner)
    : mShared(shared), mOwner(&owner), mSocket(shared.mIo), mTimer(shared.mIo) {
  ++mShared.mMetrics.mHostConnections;
}

HostConnection::~HostConnection() { Close(); }

std::string HostConnection::Named() const {
  const Endpoint& host = mShared.mOptions.mHost;
  return "the host at " + WrittenEndpoint(host.mHost, host.mPort);
}

void HostConnection::Connect(const Address& browser) {
  mBrowser = browser;
  mTimer.expires_after(mShared.mOptions.mTimes.mConnect);
  mTimer.async_wait([self = shared_from_this()](const Error& error) {
    if (!error && !self->mIsUp) self->Fail(self->Named() + " does not answer");
  });
  const Endpoint& host = mShared.mOptions.mHost;
  if (const auto address = ReadAddress(host.mHost); address) {
    ConnectTo({*address, host.mPort});
  } else {
    Resolve();
  }
}

void HostConnection::Resolve() {
  const Endpoint& host = mShared.mOptions.mHost;
  mResolver = std::make_unique<Tcp::resolver>(mShared.mIo);
  mResolver->async_resolve(
      host.mHost, std::to_string(host.mPort),
      [self = shared_from_this()](const Error& error, const Tcp::resolver::results_type& found) {
        if (self->mOwner == nullptr) return;
        if (error) return self->Fail(self->Named() + " has no address: " + error.message());
        Tcp::endpoint first = found.begin()->endpoint();
        for (const auto& entry : found) {
          // The library listens on IPv4.
          if (entry.endpoint().address().is_v4()) {
            first = entry.endpoint();
            break;
          }
        }
        self->ConnectTo(first);
      });
}

void HostConnection::BindFor(const Tcp::endpoint& host) {
  if (!mShared.mOptions.mIsSourceDerived || !host.address().is_v4() ||
      !host.address().is_loopback()) {
    return;
  }
  Error ignored;  // Without its own source address a page can be served as well.
  mSocket.set_option(BindAddressNoPort(true), ignored);
  mSocket.bind({DerivedLoopback(mBrowser), 0}, ignored);
}

void HostConnection::ConnectTo(const Tcp::endpoint& host) {
  Error error;
  mSocket.open(host.protocol(), error);
  if (error) return OnConnected(error);
  BindFor(host);
  mSocket.async_connect(
      host, [self = shared_from_this()](const Error& result) { self->OnConnected(result); });
}

void HostConnection::OnConnected(const Error& error) {
  if (mOwner == nullptr) return;
  if (error) return Fail(Named() + " cannot be reached: " + error.message());
  mTimer.cancel();
  mIsUp = true;
  Error ignored;
  mSocket.set_option(Tcp::no_delay(true), ignored);
  mSocket.non_blocking(true, ignored);
  AwaitBytes();
  mOwner->OnHostUp();
}

// Waiting for bytes and then reading them would take two more system calls for each text.
void HostConnection::AwaitBytes() {
  mSocket.async_read_some(asio::buffer(mBytes),
                          [self = shared_from_this()](const Error& error, std::size_t got) {
                            if (self->Take(error, {self->mBytes.data(), got}) &&
                                (got < self->mBytes.size() || self->ReadMore())) {
                              self->AwaitBytes();
                            }
                          });
}

// A long text, in larger pieces.
bool HostConnection::ReadMore() {
  for (int reads = 0; reads < kReadsInARow; ++reads) {
    Error error;
    const std::size_t got = mSocket.read_some(asio::buffer(mShared.mHostBytes), error);
    if (error == asio::error::would_block) return true;
    if (!Take(error, {mShared.mHostBytes.data(), got})) return false;
    if (got < mShared.mHostBytes.size()) return true;
  }
  return true;
}

// False when nothing more is to be read.
bool HostConnection::Take(const Error& error, std::string_view bytes) {
  if (mOwner == nullptr) return false;
  if (error) {
    Fail(error == asio::error::eof
             ? Named() + " has closed the connection"
             : "the connection to " + Named() + " is broken: " + error.message());
    return false;
  }
  mOwner->OnHostBytes(bytes);
  return mOwner != nullptr;
}

// Most texts go at once and whole.
bool HostConnection::Send(std::string_view bytes) {
  if (!mIsUp) return false;
  if (mWriting.size() + mWaiting.size() + bytes.size() > mShared.mOptions.mLimits.mHostQueue &&
      !mWriting.empty()) {
    return false;
  }
  if (!mWriting.empty()) {
    mWaiting += bytes;
    return true;
  }
  Error error;
  const std::size_t sent = mSocket.write_some(asio::buffer(bytes.data(), bytes.size()), error);
  // A broken connection shows when it is read.
  if (error && error != asio::error::would_block) return true;
  if (sent == bytes.size()) return true;
  mWriting = bytes.substr(sent);
  Write();
  return true;
}

void HostConnection::Write() {
  asio::async_write(mSocket, asio::buffer(mWriting),
                    [self = shared_from_this()](const Error& error, std::size_t) {
                      self->mWriting.clear();
                      if (error || self->mOwner == nullptr || self->mWaiting.empty()) return;
                      self->mWriting = std::exchange(self->mWaiting, {});
                      self->Write();
                    });
}

void HostConnection::Fail(const std::string& why) {
  Owner* const owner = mOwner;
  if (owner == nullptr) return;
  const auto self = shared_from_this();
  Close();
  owner->OnHostDown(why);
}

void HostConnection::Close() {
  if (mOwner == nullptr) return;
  mOwner = nullptr;
  mIsUp = false;
  --mShared.mMetrics.mHostConnections;
  mTimer.cancel();
  if (mResolver) mResolver->cancel();
  Error ignored;
  mSocket.close(ignored);
}

}  // namespace dorn::gateway
