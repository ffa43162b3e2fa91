#include "dorn/server/ApplicationState.h"

namespace dorn {

namespace {

// Applications are few, usually one, and come and go on one thread: a list that readers walk
// without a lock. Set before any dynamic initialiser runs.
struct Entry {
  const VQApplication* owner;
  ApplicationState state;
  std::atomic<Entry*> next{nullptr};
};
std::atomic<Entry*> gFirst{nullptr};

static_assert(std::atomic<Entry*>::is_always_lock_free, "read by signal handlers");
static_assert(std::atomic<bool>::is_always_lock_free, "written by signal handlers");

}  // namespace

void MakeState(const VQApplication& app) {
  auto* entry = new Entry{&app, {}, {}};
  entry->next = gFirst.load();
  gFirst = entry;
}

void DropState(const VQApplication& app) {
  std::atomic<Entry*>* link = &gFirst;
  for (Entry* entry = *link; entry != nullptr; link = &entry->next, entry = *link) {
    if (entry->owner != &app) continue;
    *link = entry->next.load();
    delete entry;
    return;
  }
}

ApplicationState* FindState(const VQApplication& app) {
  for (Entry* entry = gFirst; entry != nullptr; entry = entry->next) {
    if (entry->owner == &app) return &entry->state;
  }
  return nullptr;
}

}  // namespace dorn
