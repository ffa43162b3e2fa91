#include "dorn/server/MessageBatch.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "dorn/base/Clock.h"
#include "dorn/server/Outgoing.h"

namespace dorn {

namespace {

// How late a hook may begin after the one before it with something still kept back.
constexpr long long kMaxDelayMs = 20;

// By thread: what another thread sends meanwhile, against the rules, leaves at once.
thread_local bool tMore = false;

// When the last hook began before which nothing was kept back.
long long gSinceMs = 0;

// Never destroyed: connections may still be destroyed after the statics of this file.
std::vector<Outgoing*>& Unpushed() {
  static auto* const unpushed = new std::vector<Outgoing*>;
  return *unpushed;
}

long long NowMs() {
  const timeval now = Now();
  return static_cast<long long>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

// No callback runs while this pushes: the list stays as it is.
void PushAll() {
  for (Outgoing* outgoing : Unpushed()) outgoing->Push();
  Unpushed().clear();
}

}  // namespace

MessageBatch::MessageBatch() : mOuter(std::exchange(tMore, false)) {}

MessageBatch::~MessageBatch() {
  tMore = mOuter;
  PushAll();
}

void MessageBatch::SetMore(bool more) { tMore = more; }

bool MessageBatch::HasMore() { return tMore; }

void MessageBatch::Remember(Outgoing* outgoing) { Unpushed().push_back(outgoing); }

void MessageBatch::Forget(const Outgoing* outgoing) {
  std::vector<Outgoing*>& unpushed = Unpushed();
  unpushed.erase(std::remove(unpushed.begin(), unpushed.end(), outgoing), unpushed.end());
}

// A clock that was set in the meantime causes a push too many or too few, and no more.
void MessageBatch::BeforeHook() {
  if (!tMore && Unpushed().empty()) return;
  const long long nowMs = NowMs();
  if (!Unpushed().empty()) {
    if (nowMs - gSinceMs <= kMaxDelayMs) return;
    PushAll();
  }
  gSinceMs = nowMs;
}

}  // namespace dorn
