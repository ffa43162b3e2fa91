#include "tests/server/CallSpy.h"

#include <dlfcn.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

std::atomic<int> CallSpy::sPolls{0};
std::atomic<int> CallSpy::sLongestPollMs{0};
std::atomic<int> CallSpy::sMostPolled{0};
std::atomic<int> CallSpy::sInterruptedPolls{0};
thread_local int CallSpy::tWaits = 0;
thread_local int CallSpy::tWaitError = 0;
std::atomic<int> CallSpy::sInterruptedFd{-1};
std::atomic<int> CallSpy::sNarrowFd{-1};
std::atomic<const char*> CallSpy::sChangingPath{nullptr};
std::atomic<int> CallSpy::sChanges{0};
std::atomic<const char*> CallSpy::sProgram{nullptr};

extern "C" int poll(pollfd* fds, nfds_t count, int timeoutMs) {
  using Poll = int (*)(pollfd*, nfds_t, int);
  static const auto real = reinterpret_cast<Poll>(dlsym(RTLD_NEXT, "poll"));
  ++CallSpy::sPolls;
  CallSpy::sLongestPollMs = std::max(CallSpy::sLongestPollMs.load(), timeoutMs);
  CallSpy::sMostPolled = std::max(CallSpy::sMostPolled.load(), static_cast<int>(count));
  if (CallSpy::sInterruptedPolls > 0) {
    --CallSpy::sInterruptedPolls;
    errno = EINTR;
    return -1;
  }
  if (timeoutMs > 0) {
    ++CallSpy::tWaits;
    if (const int error = std::exchange(CallSpy::tWaitError, 0); error != 0) {
      errno = error;
      return -1;
    }
  }
  return real(fds, count, timeoutMs);
}

namespace {

using Write = ssize_t (*)(int, const void*, size_t);
const auto gRealWrite = reinterpret_cast<Write>(dlsym(RTLD_NEXT, "write"));

}  // namespace

// Signal handlers call it, too, in which nothing may be looked up.
extern "C" ssize_t write(int fd, const void* bytes, size_t length) {
  if (gRealWrite == nullptr) return syscall(SYS_write, fd, bytes, length);
  int interrupted = fd;
  if (fd >= 0 && CallSpy::sInterruptedFd.compare_exchange_strong(interrupted, -1)) {
    errno = EINTR;
    return -1;
  }
  int narrow = fd;
  const bool isNarrow = fd >= 0 && CallSpy::sNarrowFd.compare_exchange_strong(narrow, -1);
  return gRealWrite(fd, bytes, isNarrow ? std::min(length, size_t{1}) : length);
}

extern "C" int stat(const char* __restrict path, struct stat* __restrict status) noexcept {
  using Stat = int (*)(const char*, struct stat*);
  static const auto real = reinterpret_cast<Stat>(dlsym(RTLD_NEXT, "stat"));
  const int result = real(path, status);
  const char* const changing = CallSpy::sChangingPath;
  if (changing == nullptr || std::strcmp(path, changing) != 0) return result;
  ++CallSpy::sChanges;
  ++status->st_ino;
  return result;
}

extern "C" ssize_t readlink(const char* __restrict path, char* __restrict target,
                            size_t size) noexcept {
  using ReadLink = ssize_t (*)(const char*, char*, size_t);
  static const auto real = reinterpret_cast<ReadLink>(dlsym(RTLD_NEXT, "readlink"));
  const char* const program = CallSpy::sProgram;
  const std::string_view link(path);
  constexpr std::string_view kOwn = "/exe";
  const bool isOwn = link.size() > kOwn.size() && link.substr(link.size() - kOwn.size()) == kOwn;
  if (program == nullptr || !isOwn) return real(path, target, size);
  const std::string_view whole(program);
  if (whole.empty()) {
    errno = ENOENT;
    return -1;
  }
  return static_cast<ssize_t>(whole.copy(target, size));
}
