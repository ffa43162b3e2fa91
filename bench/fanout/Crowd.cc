#include "bench/fanout/Crowd.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "bench/support/Loopback.h"

namespace {

constexpr int kEvents = 256;
constexpr int kPatienceMs = 10000;

int AwaitEvents(int epoll, epoll_event (&events)[kEvents]) {
  const int count = epoll_wait(epoll, events, kEvents, kPatienceMs);
  if (count <= 0) Fail("a server does not answer");
  return count;
}

std::size_t Receive(int fd) {
  char data[65536];
  const ssize_t length = recv(fd, data, sizeof data, MSG_DONTWAIT);
  if (length == 0) Fail("a server closed a connection");
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

// Up to the ETX, byte by byte: what follows belongs to somebody else.
void ReadAnswer(int fd, std::size_t bytes) {
  char byte = 0;
  for (std::size_t got = 0; bytes == 0 ? byte != 0x03 : got < bytes; ++got) {
    if (recv(fd, &byte, 1, 0) != 1) Fail("a server refused a peer");
  }
}

}  // namespace

void Fail(const std::string& reason) {
  std::fprintf(stderr, "fanout: %s\n", reason.c_str());
  std::exit(1);
}

Crowd::Crowd(int port, int peers, std::vector<Step> (*enter)(int))
    : mEpoll(epoll_create1(EPOLL_CLOEXEC)) {
  for (int number = 0; number < peers; ++number) {
    const int fd = ConnectTo(port);
    if (fd < 0) Fail("a server accepts no more connections");
    EnterBy(fd, enter(number));
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u32 = static_cast<std::uint32_t>(number);
    epoll_ctl(mEpoll, EPOLL_CTL_ADD, fd, &event);
    mPeers.push_back({fd, 0});
  }
}

Crowd::~Crowd() {
  for (const Peer& peer : mPeers) close(peer.fd);
  close(mEpoll);
}

Clock::time_point Crowd::AwaitAll(std::size_t bytes) {
  mAwaited += bytes;
  auto missing = std::count_if(mPeers.begin(), mPeers.end(),
                               [this](const Peer& peer) { return peer.got < mAwaited; });
  while (missing > 0) {
    epoll_event events[kEvents];
    const int count = AwaitEvents(mEpoll, events);
    for (int i = 0; i < count; ++i) {
      Peer& peer = mPeers[events[i].data.u32];
      const bool wasMissing = peer.got < mAwaited;
      peer.got += Receive(peer.fd);
      if (wasMissing && peer.got >= mAwaited) --missing;
    }
  }
  return Clock::now();
}

void Crowd::Converse(int active, int total, std::size_t answerBytes, std::string (*question)(int)) {
  int asked = 0;
  int answered = 0;
  for (; asked < std::min(active, total); ++asked) WriteAll(Descriptor(asked), question(asked));
  std::vector<std::size_t> got(mPeers.size(), 0);
  while (answered < total) {
    epoll_event events[kEvents];
    const int count = AwaitEvents(mEpoll, events);
    for (int i = 0; i < count; ++i) {
      const std::size_t peer = events[i].data.u32;
      got[peer] += Receive(mPeers[peer].fd);
      if (got[peer] < answerBytes) continue;
      got[peer] -= answerBytes;
      ++answered;
      if (asked < total) WriteAll(mPeers[peer].fd, question(asked++));
    }
  }
}

void EnterBy(int fd, const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    WriteAll(fd, step.question);
    ReadAnswer(fd, step.answerBytes);
  }
}

void WriteAll(int fd, const std::string& bytes) {
  if (send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
    Fail("a server does not take a message");
  }
}

void Discard(int fd) {
  char data[65536];
  while (recv(fd, data, sizeof data, MSG_DONTWAIT) > 0) {
  }
}
