#include "tools/dorn-top/Source.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace dorn::top {

namespace {

constexpr std::int64_t kPatienceMs = 5000;
constexpr std::size_t kMaxText = std::size_t{1024} * 1024;

// Connected, or negative with errno.
int Connect(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return -1;
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return -1;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
  const int error = errno;
  close(fd);
  errno = error;
  return -1;
}

}  // namespace

Source::Source(Source&& other) noexcept
    : mPath(std::move(other.mPath)),
      mFd(std::exchange(other.mFd, -1)),
      mAskedMs(other.mAskedMs),
      mText(std::move(other.mText)),
      mLast(std::move(other.mLast)),
      mBefore(std::move(other.mBefore)),
      mWhy(std::move(other.mWhy)) {}

void Source::Ask(std::int64_t nowMs) {
  if (mFd >= 0) return;
  mText.clear();
  mAskedMs = nowMs;
  mFd = Connect(mPath);
  // So many wait for the host that it takes no further ones.
  if (mFd < 0) Fail(errno == EAGAIN ? "does not answer" : std::strerror(errno));
}

bool Source::Receive(std::int64_t nowMs) {
  if (mFd < 0) return false;
  char bytes[16384];
  while (mFd >= 0) {
    const ssize_t got = recv(mFd, bytes, sizeof bytes, 0);
    if (got > 0) {
      mText.append(bytes, static_cast<std::size_t>(got));
      if (mText.size() > kMaxText) Fail("no statistics");
    } else if (got == 0) {
      Take(nowMs);
    } else if (errno == EAGAIN) {
      if (nowMs - mAskedMs <= kPatienceMs) return false;
      Fail("does not answer");
    } else if (errno != EINTR) {
      Fail(std::strerror(errno));
    }
  }
  return true;
}

void Source::Take(std::int64_t nowMs) {
  auto sample = ReadSample(mText);
  if (!sample) return Fail(mText.empty() ? "says nothing" : "no statistics");
  sample->mTakenMs = nowMs;
  mBefore = std::exchange(mLast, std::move(sample));
  mWhy.clear();
  Close();
}

void Source::Fail(const std::string& why) {
  mWhy = why;
  mLast.reset();
  mBefore.reset();
  Close();
}

void Source::Close() {
  if (mFd >= 0) close(std::exchange(mFd, -1));
}

std::optional<double> Source::Rate(const std::string& name) const {
  if (!mLast || !mBefore || mLast->mTakenMs <= mBefore->mTakenMs) return std::nullopt;
  const auto now = mLast->Number(name);
  const auto before = mBefore->Number(name);
  if (!now || !before || *now < *before) return std::nullopt;
  return (*now - *before) * 1000 / static_cast<double>(mLast->mTakenMs - mBefore->mTakenMs);
}

}  // namespace dorn::top
