#include "tests/site/FakeBroker.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <sstream>
#include <utility>
#include <vector>

namespace dorn::site {
namespace {

constexpr int kTickMs = 10;

bool IsReadable(int descriptor) {
  pollfd ready{descriptor, POLLIN, 0};
  return poll(&ready, 1, kTickMs) == 1;
}

std::vector<std::string> WordsOf(const std::string& line) {
  std::vector<std::string> words;
  std::istringstream in(line);
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

// The last word of a pattern may be '*'.
bool Matches(const std::string& pattern, const std::string& subject) {
  if (pattern.empty() || pattern.back() != '*') return pattern == subject;
  return subject.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
}

}  // namespace

FakeBroker::FakeBroker(Manners manners)
    : mManners(std::move(manners)), mListener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  EXPECT_EQ(bind(mListener, generic, size), 0);
  EXPECT_EQ(listen(mListener, 8), 0);
  EXPECT_EQ(getsockname(mListener, generic, &size), 0);
  mPort = ntohs(address.sin_port);
  mThread = std::thread([this] { Run(); });
}

FakeBroker::~FakeBroker() {
  mIsOver = true;
  mThread.join();
  close(mListener);
}

std::string FakeBroker::Url() const { return "nats://127.0.0.1:" + std::to_string(mPort); }

void FakeBroker::Run() {
  while (!mIsOver) {
    if (!IsReadable(mListener)) continue;
    const int connection = accept(mListener, nullptr, nullptr);
    if (connection < 0) continue;  // It has gone again.
    ++mConnections;
    Serve(connection);
    close(connection);
  }
}

void FakeBroker::Serve(int connection) {
  mSubscribed.clear();
  mHasStormed = false;
  Send(connection,
       !mManners.greeting.empty()
           ? mManners.greeting
           : "INFO {\"server_id\":\"fake\",\"version\":\"2.9.10\",\"proto\":1,\"headers\":true,"
             "\"max_payload\":1048576,\"jetstream\":true}\r\n");
  std::string unread;
  while (!mIsOver && Hear(connection, unread)) {
  }
}

// False when the connection is to end.
bool FakeBroker::Hear(int connection, std::string& unread) {
  if (!IsReadable(connection)) return true;
  std::array<char, 65536> buffer{};
  const ssize_t count = recv(connection, buffer.data(), buffer.size(), 0);
  if (count <= 0) return false;
  unread.append(buffer.data(), static_cast<std::size_t>(count));
  for (std::size_t end; (end = unread.find("\r\n")) != std::string::npos;) {
    const std::string line = unread.substr(0, end);
    unread.erase(0, end + 2);
    HearLine(connection, line);
  }
  return !(mHasStormed && mManners.closesAfterStorm);
}

// What is published has lines of its own, which say nothing here.
void FakeBroker::HearLine(int connection, const std::string& line) {
  const std::vector<std::string> words = WordsOf(line);
  if (words.empty()) return;
  if (words[0] == "PING") {
    Send(connection, "PONG\r\n");
    if (!std::exchange(mHasStormed, true)) Send(connection, mManners.storm);
  } else if (words[0] == "SUB" && words.size() >= 3) {
    mSubscribed[words.back()] = words[1];
  } else if (words[0] == "PUB" && words.size() == 4) {
    Answer(connection, words[1], words[2]);
  }
}

void FakeBroker::Answer(int connection, const std::string& subject, const std::string& reply) {
  if (!mManners.answer) return;
  const std::string answer = mManners.answer(subject);
  for (const auto& [number, pattern] : mSubscribed) {
    if (!Matches(pattern, reply)) continue;
    ++mAnswers;
    Send(connection, "MSG " + reply + ' ' + number + ' ' + std::to_string(answer.size()) + "\r\n" +
                         answer + "\r\n");
  }
}

void FakeBroker::Send(int connection, const std::string& bytes) const {
  for (std::size_t sent = 0; sent < bytes.size() && !mIsOver;) {
    pollfd ready{connection, POLLOUT, 0};
    if (poll(&ready, 1, kTickMs) != 1) continue;
    const ssize_t count =
        send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count <= 0) return;
    sent += static_cast<std::size_t>(count);
  }
}

}  // namespace dorn::site
