#include "bench/gateway/Clients.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "station/Framing.h"

namespace {

// A masked frame; the mask is zero, as nothing here needs protection.
std::string PageFrame(unsigned char opcode, const std::string& text) {
  std::string frame(1, static_cast<char>(0x80 | opcode));
  if (text.size() < 126) {
    frame += static_cast<char>(0x80 | text.size());
  } else {
    frame += '\xFE';
    frame += static_cast<char>(text.size() >> 8);
    frame += static_cast<char>(text.size());
  }
  return frame + std::string(4, '\0') + text;
}

// The end of the frame at the front; 0 when it is not all there.
std::size_t FrameEnd(const std::string& bytes, std::size_t at) {
  if (bytes.size() < at + 2) return 0;
  std::size_t length = static_cast<unsigned char>(bytes[at + 1]) & 0x7F;
  std::size_t head = 2;
  if (length == 126) {
    if (bytes.size() < at + 4) return 0;
    length = static_cast<std::size_t>(static_cast<unsigned char>(bytes[at + 2])) << 8 |
             static_cast<unsigned char>(bytes[at + 3]);
    head = 4;
  }
  const std::size_t end = at + head + length;
  return end <= bytes.size() ? end : 0;
}

bool ReadUntil(int fd, const std::string& part) {
  std::string received;
  char bytes[4096];
  while (received.find(part) == std::string::npos) {
    const ssize_t got = recv(fd, bytes, sizeof bytes, 0);
    if (got <= 0) return false;
    received.append(bytes, static_cast<std::size_t>(got));
  }
  return true;
}

bool SendAll(int fd, const std::string& bytes) {
  return send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

constexpr const char* kRequest =
    "GET /station HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n";

}  // namespace

double Received::PercentileUs(double percent) {
  if (mLatenciesUs.empty()) return 0;
  std::sort(mLatenciesUs.begin(), mLatenciesUs.end());
  const auto at =
      static_cast<std::size_t>(static_cast<double>(mLatenciesUs.size()) * percent / 100);
  return mLatenciesUs[std::min(at, mLatenciesUs.size() - 1)];
}

Clients::~Clients() {
  for (const Client& client : mClients) close(client.mFd);
  if (mPoll >= 0) close(mPoll);
}

bool Clients::Add(int port) {
  if (mPoll < 0) mPoll = epoll_create1(EPOLL_CLOEXEC);
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const std::size_t number = mClients.size();
  mClients.push_back({fd, ""});
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  timeval limit{20, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return false;
  const std::string hello =
      R"({"Command":"HELLO","Id":")" + std::to_string(number) + R"(","Pass":"p"})";
  if (mSpeech == Speech::kTcp) {
    if (!SendAll(fd, dorn::station::Framed(hello))) return false;
  } else {
    const std::string protocol = mSpeech == Speech::kPageFrames ? "dorn.1" : "binary";
    if (!SendAll(fd, kRequest + ("Sec-WebSocket-Protocol: " + protocol) + "\r\n\r\n") ||
        !ReadUntil(fd, "\r\n\r\n"))
      return false;
    if (!SendAll(fd, mSpeech == Speech::kPageFrames ? PageFrame(1, hello)
                                                    : PageFrame(2, dorn::station::Framed(hello))))
      return false;
  }
  if (!ReadUntil(fd, "\"OPEN\"")) return false;
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = number;
  return epoll_ctl(mPoll, EPOLL_CTL_ADD, fd, &event) == 0;
}

Received Clients::Take(std::chrono::milliseconds time) {
  Received received;
  const auto end = Clock::now() + time;
  while (Clock::now() < end) {
    epoll_event events[64];
    const int count = epoll_wait(mPoll, events, 64, 10);
    for (int i = 0; i < count; ++i) {
      Client& client = mClients[events[i].data.u64];
      char bytes[16384];
      const ssize_t got = recv(client.mFd, bytes, sizeof bytes, MSG_DONTWAIT);
      if (got <= 0) {
        epoll_ctl(mPoll, EPOLL_CTL_DEL, client.mFd, nullptr);
        continue;
      }
      client.mBytes.append(bytes, static_cast<std::size_t>(got));
      TakeMessages(events[i].data.u64, received);
    }
  }
  return received;
}

// A relay of raw frames may cut a text at any place; the host's texts are so short, and so far from
// each other, that it does not.
void Clients::TakeMessages(std::size_t number, Received& received) {
  std::string& bytes = mClients[number].mBytes;
  std::size_t at = 0;
  while (true) {
    std::size_t end = 0;
    if (mSpeech == Speech::kTcp) {
      const std::size_t last = bytes.find('\x03', at);
      end = last == std::string::npos ? 0 : last + 1;
    } else {
      end = FrameEnd(bytes, at);
    }
    if (end == 0) break;
    if (const int round = RoundOf(bytes.substr(at, end - at)); round >= 0) {
      const std::chrono::duration<double, std::micro> taken =
          Clock::now() - mHost.SentAt(number, round);
      ++received.mMessages;
      received.mLatenciesUs.push_back(taken.count());
    }
    at = end;
  }
  bytes.erase(0, at);
}
