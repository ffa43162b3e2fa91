#include "dorn/server/OutgoingDrainer.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "dorn/base/SemaphoreLock.h"
#include "dorn/server/ApplicationState.h"
#include "dorn/server/Drainable.h"

namespace dorn {

OutgoingDrainer::OutgoingDrainer(int epoll, KZFdDataList* list)
    : KZFdData(kTypeListener, epoll, kId, list) {}

OutgoingDrainer::~OutgoingDrainer() {
  if (IsUsable()) close(GetFD());
}

OutgoingDrainer* OutgoingDrainer::Find(KZFdDataList* list) {
  const ApplicationState* state = FindStateOfList(list);
  return state != nullptr ? state->drainer.get() : nullptr;
}

OutgoingDrainer* OutgoingDrainer::Of(KZFdDataList* list) {
  ApplicationState* state = FindStateOfList(list);
  if (state == nullptr) return nullptr;
  std::unique_ptr<OutgoingDrainer>& drainer = state->drainer;
  if (drainer == nullptr) {
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    if (epoll < 0) return nullptr;
    drainer.reset(new OutgoingDrainer(epoll, list));
  }
  // Anew if the host has emptied the list.
  if (!drainer->IsInList()) drainer->AddEvent();
  return drainer.get();
}

bool OutgoingDrainer::IsInList() {
  KZFdDataList& list = *GetFdDataList();
  const SemaphoreLock lock(list.mSemFdList);
  const FdDataList& pending = list.mAddRequest;
  return std::find(list.begin(), list.end(), this) != list.end() ||
         std::find(pending.begin(), pending.end(), this) != pending.end();
}

void OutgoingDrainer::Forget(KZFdDataList* list, const Drainable* waiting) {
  OutgoingDrainer* drainer = Find(list);
  if (drainer != nullptr) drainer->Unwatch(waiting);
}

bool OutgoingDrainer::Watch(int fd, Drainable* waiting) {
  if (!Register(fd) && (IsUsable() || !Renew() || !Register(fd))) return false;
  mWatched[fd] = waiting;
  return true;
}

bool OutgoingDrainer::Register(int fd) {
  epoll_event event{};
  event.events = EPOLLOUT | EPOLLONESHOT;
  event.data.fd = fd;
  return epoll_ctl(GetFD(), EPOLL_CTL_MOD, fd, &event) == 0 ||
         epoll_ctl(GetFD(), EPOLL_CTL_ADD, fd, &event) == 0;
}

// A host that closes all descriptors, to run in the background, closes this one, too, and its
// number may be another's by now. Asking takes the notice of one who waits: it is asked for again.
bool OutgoingDrainer::IsUsable() {
  epoll_event event{};
  const int count = epoll_wait(GetFD(), &event, 1, 0);
  if (count > 0) Register(event.data.fd);
  return count >= 0;
}

// The loop may have noticed and removed the record.
bool OutgoingDrainer::Renew() {
  const int epoll = epoll_create1(EPOLL_CLOEXEC);
  if (epoll < 0) return false;
  SetFD(epoll);
  SetFDStatus(kStatusActive);
  if (!IsInList()) AddEvent();
  for (const auto& [fd, waiting] : mWatched) Register(fd);
  return true;
}

// Closing the descriptor, which has usually happened by now, ends the registration as well.
void OutgoingDrainer::Unwatch(const Drainable* waiting) {
  for (auto it = mWatched.begin(); it != mWatched.end();) {
    it = it->second == waiting ? mWatched.erase(it) : std::next(it);
  }
}

void OutgoingDrainer::ReadyToRead() {
  constexpr int kEventsAtOnce = 64;
  epoll_event events[kEventsAtOnce];
  const int count = epoll_wait(GetFD(), events, kEventsAtOnce, 0);
  for (int i = 0; i < count; ++i) {
    const auto found = mWatched.find(events[i].data.fd);
    if (found == mWatched.end()) continue;
    Drainable* waiting = found->second;
    mWatched.erase(found);
    waiting->Drain();
  }
}

}  // namespace dorn
