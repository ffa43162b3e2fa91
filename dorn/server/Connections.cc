#include "dorn/server/Connections.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <unordered_set>
#include <utility>

#include "dorn/base/VirtualTable.h"
#include "dorn/loop/KZFdData.h"
#include "dorn/loop/LoopPass.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/server/App.h"
#include "dorn/server/RunningHooks.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

namespace {

int gExpiring = 0;
std::uint64_t gSearchSteps = 0;

// The sessions that have a living connection, as they were found in one round of due timers. Taken
// at the second search of a round only: if the survey is forgotten again and again, each search
// costs no more than its own walk.
enum class SurveyState { kNone, kSearched, kTaken };
SurveyState gSurveyState = SurveyState::kNone;
unsigned long gSurveyRound = 0;
std::unordered_set<KZString> gSurvey;

void TakeSurvey() {
  gSurvey.clear();
  for (KZFdData* record : *App().GetFdDataList()) {
    ++gSearchSteps;
    const VQClientSocket* client = AsLivingConnection(record);
    if (client != nullptr) gSurvey.insert(client->mSessionId);
  }
}

// Whether the survey can be asked. A hook that is running may change anything at any time.
bool IsSurveyed() {
  const unsigned long round = TimerRound();
  if (gExpiring == 0 || round == 0 || RunningHooks::IsAny()) return false;
  if (std::exchange(gSurveyRound, round) != round) ForgetSurvey();
  if (gSurveyState == SurveyState::kNone) {
    gSurveyState = SurveyState::kSearched;
    return false;
  }
  if (gSurveyState == SurveyState::kSearched) TakeSurvey();
  gSurveyState = SurveyState::kTaken;
  return true;
}

// The table of virtual operations of a plain connection, once there was one.
std::atomic<const void*> gPlainTable{nullptr};

// Never destroyed: connections of static storage die after it.
struct Known {
  std::mutex mutex;
  std::unordered_set<const KZFdData*> connections;
};

Known& GetKnown() {
  static Known& known = *new Known;
  return known;
}

bool IsConnection(const KZFdData* record) {
  Known& known = GetKnown();
  const std::lock_guard<std::mutex> lock(known.mutex);
  return known.connections.count(record) != 0;
}

}  // namespace

void NoteConnection(VQClientSocket& client) {
  gPlainTable.store(TableOf(client), std::memory_order_relaxed);
  Known& known = GetKnown();
  const std::lock_guard<std::mutex> lock(known.mutex);
  known.connections.insert(&client);
}

void ForgetConnection(VQClientSocket& client) {
  Known& known = GetKnown();
  const std::lock_guard<std::mutex> lock(known.mutex);
  known.connections.erase(&client);
}

VQClientSocket* AsConnection(KZFdData* record) {
  const auto id = static_cast<unsigned int>(record->GetId());
  const bool inRange =
      id >= VQApplication::kFirstSocketId && id < VQApplication::kFirstSessionTimerId;
  if (!inRange) return nullptr;
  // Nearly all are plain connections, which need no search.
  const bool isPlain = TableOf(*record) == gPlainTable.load(std::memory_order_relaxed);
  return isPlain || IsConnection(record) ? static_cast<VQClientSocket*>(record) : nullptr;
}

bool IsPlainConnection(const VQClientSocket& client) {
  return TableOf(client) == gPlainTable.load(std::memory_order_relaxed);
}

VQClientSocket* AsLivingConnection(KZFdData* record) {
  VQClientSocket* client = AsConnection(record);
  if (client == nullptr || LoadShared(record->mStatus) == KZFdData::kStatusRemove) return nullptr;
  return client;
}

VQClientSocket* FindConnectionOf(const KZString& sid) {
  if (IsSurveyed() && gSurvey.count(sid) == 0) return nullptr;
  for (KZFdData* record : *App().GetFdDataList()) {
    ++gSearchSteps;
    VQClientSocket* client = AsLivingConnection(record);
    if (client != nullptr && client->mSessionId == sid) return client;
  }
  return nullptr;
}

ExpiryScope::ExpiryScope() { ++gExpiring; }

ExpiryScope::~ExpiryScope() { --gExpiring; }

void ForgetSurvey() { gSurveyState = SurveyState::kNone; }

std::uint64_t SearchSteps() { return gSearchSteps; }

}  // namespace dorn
