#include "dorn/loop/EpollSet.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>

namespace dorn {
namespace {

// What select takes for readable; an error and a hang-up are reported unasked.
constexpr short kReadable = POLLIN | POLLRDNORM | POLLRDBAND;
static_assert(POLLIN == EPOLLIN && POLLRDNORM == EPOLLRDNORM && POLLRDBAND == EPOLLRDBAND);

std::atomic<unsigned> gForks{0};

// Counted in the child alone.
unsigned Forks() {
  static const int registered = pthread_atfork(nullptr, nullptr, [] { ++gForks; });
  static_cast<void>(registered);
  return gForks;
}

bool IsOpen(int fd) { return fcntl(fd, F_GETFD) != -1; }

}  // namespace

bool EpollSet::Add(int fd) {
  if (fd < 0 || fd >= FD_SETSIZE || !Open() || fd == mEpoll) return false;
  if (!Control(EPOLL_CTL_ADD, fd) && errno != EEXIST) return false;
  if (FD_ISSET(fd, &mMembers)) return true;
  FD_SET(fd, &mMembers);
  ++mCount;
  return true;
}

void EpollSet::Remove(int fd) {
  LeaveToParent();
  if (fd < 0 || fd >= FD_SETSIZE || !FD_ISSET(fd, &mMembers)) return;
  FD_CLR(fd, &mMembers);
  --mCount;
  // When the number has another file by now, the reports of the old one, if any, will show it.
  static_cast<void>(Control(EPOLL_CTL_DEL, fd));
}

void EpollSet::Refresh() {
  const fd_set before = Members();
  for (int fd = 0; fd < FD_SETSIZE && mCount > 0; ++fd) {
    if (!FD_ISSET(fd, &before) || Control(EPOLL_CTL_ADD, fd) || errno == EEXIST) continue;
    if (mEpoll < 0) return;
    FD_CLR(fd, &mMembers);
    --mCount;
  }
}

void EpollSet::Close() {
  epoll_event event{};
  // The number may be another file's by now.
  if (mEpoll >= 0 && epoll_wait(mEpoll, &event, 1, 0) >= 0) close(mEpoll);
  Abandon();
}

const fd_set& EpollSet::Members() {
  LeaveToParent();
  return mMembers;
}

int EpollSet::Descriptor() {
  LeaveToParent();
  return mCount > 0 ? mEpoll : -1;
}

void EpollSet::TakeReadable(fd_set* readable) {
  FD_ZERO(readable);
  if (Descriptor() < 0) return;
  std::array<epoll_event, FD_SETSIZE> events;
  std::array<pollfd, FD_SETSIZE> asked;
  const int count = epoll_wait(mEpoll, events.data(), FD_SETSIZE, 0);
  if (count < 0 && errno != EINTR) return Abandon();
  nfds_t members = 0;
  for (int i = 0; i < count; ++i) {
    const int fd = events[static_cast<std::size_t>(i)].data.fd;
    if (FD_ISSET(fd, &mMembers)) asked[members++] = {fd, kReadable, 0};
  }
  bool isTrue = static_cast<int>(members) == std::max(count, 0);
  const bool isAsked = poll(asked.data(), members, 0) >= 0;
  for (nfds_t i = 0; i < members; ++i) {
    if (!isAsked || (asked[i].revents != 0 && (asked[i].revents & POLLNVAL) == 0)) {
      FD_SET(asked[i].fd, readable);
    } else {
      isTrue = false;
    }
  }
  if (!isTrue) Rebuild();
}

bool EpollSet::Open() {
  LeaveToParent();
  if (mEpoll >= 0) return true;
  mForks = Forks();
  mEpoll = epoll_create1(EPOLL_CLOEXEC);
  if (mEpoll >= FD_SETSIZE) Close();
  return mEpoll >= 0;
}

bool EpollSet::Control(int operation, int fd) {
  epoll_event event{};
  event.events = kReadable;
  event.data.fd = fd;
  if (epoll_ctl(mEpoll, operation, fd, &event) == 0) return true;
  const int error = errno;
  // The set itself was closed by somebody, and its number perhaps given to another file.
  if (error == EINVAL || (error == EBADF && !IsOpen(mEpoll))) Abandon();
  errno = error;
  return false;
}

void EpollSet::LeaveToParent() {
  if (mEpoll >= 0 && mForks != Forks()) Close();
}

// Leaves the number alone: it is not ours to close.
void EpollSet::Abandon() {
  mEpoll = -1;
  mCount = 0;
  FD_ZERO(&mMembers);
}

// Closing the old set is what ends the reports of files that have no number here.
void EpollSet::Rebuild() {
  const fd_set before = mMembers;
  Close();
  for (int fd = 0; fd < FD_SETSIZE; ++fd) {
    if (FD_ISSET(fd, &before) && !Add(fd) && mEpoll < 0) return;
  }
}

}  // namespace dorn
