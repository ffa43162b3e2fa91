#include "tests/loop/SystemCallSpy.h"

#include <dlfcn.h>
#include <poll.h>
#include <stdio_ext.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <utility>

namespace {

std::atomic<SelectSpy*> gSelectSpy{nullptr};
std::atomic<FailedFcntlSpy*> gFcntlSpy{nullptr};
std::atomic<ClockSettingSpy*> gClockSpy{nullptr};
std::atomic<EpollSpy*> gEpollSpy{nullptr};
std::atomic<StillClockSpy*> gStillClockSpy{nullptr};
std::atomic<SleepSpy*> gSleepSpy{nullptr};
std::atomic<FailedWriteSpy*> gFailedWriteSpy{nullptr};

using Select = int (*)(int, fd_set*, fd_set*, fd_set*, timeval*);

Select RealSelect() {
  static const auto real = reinterpret_cast<Select>(dlsym(RTLD_NEXT, "select"));
  return real;
}

using Fcntl = int (*)(int, int, ...);

Fcntl RealFcntl() {
  static const auto real = reinterpret_cast<Fcntl>(dlsym(RTLD_NEXT, "fcntl"));
  return real;
}

// The system's own function of that name.
template <class Function>
Function Real(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

const auto gRealWrite = Real<ssize_t (*)(int, const void*, std::size_t)>("write");

int NoteClockSetting(const timeval& time) {
  ClockSettingSpy* const spy = gClockSpy;
  if (spy == nullptr) {
    errno = EPERM;
    return -1;
  }
  spy->mTimes.push_back(time);
  return spy->mResult;
}

}  // namespace

SelectSpy::SelectSpy() { gSelectSpy = this; }
SelectSpy::~SelectSpy() { gSelectSpy = nullptr; }

long SelectSpy::LastWaitMs() const {
  const std::optional<timeval>& timeout = mCalls.back().mTimeout;
  return timeout ? timeout->tv_sec * 1000 + timeout->tv_usec / 1000 : -1;
}

FailedFcntlSpy::FailedFcntlSpy(std::function<void(int fd)> onFailure)
    : mOnFailure(std::move(onFailure)) {
  gFcntlSpy = this;
}
FailedFcntlSpy::~FailedFcntlSpy() { gFcntlSpy = nullptr; }

ClockSettingSpy::ClockSettingSpy() { gClockSpy = this; }
ClockSettingSpy::~ClockSettingSpy() { gClockSpy = nullptr; }

EpollSpy::EpollSpy() { gEpollSpy = this; }
EpollSpy::~EpollSpy() { gEpollSpy = nullptr; }

StillClockSpy::StillClockSpy() { gStillClockSpy = this; }
StillClockSpy::~StillClockSpy() { gStillClockSpy = nullptr; }

SleepSpy::SleepSpy() { gSleepSpy = this; }
SleepSpy::~SleepSpy() { gSleepSpy = nullptr; }

FailedWriteSpy::FailedWriteSpy(std::vector<int> errors) : mErrors(std::move(errors)) {
  gFailedWriteSpy = this;
}
FailedWriteSpy::~FailedWriteSpy() { gFailedWriteSpy = nullptr; }

extern "C" int select(int limit, fd_set* reads, fd_set* writes, fd_set* exceptions,
                      timeval* timeout) {
  SelectSpy* const spy = gSelectSpy;
  if (spy == nullptr) return RealSelect()(limit, reads, writes, exceptions, timeout);
  spy->mCalls.push_back({limit, exceptions != nullptr,
                         timeout != nullptr ? std::optional<timeval>(*timeout) : std::nullopt,
                         __fpending(stdout)});
  if (spy->mReplacement) return spy->mReplacement(reads, writes);
  const int result = RealSelect()(limit, reads, writes, exceptions, timeout);
  const int error = errno;
  if (spy->mAfterwards) spy->mAfterwards();
  errno = error;
  return result;
}

extern "C" int fcntl(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const int result = RealFcntl()(fd, command, argument);
  const int error = errno;
  FailedFcntlSpy* const spy = gFcntlSpy;
  if (result == -1 && spy != nullptr) spy->mOnFailure(fd);
  errno = error;
  return result;
}

extern "C" int settimeofday(const timeval* time, const struct timezone*) noexcept {
  return NoteClockSetting(*time);
}

extern "C" int clock_settime(clockid_t, const timespec* time) noexcept {
  return NoteClockSetting({time->tv_sec, time->tv_nsec / 1000});
}

extern "C" int epoll_create1(int flags) noexcept {
  static const auto real = Real<int (*)(int)>("epoll_create1");
  EpollSpy* const spy = gEpollSpy;
  if (spy != nullptr) ++spy->mSetsMade;
  return real(flags);
}

extern "C" int epoll_ctl(int set, int operation, int fd, epoll_event* event) noexcept {
  static const auto real = Real<int (*)(int, int, int, epoll_event*)>("epoll_ctl");
  EpollSpy* const spy = gEpollSpy;
  if (spy != nullptr) ++spy->mChanges;
  return real(set, operation, fd, event);
}

extern "C" int epoll_wait(int set, epoll_event* events, int count, int timeoutMs) {
  static const auto real = Real<int (*)(int, epoll_event*, int, int)>("epoll_wait");
  EpollSpy* const spy = gEpollSpy;
  if (spy == nullptr) return real(set, events, count, timeoutMs);
  spy->mWaitsMs.push_back(timeoutMs);
  if (spy->mWaitError == 0) return real(set, events, count, timeoutMs);
  errno = spy->mWaitError;
  return -1;
}

extern "C" int poll(pollfd* asked, nfds_t count, int timeoutMs) {
  static const auto real = Real<int (*)(pollfd*, nfds_t, int)>("poll");
  EpollSpy* const spy = gEpollSpy;
  if (spy != nullptr) spy->mWaitsMs.push_back(timeoutMs);
  return real(asked, count, timeoutMs);
}

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
  const StillClockSpy* const spy = gStillClockSpy;
  const bool isOfMachine = clock == CLOCK_MONOTONIC || clock == CLOCK_MONOTONIC_COARSE;
  // May be called before anything can be looked up.
  if (spy == nullptr || !isOfMachine) {
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  }
  time->tv_sec = static_cast<time_t>(spy->mUs / 1000000);
  time->tv_nsec = static_cast<long>(spy->mUs % 1000000 * 1000);
  return 0;
}

extern "C" int usleep(useconds_t us) {
  SleepSpy* const spy = gSleepSpy;
  if (spy != nullptr) {
    spy->mSleepsUs.push_back(us);
    return 0;
  }
  timespec left = {static_cast<time_t>(us / 1000000), static_cast<long>(us % 1000000) * 1000};
  return nanosleep(&left, nullptr);
}

// Signal handlers call it, too, in which nothing may be looked up.
extern "C" ssize_t write(int fd, const void* bytes, std::size_t count) {
  FailedWriteSpy* const spy = gFailedWriteSpy;
  if (spy == nullptr || ++spy->mCalls > spy->mErrors.size()) {
    return gRealWrite != nullptr ? gRealWrite(fd, bytes, count)
                                 : syscall(SYS_write, fd, bytes, count);
  }
  errno = spy->mErrors[spy->mCalls - 1];
  return -1;
}
