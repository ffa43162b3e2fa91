// Preloaded into a host: makes system calls fail or do less than they were asked to.
//   TORTURE_FAIL=CALL:N:ERRNO   the N-th CALL fails with this error number; "N+" fails all from
//   then
//                               on. Says so on descriptor 2 the first time. CALL is a family:
//                               socket, accept, recv, write, wake (a write of one byte, as pipes
//                               get), pipe, open or epoll.
//   TORTURE_READ_MAX=N          a stream gives at most N bytes at once
//   TORTURE_WRITE_MAX=N         a stream takes at most N bytes at once
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// What a file gives at once when streams are short: little, but a big file shall not take minutes.
constexpr size_t kFileReadMax = 4093;

struct Plan {
  char mCall[16] = "";
  long mNumber = 0;
  bool mIsLasting = false;
  int mError = 0;
  size_t mReadMax = 0;
  size_t mWriteMax = 0;

  Plan() {
    if (const char* text = std::getenv("TORTURE_FAIL")) Parse(text);
    if (const char* text = std::getenv("TORTURE_READ_MAX"))
      mReadMax = std::strtoul(text, nullptr, 10);
    if (const char* text = std::getenv("TORTURE_WRITE_MAX")) {
      mWriteMax = std::strtoul(text, nullptr, 10);
    }
  }

  void Parse(const char* text) {
    char number[16] = "";
    if (std::sscanf(text, "%15[^:]:%15[^:]:%d", mCall, number, &mError) != 3) std::abort();
    char* end = number;
    mNumber = std::strtol(number, &end, 10);
    mIsLasting = *end == '+';
  }
};

const Plan& ThePlan() {
  static const Plan plan;
  return plan;
}

void Say(const char* call, long number, int error) {
  char line[100];
  const int length =
      std::snprintf(line, sizeof line, "torture: %s %ld fails with %d\n", call, number, error);
  syscall(SYS_write, STDERR_FILENO, line, length);
}

// Whether this call, one of the family `call`, is to fail; errno is set then.
bool Fails(const char* call) {
  static std::atomic<long> count{0};
  const Plan& plan = ThePlan();
  if (std::strcmp(call, plan.mCall) != 0) return false;
  const long number = ++count;
  if (number < plan.mNumber || (number > plan.mNumber && !plan.mIsLasting)) return false;
  if (number == plan.mNumber) Say(call, number, plan.mError);
  errno = plan.mError;
  return true;
}

bool IsDatagram(int fd) {
  int type = 0;
  socklen_t length = sizeof type;
  return getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_DGRAM;
}

size_t Shortened(int fd, size_t length, size_t max) {
  return max == 0 || IsDatagram(fd) ? length : std::min(length, max);
}

size_t ReadLength(int fd, size_t length) { return Shortened(fd, length, ThePlan().mReadMax); }
size_t WriteLength(int fd, size_t length) { return Shortened(fd, length, ThePlan().mWriteMax); }

const char* WriteFamily(size_t length) { return length == 1 ? "wake" : "write"; }

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

mode_t ModeOf(int flags, va_list arguments) {
  return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED int socket(int domain, int type, int protocol) noexcept {
  static auto* const next = Next<int(int, int, int)>("socket");
  return Fails("socket") ? -1 : next(domain, type, protocol);
}

EXPORTED int accept(int fd, sockaddr* address, socklen_t* length) {
  static auto* const next = Next<int(int, sockaddr*, socklen_t*)>("accept");
  return Fails("accept") ? -1 : next(fd, address, length);
}

EXPORTED int accept4(int fd, sockaddr* address, socklen_t* length, int flags) {
  static auto* const next = Next<int(int, sockaddr*, socklen_t*, int)>("accept4");
  return Fails("accept") ? -1 : next(fd, address, length, flags);
}

EXPORTED ssize_t recv(int fd, void* bytes, size_t length, int flags) {
  static auto* const next = Next<ssize_t(int, void*, size_t, int)>("recv");
  return Fails("recv") ? -1 : next(fd, bytes, ReadLength(fd, length), flags);
}

EXPORTED ssize_t recvfrom(int fd, void* bytes, size_t length, int flags, sockaddr* address,
                          socklen_t* addressLength) {
  static auto* const next =
      Next<ssize_t(int, void*, size_t, int, sockaddr*, socklen_t*)>("recvfrom");
  if (Fails("recv")) return -1;
  return next(fd, bytes, ReadLength(fd, length), flags, address, addressLength);
}

EXPORTED ssize_t read(int fd, void* bytes, size_t length) {
  static auto* const next = Next<ssize_t(int, void*, size_t)>("read");
  return next(fd, bytes, ReadLength(fd, length));
}

EXPORTED ssize_t pread(int fd, void* bytes, size_t length, off_t offset) {
  static auto* const next = Next<ssize_t(int, void*, size_t, off_t)>("pread");
  return next(fd, bytes, ThePlan().mReadMax != 0 ? std::min(length, kFileReadMax) : length, offset);
}

EXPORTED ssize_t write(int fd, const void* bytes, size_t length) {
  static auto* const next = Next<ssize_t(int, const void*, size_t)>("write");
  return Fails(WriteFamily(length)) ? -1 : next(fd, bytes, WriteLength(fd, length));
}

EXPORTED ssize_t send(int fd, const void* bytes, size_t length, int flags) {
  static auto* const next = Next<ssize_t(int, const void*, size_t, int)>("send");
  return Fails(WriteFamily(length)) ? -1 : next(fd, bytes, WriteLength(fd, length), flags);
}

EXPORTED int pipe2(int* ends, int flags) noexcept {
  static auto* const next = Next<int(int*, int)>("pipe2");
  return Fails("pipe") ? -1 : next(ends, flags);
}

EXPORTED int pipe(int* ends) noexcept {
  static auto* const next = Next<int(int*)>("pipe");
  return Fails("pipe") ? -1 : next(ends);
}

EXPORTED int open(const char* path, int flags, ...) {
  static auto* const next = Next<int(const char*, int, ...)>("open");
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeOf(flags, arguments);
  va_end(arguments);
  return Fails("open") ? -1 : next(path, flags, mode);
}

EXPORTED int epoll_create1(int flags) noexcept {
  static auto* const next = Next<int(int)>("epoll_create1");
  return Fails("epoll") ? -1 : next(flags);
}

EXPORTED int epoll_ctl(int epoll, int operation, int fd, epoll_event* event) noexcept {
  static auto* const next = Next<int(int, int, int, epoll_event*)>("epoll_ctl");
  return Fails("epoll") ? -1 : next(epoll, operation, fd, event);
}
