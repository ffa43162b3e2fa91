#include "tools/line/Line.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <cstring>
#include <memory>

namespace dorn::tools {

namespace {

// Small enough that one busy line does not keep the others of a loop waiting.
constexpr std::size_t kReadAtOnce = 65536;

struct FreeAddresses {
  void operator()(addrinfo* found) const { freeaddrinfo(found); }
};

const sockaddr* AsSockaddr(const std::string& bytes) {
  return reinterpret_cast<const sockaddr*>(bytes.data());
}

bool WouldWait(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

std::string Seconds(Line::Ms ms) {
  std::string text = std::to_string(ms / 1000);
  if (ms % 1000 != 0) text += "." + std::to_string(1000 + ms % 1000).substr(1);
  return text + " s";
}

}  // namespace

std::int64_t SteadyMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

Addresses::Addresses(const std::string& host, int port) : mHost(host), mPort(port) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  const std::unique_ptr<addrinfo, FreeAddresses> owner(found);
  if (error != 0) {
    mWhyNone = "cannot find host " + host + ": " + gai_strerror(error);
    return;
  }
  for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
    mAll.push_back(
        {each->ai_family, {reinterpret_cast<const char*>(each->ai_addr), each->ai_addrlen}});
  }
}

void Line::Open(const Addresses& addresses, Ms limitMs, Ms now) {
  Close();
  mHost = addresses.mHost;
  mPort = addresses.mPort;
  mLimitMs = limitMs;
  mDeadline = now + limitMs;
  mWhy = addresses.mWhyNone;
  mState = State::kConnecting;
  if (!mWhy.empty()) {
    mFailure = End::kNoSuchHost;
    return;
  }
  mAddresses.assign(addresses.mAll.begin(), addresses.mAll.end());
  TryNext(now);
}

void Line::Close() {
  CloseDescriptor();
  mState = State::kClosed;
  mAddresses.clear();
  mFailure.reset();
  mUnsent.clear();
  mSent = 0;
  mIsDeaf = false;
}

void Line::Send(std::string_view bytes) {
  if (mState == State::kClosed || mIsDeaf || mFailure) return;
  if (Unsent() > kMaxUnsent) {
    mFailure = End::kNotTaken;
    mWhy = Place() + " does not take what it is sent: " + std::to_string(Unsent()) +
           " bytes wait to be sent";
    return;
  }
  mUnsent += bytes;
  if (mState == State::kOpen) SendQueued();
}

short Line::Events() const {
  if (mState == State::kClosed || mFd < 0) return 0;
  if (mState == State::kConnecting) return POLLOUT;
  return static_cast<short>(Unsent() > 0 ? POLLIN | POLLOUT : POLLIN);
}

std::optional<Line::Ms> Line::NextCall() const {
  if (mFailure) return 0;
  if (mState == State::kConnecting) return mAddressDeadline;
  return std::nullopt;
}

int Line::PollTimeout(Ms now) const {
  const std::optional<Ms> next = NextCall();
  if (!next) return -1;
  return static_cast<int>(std::clamp<Ms>(*next - now, 0, INT_MAX));
}

void Line::Ready(short revents, Ms now) {
  if (mFailure) return Finish(*mFailure, std::string(mWhy));
  if (mState == State::kConnecting) {
    if (revents != 0) return EndConnecting(now);
    if (now >= mAddressDeadline) {
      GiveUp(now, "no answer within " + Seconds(mLimitMs));
    }
    return;
  }
  if (mState == State::kClosed || revents == 0) return;
  if ((revents & POLLOUT) != 0) SendQueued();
  if ((revents & ~POLLOUT) != 0) Receive();
}

// Each address gets its share of the time that is left.
void Line::TryNext(Ms now) {
  while (!mAddresses.empty()) {
    mAddressDeadline = now + (mDeadline - now) / static_cast<Ms>(mAddresses.size());
    const Address address = std::move(mAddresses.front());
    mAddresses.pop_front();
    mFd = socket(address.mFamily, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (mFd >= 0) {
      // Texts are short, and somebody waits for what comes of each.
      const int on = 1;
      static_cast<void>(setsockopt(mFd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
      const int result =
          connect(mFd, AsSockaddr(address.mBytes), static_cast<socklen_t>(address.mBytes.size()));
      // A connection that came about at once is writable, which Ready() will see.
      if (result == 0 || errno == EINPROGRESS) return;
    }
    mWhy = std::strerror(errno);
    CloseDescriptor();
  }
  mFailure = End::kCannotConnect;
  mWhy = "cannot connect to " + Place() + ": " + mWhy;
}

void Line::GiveUp(Ms now, const std::string& why) {
  CloseDescriptor();
  mWhy = why;
  TryNext(now);
  if (mFailure) Finish(*mFailure, std::string(mWhy));
}

void Line::EndConnecting(Ms now) {
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(mFd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
  if (error != 0) return GiveUp(now, std::strerror(error));
  mState = State::kOpen;
  mAddresses.clear();
  SendQueued();
  mHooks.OnOpen();
}

// What the host has sent before it stopped receiving is still to be read: an error is told by the
// next Receive(), behind it.
void Line::SendQueued() {
  while (Unsent() > 0) {
    const ssize_t sent = send(mFd, mUnsent.data() + mSent, Unsent(), MSG_NOSIGNAL);
    if (sent < 0) {
      if (WouldWait(errno)) return;
      mIsDeaf = true;
      break;
    }
    mSent += static_cast<std::size_t>(sent);
    if (mSent * 2 >= mUnsent.size()) {
      mUnsent.erase(0, mSent);
      mSent = 0;
    }
  }
  mUnsent.clear();
  mSent = 0;
}

void Line::Receive() {
  std::array<char, kReadAtOnce> bytes;
  const ssize_t got = recv(mFd, bytes.data(), bytes.size(), 0);
  if (got > 0) return mHooks.OnReceive({bytes.data(), static_cast<std::size_t>(got)});
  if (got == 0) return Finish(End::kClosedByHost, "the host closed the connection");
  if (WouldWait(errno)) return;
  Finish(End::kBroken, "the connection to " + Place() + " broke: " + std::strerror(errno));
}

void Line::Finish(End end, const std::string& why) {
  Close();
  mHooks.OnEnd(end, why);
}

void Line::CloseDescriptor() {
  if (mFd >= 0) close(mFd);
  mFd = -1;
}

std::string Line::Place() const { return mHost + " port " + std::to_string(mPort); }

std::optional<HostAndPort> ReadHostAndPort(std::string_view text) {
  std::string_view host = text;
  std::string_view port;
  if (!text.empty() && text.front() == '[') {
    const std::size_t end = text.find(']');
    if (end == std::string_view::npos) return std::nullopt;
    host = text.substr(1, end - 1);
    port = text.substr(end + 1);
  } else if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
    // An IPv6 address without brackets cannot be told from one with a port.
    if (text.find(':', colon + 1) != std::string_view::npos) return std::nullopt;
    host = text.substr(0, colon);
    port = text.substr(colon);
  }
  // No name has any of these, and nobody sees them in what is told about it.
  const bool isName = std::all_of(host.begin(), host.end(),
                                  [](unsigned char byte) { return byte > ' ' && byte != 0x7F; });
  if (host.empty() || !isName) return std::nullopt;
  HostAndPort read{std::string(host), kStationPort};
  if (port.empty()) return read;
  const char* const end = port.data() + port.size();
  const auto result = std::from_chars(port.data() + 1, end, read.mPort);
  const bool isPort = port.front() == ':' && result.ec == std::errc() && result.ptr == end &&
                      read.mPort > 0 && read.mPort <= 65535;
  if (!isPort) return std::nullopt;
  return read;
}

}  // namespace dorn::tools
