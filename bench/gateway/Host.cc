#include "bench/gateway/Host.h"

#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "bench/support/Loopback.h"
#include "station/Framing.h"

namespace {

constexpr auto kRoundTime = std::chrono::milliseconds(100);
constexpr std::string_view kRoundMark = "\"round ";

// As the library writes it: quotes around the outermost word are single ones, so that it has to be
// read tolerantly.
std::string Update(int round) {
  std::string objects;
  for (int i = 0; i < 4; ++i) {
    objects += "{\"Value\":" + std::to_string(1000 * i + round % 1000) + ",\"Name\":\"level" +
               std::to_string(i) + "\"},";
  }
  return dorn::station::Framed("{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[" + objects +
                               "{\"Value\":\"round " + std::to_string(round) +
                               "\",\"Name\":\"state\"}]}]}");
}

}  // namespace

int RoundOf(const std::string& message) {
  const std::size_t at = message.rfind(kRoundMark);
  return at == std::string::npos ? -1 : std::atoi(message.c_str() + at + kRoundMark.size());
}

Host::Host() {
  mListener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_in address = Loopback(0);
  bind(mListener, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  listen(mListener, 1024);
  socklen_t length = sizeof address;
  getsockname(mListener, reinterpret_cast<sockaddr*>(&address), &length);
  mPort = ntohs(address.sin_port);
  mPoll = epoll_create1(EPOLL_CLOEXEC);
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = mListener;
  epoll_ctl(mPoll, EPOLL_CTL_ADD, mListener, &event);
  mThread = std::thread([this] { Run(); });
}

Host::~Host() {
  mEnds = true;
  mThread.join();
  for (const int fd : mAccepted) close(fd);
  close(mPoll);
  close(mListener);
}

void Host::Run() {
  int round = 0;
  while (!mEnds) {
    if (mIsSending) {
      SendRound(round++);
      continue;
    }
    epoll_event events[64];
    const int count = epoll_wait(mPoll, events, 64, 10);
    for (int i = 0; i < count; ++i) {
      if (events[i].data.fd == mListener) {
        Accept();
      } else {
        Serve(events[i].data.fd);
      }
    }
  }
}

void Host::Accept() {
  const int fd = accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (fd < 0) return;
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = fd;
  epoll_ctl(mPoll, EPOLL_CTL_ADD, fd, &event);
  mAccepted.push_back(fd);
}

void Host::Serve(int fd) {
  char bytes[4096];
  const ssize_t got = recv(fd, bytes, sizeof bytes, 0);
  if (got <= 0) {
    epoll_ctl(mPoll, EPOLL_CTL_DEL, fd, nullptr);
    return;
  }
  const std::string text(bytes, static_cast<std::size_t>(got));
  const std::size_t id = text.find("\"Id\":\"");
  if (id == std::string::npos) return;
  mStations[static_cast<std::size_t>(std::atoi(text.c_str() + id + 6))] = fd;
  const std::string open =
      dorn::station::Framed(R"({"Command":"OPEN","File":"d.json","SessionId":"s"})");
  send(fd, open.data(), open.size(), MSG_NOSIGNAL);
  ++mLoggedIn;
}

void Host::SendRound(int round) {
  const std::string update = Update(round);
  const auto start = Clock::now();
  const std::size_t stations = mLoggedIn;
  for (std::size_t i = 0; i < stations; ++i) {
    std::this_thread::sleep_until(start + kRoundTime * i / stations);
    mSent[i][static_cast<std::size_t>(round % kRounds)] = Clock::now().time_since_epoch().count();
    send(mStations[i], update.data(), update.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  }
  std::this_thread::sleep_until(start + kRoundTime);
}
