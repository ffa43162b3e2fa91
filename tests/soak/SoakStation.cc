#include "tests/soak/SoakStation.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "station/Commands.h"

namespace {

using dorn::station::Framed;

constexpr int kStationPort = 5000;
constexpr int kPrintedFailures = 10;

int Connecting(bool withSmallWindow) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  if (withSmallWindow) {
    const int size = 4096;
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(kStationPort);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
      errno == EINPROGRESS) {
    return fd;
  }
  close(fd);
  return -1;
}

}  // namespace

void SoakRun::Fail(const std::string& what) {
  if (++mFailures <= kPrintedFailures) std::fprintf(stderr, "FAILED: %s\n", what.c_str());
}

void SoakStation::Enter(bool again) {
  mFraming.emplace(static_cast<dorn::station::Framing::Sink&>(*this));
  mCount = 0;
  mFd = Connecting(mKind == Kind::kSilent);
  if (mFd < 0) return OnLost(std::strerror(errno));
  ++mRun->mConnects;
  epoll_event event{};
  event.events = EPOLLOUT | EPOLLRDHUP;
  event.data.ptr = this;
  epoll_ctl(mRun->mEpoll, EPOLL_CTL_ADD, mFd, &event);
  mIsAgain = again;
}

void SoakStation::OnConnected() {
  epoll_event event{};
  event.events = mKind == Kind::kReader ? EPOLLIN | EPOLLRDHUP : EPOLLRDHUP;
  event.data.ptr = this;
  epoll_ctl(mRun->mEpoll, EPOLL_CTL_MOD, mFd, &event);
  if (mKind == Kind::kGarbage) return;
  const std::string number = std::to_string(mNumber);
  if (mIsAgain) {
    SendText(R"({"Command":"CHANGE","SessionId":"S-)" + number + R"(","DialogName":"soak"})");
  } else {
    SendText(R"({"Command":"HELLO","Id":")" + number + R"(","Pass":"p"})");
    SendText(dorn::station::ChangeText("soak"));
  }
}

void SoakStation::Leave(bool withReset) {
  if (mFd < 0) return;
  if (withReset) {
    const linger now{1, 0};
    setsockopt(mFd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
  }
  close(mFd);
  mFd = -1;
}

void SoakStation::OnEvents(unsigned int events) {
  if (mFd < 0) return;
  if ((events & (EPOLLOUT | EPOLLHUP | EPOLLERR)) == EPOLLOUT) OnConnected();
  if (mKind == Kind::kReader && (events & EPOLLIN) != 0) Read();
  if (mFd >= 0 && (events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0) OnLost("closed by the host");
}

void SoakStation::Misbehave() {
  if (mFd < 0) return Enter(false);
  if (mKind == Kind::kSilent) SendText(R"({"Command":"GETFILE","File":"soak.json"})");
  if (mKind == Kind::kGarbage) SendBytes(Garbage());
}

void SoakStation::SendText(const std::string& text) { SendBytes(Framed(text)); }

void SoakStation::SendBytes(const std::string& bytes) {
  if (mFd < 0) return;
  const ssize_t sent = send(mFd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  if (sent == static_cast<ssize_t>(bytes.size())) return;
  // Who does not care what it says does not care whether all of it arrives.
  if (sent < 0 && errno != EAGAIN) return OnLost(std::strerror(errno));
  if (mKind == Kind::kReader) mRun->Fail("a reader could not send");
}

void SoakStation::Read() {
  char block[65536];
  while (mFd >= 0) {
    const ssize_t got = recv(mFd, block, sizeof block, 0);
    if (got < 0 && errno == EAGAIN) return;
    if (got <= 0) return OnLost(got == 0 ? "closed by the host" : std::strerror(errno));
    if (!mFraming->Feed({block, static_cast<size_t>(got)})) mRun->Fail("a file that is too long");
    if (mFraming->Dropped() > 0) mRun->Fail("bytes between two messages");
    if (got < static_cast<ssize_t>(sizeof block)) return;
  }
}

void SoakStation::OnText(std::string_view text) {
  if (mFd >= 0) Take(std::string(text));
}

void SoakStation::Take(const std::string& message) {
  constexpr char kCount[] = "\"Value\":\"";
  if (message.find("\"KEEPALIVE\"") != std::string::npos) {
    ++mRun->mKeepalives;
    return SendText(dorn::station::KeepaliveText());
  }
  if (message.find("\"OPEN\"") != std::string::npos) return;
  const size_t at = message.find(kCount);
  if (message.find("\"UPDATE\"") == std::string::npos || at == std::string::npos) {
    return mRun->Fail("station " + std::to_string(mNumber) + " got " + message.substr(0, 200));
  }
  char* end = nullptr;
  const long count = std::strtol(message.c_str() + at + sizeof kCount - 1, &end, 10);
  OnCount(count, *end == ':' ? std::strtoll(end + 1, nullptr, 10) : 0);
}

void SoakStation::OnCount(long count, long long sentUs) {
  const long long now = dorn::load::SteadyUs();
  if (mCount > 0 && count != mCount + 1) {
    mRun->Fail("station " + std::to_string(mNumber) + " got " + std::to_string(count) + " after " +
               std::to_string(mCount));
  }
  // The first one tells how things stand; it was made before the station came.
  if (mCount > 0 && mRun->mIsMeasuring) mRun->mLatencies.Add(now - sentUs);
  mCount = count;
  ++mRun->mUpdates;
  mRun->mLastUpdateUs = now;
}

void SoakStation::OnLost(const char* how) {
  if (mKind == Kind::kReader) {
    mRun->Fail("station " + std::to_string(mNumber) + " lost its connection: " + how);
  } else {
    ++mRun->mTurnedAway;
  }
  Leave(false);
}

std::string SoakStation::Garbage() {
  auto& random = mRun->mRandom;
  std::string bytes;
  switch (random() % 9) {
    case 0:
      for (size_t left = random() % 3000; left > 0; --left) {
        bytes += static_cast<char>(random() % 256);
      }
      return bytes;
    case 1:
      return Framed(std::string(random() % 50000, '['));
    case 2:
      return Framed(R"({"Commands":[1,[],{"Command":["x"]},{"Objects":{"Objects":[null]}}]})");
    case 3:
      return Framed(R"({"Command":"HELLO","SessionId":"SessionIdShared","DialogName":"soak"})");
    case 4:
      return Framed(R"({"Command":"HELLO","Id":"x","Pass":"guess )" + std::to_string(random()) +
                    "\"}");
    case 5:
      return Framed(R"({"Command":"GETFILE","File":"../../../../etc/passwd"})");
    case 6:
      return "\x03\x03\x02\x02{\"Command\":\"CONDI";
    case 7:
      return Framed(R"({"Command":"HELLO","SessionId":")" + std::to_string(random()) + "\"}");
    default:
      return '\x02' + std::string(60000, 'x');
  }
}
