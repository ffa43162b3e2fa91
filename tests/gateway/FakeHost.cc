#include "tests/gateway/FakeHost.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>

#include "station/Framing.h"
#include "station/Reader.h"
#include "tests/support/Deadline.h"
#include "tests/support/TcpPeer.h"

using dorn::station::Framed;

struct FakeHost::Connection : dorn::station::Framing::Sink {
  Connection(FakeHost& host, int fd) : mHost(host), mFd(fd) {}
  ~Connection() override { close(mFd); }

  void OnText(std::string_view text) override { mHost.Take(*this, text); }
  void OnPayload(std::string_view, bool) override {}

  FakeHost& mHost;
  const int mFd;
  dorn::station::Framing mFraming{*this};
  std::string mOutput;
};

namespace {

bool WaitUntil(const std::function<bool()>& holds) {
  const Deadline deadline;
  while (!holds()) {
    if (deadline.IsOver()) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace

FakeHost::FakeHost() {
  mListener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(mListener, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  listen(mListener, 1024);
  mPort = PortOf(mListener);
  mThread = std::thread([this] { Run(); });
}

FakeHost::~FakeHost() {
  mEnds = true;
  mThread.join();
  close(mListener);
}

void FakeHost::Run() {
  while (!mEnds) {
    std::vector<pollfd> polled{{mListener, POLLIN, 0}};
    {
      const std::lock_guard<std::mutex> lock(mMutex);
      for (const auto& connection : mConnections) {
        const short writes = connection->mOutput.empty() ? 0 : POLLOUT;
        polled.push_back({connection->mFd, static_cast<short>(POLLIN | writes), 0});
      }
    }
    if (poll(polled.data(), polled.size(), 2) <= 0) continue;
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mIsStopped) continue;
    for (std::size_t i = polled.size(); i-- > 1;) {
      const auto at = std::find_if(mConnections.begin(), mConnections.end(),
                                   [&](const auto& each) { return each->mFd == polled[i].fd; });
      if (polled[i].revents == 0 || at == mConnections.end()) continue;
      if (!Serve(**at)) mConnections.erase(at);
    }
    if (polled[0].revents != 0) Accept();
  }
}

void FakeHost::SetStopped(bool isStopped) {
  const std::lock_guard<std::mutex> lock(mMutex);
  mIsStopped = isStopped;
}

void FakeHost::Accept() {
  while (true) {
    sockaddr_in from{};
    socklen_t length = sizeof from;
    const int fd = accept4(mListener, reinterpret_cast<sockaddr*>(&from), &length,
                           SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) return;
    char text[INET_ADDRSTRLEN];
    mSources.emplace_back(inet_ntop(AF_INET, &from.sin_addr, text, sizeof text));
    mConnections.push_back(std::make_unique<Connection>(*this, fd));
  }
}

bool FakeHost::Serve(Connection& connection) {
  char bytes[65536];
  const ssize_t got = recv(connection.mFd, bytes, sizeof bytes, 0);
  if (got == 0 || (got < 0 && errno != EAGAIN)) return false;
  if (got > 0 && !connection.mFraming.Feed({bytes, static_cast<std::size_t>(got)})) return false;
  return Write(connection);
}

bool FakeHost::Write(Connection& connection) {
  const ssize_t sent = send(connection.mFd, connection.mOutput.data(), connection.mOutput.size(),
                            MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent < 0) return errno == EAGAIN;
  connection.mOutput.erase(0, static_cast<std::size_t>(sent));
  return true;
}

void FakeHost::Take(Connection& connection, std::string_view text) {
  const std::string plain(text);
  if (plain == "{\"Command\":\"HELLO\"}") {
    ++mQuestions;
  } else {
    mTexts.push_back(plain);
  }
  connection.mOutput += AnswerTo(plain);
}

std::string FakeHost::AnswerTo(const std::string& text) {
  std::string answer;
  for (const auto& [part, bytes] : mAnswers) {
    if (text.find(part) != std::string::npos) answer += bytes;
  }
  if (text.find("HELLO") != std::string::npos || text.find("\"Pass\"") != std::string::npos) {
    const bool isRight = text.find(R"("Id":"u","Pass":"right")") != std::string::npos;
    answer += isRight ? Framed(R"({"Command":"OPEN","File":"d.json","SessionId":"s1"})")
                      : Framed(R"({"Command":"ERROR","Message":"no","Status":"Authentication"})");
  }
  for (std::size_t at = text.find("\"?f"); at != std::string::npos;
       at = text.find("\"?f", at + 1)) {
    const std::string file = text.substr(at + 1, text.find('"', at + 1) - at - 1);
    answer += Framed(R"({"Command":"PUTFILE","File":")" + file +
                     R"(","Info":"FILE NOT FOUND","Status":"ERROR"})");
  }
  return answer;
}

void FakeHost::Answer(const std::string& part, const std::string& bytes) {
  const std::lock_guard<std::mutex> lock(mMutex);
  mAnswers[part] = bytes;
}

void FakeHost::SendAll(const std::string& bytes) {
  const std::lock_guard<std::mutex> lock(mMutex);
  for (const auto& connection : mConnections) {
    const bool isIdle = connection->mOutput.empty();
    connection->mOutput += bytes;
    if (isIdle) Write(*connection);
  }
}

void FakeHost::CloseAll() {
  const std::lock_guard<std::mutex> lock(mMutex);
  mConnections.clear();
}

void FakeHost::Forget() {
  const std::lock_guard<std::mutex> lock(mMutex);
  mTexts = {};
  mSources = {};
}

std::vector<std::string> FakeHost::Texts() const {
  const std::lock_guard<std::mutex> lock(mMutex);
  return mTexts;
}

bool FakeHost::HasText(const std::string& part) const {
  const std::lock_guard<std::mutex> lock(mMutex);
  return std::any_of(mTexts.begin(), mTexts.end(),
                     [&](const std::string& text) { return text.find(part) != std::string::npos; });
}

std::size_t FakeHost::OpenConnections() const {
  const std::lock_guard<std::mutex> lock(mMutex);
  return mConnections.size();
}

std::size_t FakeHost::Accepted() const {
  const std::lock_guard<std::mutex> lock(mMutex);
  return mSources.size();
}

std::vector<std::string> FakeHost::Sources() const {
  const std::lock_guard<std::mutex> lock(mMutex);
  return mSources;
}

std::size_t FakeHost::Questions() const {
  const std::lock_guard<std::mutex> lock(mMutex);
  return mQuestions;
}

bool FakeHost::WaitForText(const std::string& part) const {
  return WaitUntil([&] { return HasText(part); });
}

bool FakeHost::WaitForConnections(std::size_t count) const {
  return WaitUntil([&] { return OpenConnections() == count; });
}
