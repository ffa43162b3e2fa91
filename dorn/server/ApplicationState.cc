#include "dorn/server/ApplicationState.h"

#include "dorn/server/OutgoingDrainer.h"
#include "dorn/server/VQApplication.h"

namespace dorn {

namespace {

// Applications are few, usually one, and come and go on one thread: a list that readers walk
// without a lock. Set before any dynamic initialiser runs.
struct Entry {
  explicit Entry(const VQApplication& app) : owner(&app) {}

  const VQApplication* owner;
  ApplicationState state;
  std::atomic<Entry*> next{nullptr};
};
std::atomic<Entry*> gFirst{nullptr};

static_assert(std::atomic<Entry*>::is_always_lock_free, "read by signal handlers");
static_assert(std::atomic<bool>::is_always_lock_free, "written by signal handlers");

}  // namespace

ApplicationState::ApplicationState() = default;

ApplicationState::~ApplicationState() = default;

void MakeState(const VQApplication& app) {
  auto* entry = new Entry(app);
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

ApplicationState* FindStateOfList(const KZFdDataList* list) {
  for (Entry* entry = gFirst; entry != nullptr; entry = entry->next) {
    if (&entry->owner->mFdList == list) return &entry->state;
  }
  return nullptr;
}

}  // namespace dorn
