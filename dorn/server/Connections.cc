#include "dorn/server/Connections.h"

#include <cstddef>
#include <typeinfo>
#include <unordered_set>
#include <utility>

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

}  // namespace

VQClientSocket* AsConnection(KZFdData* record) {
  const auto id = static_cast<unsigned int>(record->GetId());
  const bool inRange =
      id >= VQApplication::kFirstSocketId && id < VQApplication::kFirstSessionTimerId;
  if (!inRange) return nullptr;
  // The usual class needs no search through its bases.
  if (typeid(*record) == typeid(VQClientSocket)) return static_cast<VQClientSocket*>(record);
  return dynamic_cast<VQClientSocket*>(record);
}

VQClientSocket* AsLivingConnection(KZFdData* record) {
  VQClientSocket* client = AsConnection(record);
  if (client == nullptr || LoadShared(record->mStatus) == KZFdData::kStatusRemove) return nullptr;
  return client;
}

// The record may be of another class: the addresses are not read, only fetched.
void PrefetchConnection(const KZFdData* record) {
  constexpr std::size_t kCacheLine = 64;
  const char* const start = reinterpret_cast<const char*>(record);
  const char* const end = start + sizeof(VQClientSocket);
  __builtin_prefetch(start);
  // The members of the class itself lie at the end.
  for (const char* line = start + sizeof(KZClientSocket); line < end; line += kCacheLine) {
    __builtin_prefetch(line);
  }
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
