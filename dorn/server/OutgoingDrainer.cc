#include "dorn/server/OutgoingDrainer.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

#include "dorn/base/SemaphoreLock.h"
#include "dorn/server/Drainable.h"

namespace dorn {

namespace {

// Never destroyed: connections may still be destroyed after the statics of this file.
std::vector<std::unique_ptr<OutgoingDrainer>>& Drainers() {
  static auto* const drainers = new std::vector<std::unique_ptr<OutgoingDrainer>>;
  return *drainers;
}

}  // namespace

OutgoingDrainer::OutgoingDrainer(int epoll, KZFdDataList* list)
    : KZFdData(kTypeListener, epoll, kId, list) {}

OutgoingDrainer::~OutgoingDrainer() { close(GetFD()); }

OutgoingDrainer* OutgoingDrainer::Find(KZFdDataList* list) {
  for (const auto& drainer : Drainers()) {
    if (drainer->GetFdDataList() == list) return drainer.get();
  }
  return nullptr;
}

OutgoingDrainer* OutgoingDrainer::Of(KZFdDataList* list) {
  OutgoingDrainer* drainer = Find(list);
  if (drainer == nullptr) {
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    if (epoll < 0) return nullptr;
    drainer = new OutgoingDrainer(epoll, list);
    Drainers().emplace_back(drainer);
  }
  // Anew for a list that was built where another one had been.
  if (!drainer->IsInList()) drainer->AddEvent();
  return drainer;
}

bool OutgoingDrainer::IsInList() {
  KZFdDataList& list = *GetFdDataList();
  const SemaphoreLock lock(list.mSemFdList);
  const FdDataList& pending = list.mAddRequest;
  return std::find(list.begin(), list.end(), this) != list.end() ||
         std::find(pending.begin(), pending.end(), this) != pending.end();
}

void OutgoingDrainer::Forget(KZFdDataList* list) {
  auto& drainers = Drainers();
  drainers.erase(
      std::remove_if(drainers.begin(), drainers.end(),
                     [list](const auto& drainer) { return drainer->GetFdDataList() == list; }),
      drainers.end());
}

void OutgoingDrainer::Forget(KZFdDataList* list, const Drainable* waiting) {
  OutgoingDrainer* drainer = Find(list);
  if (drainer != nullptr) drainer->Unwatch(waiting);
}

bool OutgoingDrainer::Watch(int fd, Drainable* waiting) {
  epoll_event event{};
  event.events = EPOLLOUT | EPOLLONESHOT;
  event.data.fd = fd;
  if (epoll_ctl(GetFD(), EPOLL_CTL_MOD, fd, &event) != 0 &&
      epoll_ctl(GetFD(), EPOLL_CTL_ADD, fd, &event) != 0) {
    return false;
  }
  mWatched[fd] = waiting;
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
