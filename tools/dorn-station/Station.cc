#include "tools/dorn-station/Station.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "station/Commands.h"
#include "station/Reader.h"

namespace {

bool Contains(const std::string& message, const std::string& text) {
  return message.find(text) != std::string::npos;
}

bool AnyContains(const std::vector<std::string>& messages, const std::string& text) {
  return std::any_of(messages.begin(), messages.end(),
                     [&](const std::string& message) { return Contains(message, text); });
}

std::string Member(const std::string& text, const char* key) {
  return std::string(dorn::station::Reader().Read(text).mJson.TextOf(key));
}

}  // namespace

Station::Station(Options options) : mOptions(std::move(options)), mFraming(*this) {}

Station::~Station() { Close(); }

bool Station::Connect(const std::string& host, int port) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int failure = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (failure != 0) {
    std::fprintf(stderr, "dorn-station: cannot find host %s: %s\n", host.c_str(),
                 gai_strerror(failure));
    return false;
  }
  int reason = 0;
  for (const addrinfo* each = found; each != nullptr && mFd < 0; each = each->ai_next) {
    mFd = socket(each->ai_family, each->ai_socktype | SOCK_CLOEXEC, each->ai_protocol);
    if (mFd >= 0 && connect(mFd, each->ai_addr, each->ai_addrlen) == 0) break;
    reason = errno;
    Close();
  }
  freeaddrinfo(found);
  if (mFd >= 0) return true;
  std::fprintf(stderr,
               "dorn-station: cannot connect to %s port %d: %s. Is the server running there?\n",
               host.c_str(), port, std::strerror(reason));
  return false;
}

bool Station::Send(const std::string& text) {
  Print("->", text);
  const std::string frame = dorn::station::Framed(text);
  std::string_view left = frame;
  while (!left.empty() && IsOpen()) {
    const ssize_t sent = send(mFd, left.data(), left.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0) {
      Close();
      break;
    }
    left.remove_prefix(static_cast<size_t>(sent));
  }
  return IsOpen();
}

bool Station::Expect(const std::string& text, double seconds) {
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                           std::chrono::duration<double>(seconds));
  mPassed.clear();
  for (;;) {
    while (!mWaiting.empty()) {
      mPassed.push_back(std::move(mWaiting.front()));
      mWaiting.erase(mWaiting.begin());
      if (Contains(mPassed.back(), text)) return true;
    }
    if (!IsOpen()) {
      std::fprintf(stderr, "dorn-station: the server closed before it sent: %s\n", text.c_str());
      return false;
    }
    if (!ReceiveUntil(deadline)) {
      std::fprintf(stderr, "dorn-station: nothing within %g s contained: %s\n", seconds,
                   text.c_str());
      return false;
    }
  }
}

bool Station::Absent(const std::string& text) {
  if (!AnyContains(mPassed, text) && !AnyContains(mWaiting, text)) return true;
  std::fprintf(stderr, "dorn-station: a message contained what must be absent: %s\n", text.c_str());
  return false;
}

void Station::Listen(double seconds) {
  const auto deadline = seconds < 0 ? Clock::time_point::max()
                                    : Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                         std::chrono::duration<double>(seconds));
  while (IsOpen() && ReceiveUntil(deadline)) {
  }
}

bool Station::WaitForEither(int otherFd) {
  pollfd watched[2] = {{mFd, POLLIN, 0}, {otherFd, POLLIN, 0}};
  if (poll(watched, 2, -1) < 0) return false;
  if (watched[0].revents != 0) Receive();
  return watched[1].revents != 0;
}

void Station::OnText(std::string_view received) {
  const std::string text(received);
  Print("<-", text);
  mWaiting.push_back(text);
  if (Contains(text, "PUTFILE")) OpenFileFor(text);
  if (mOptions.answerKeepalive && Contains(text, "KEEPALIVE") &&
      Member(text, "Command") == "KEEPALIVE") {
    Send(dorn::station::KeepaliveText());
  }
}

// The server names the file; only its last part is used, so that it cannot choose the folder.
void Station::OpenFileFor(const std::string& text) {
  mFileName = Member(text, "File");
  mFileBytes = 0;
  mFile.reset();
  if (mOptions.saveDirectory.empty()) return;
  const std::string path =
      mOptions.saveDirectory + "/" + mFileName.substr(mFileName.rfind('/') + 1);
  mFile.reset(std::fopen(path.c_str(), "wb"));
  if (!mFile) {
    std::fprintf(stderr, "dorn-station: cannot write %s: %s\n", path.c_str(), std::strerror(errno));
  }
}

void Station::OnPayload(std::string_view piece, bool last) {
  mFileBytes += piece.size();
  if (mFile) std::fwrite(piece.data(), 1, piece.size(), mFile.get());
  if (last) EndFile(std::to_string(mFileBytes) + " bytes");
}

void Station::OnNoPayload() { EndFile("nothing came"); }

void Station::OnTooLong() {
  std::fputs("dorn-station: dropped a message that is too long\n", stderr);
}

void Station::EndFile(const std::string& what) {
  mFile.reset();
  const std::string line = "[file " + mFileName + ": " + what + "]";
  Print("<-", line);
  mWaiting.push_back(line);
}

bool Station::ReceiveUntil(Clock::time_point deadline) {
  int timeoutMs = -1;
  if (deadline != Clock::time_point::max()) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    timeoutMs = static_cast<int>(std::clamp<decltype(left)>(left, 0, 1'000'000));
  }
  pollfd watched{mFd, POLLIN, 0};
  const int ready = poll(&watched, 1, timeoutMs);
  if (ready > 0) Receive();
  return ready > 0 || (ready < 0 && errno == EINTR);
}

void Station::Receive() {
  char bytes[65536];
  const ssize_t got = recv(mFd, bytes, sizeof bytes, 0);
  if (got > 0) {
    if (mFraming.Feed({bytes, static_cast<size_t>(got)})) return;
    std::fputs("dorn-station: the server announced a file that is too long\n", stderr);
    Close();
    return;
  }
  if (got < 0 && errno == EINTR) return;
  if (!mFraming.IsAtRest()) std::fputs("dorn-station: closed in the middle of a message\n", stderr);
  Print("<-", "[closed by the server]");
  mWaiting.emplace_back("[closed by the server]");
  Close();
}

void Station::Print(const char* direction, const std::string& text) const {
  if (mOptions.quiet) return;
  std::printf("%s ", direction);
  std::fwrite(text.data(), 1, text.size(), stdout);
  if (text.empty() || text.back() != '\n') std::putchar('\n');
  std::fflush(stdout);
}

void Station::Close() {
  if (mFd >= 0) close(mFd);
  mFd = -1;
}
