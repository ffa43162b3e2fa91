#include "UserSessions.h"

#include <algorithm>
#include <iterator>

#include "PumphouseApp.h"

namespace {

bool HasStation(const KZString& sessionId) {
  const KZFdDataList& records = *app.GetFdDataList();
  return std::any_of(records.begin(), records.end(), [&sessionId](KZFdData* record) {
    auto* station = dynamic_cast<VQClientSocket*>(record);
    return station != nullptr && station->GetFDStatus() != KZFdData::kStatusRemove &&
           station->GetSessionId() == sessionId;
  });
}

// Ends a session as if its time had run out: its connections are closed and its trees go.
void End(const KZString& sessionId) {
  if (const VQSession* session = app.SessionList()->Search(sessionId)) {
    app.SetApplicationSingleTimerInterval(0, session->mTimerId);
    app.SessionList()->Expire(session->mTimerId);
  }
}

}  // namespace

void UserSessions::Add(const KZString& sessionId, const std::string& user) {
  mOwners[sessionId] = {user, ++mCreated};
  Sweep();
  if (CountOf(user) <= kMostOfOneUser) return;
  KZString oldest = OldestOf(user, true, sessionId);
  if (oldest.empty()) oldest = OldestOf(user, false, sessionId);
  mOwners.erase(oldest);
  End(oldest);
}

KZString UserSessions::UserOf(const KZString& sessionId) const {
  const auto found = mOwners.find(sessionId);
  return found == mOwners.end() ? KZString() : KZString(found->second.user);
}

void UserSessions::Sweep() {
  for (auto each = mOwners.begin(); each != mOwners.end();) {
    each = app.SessionList()->Has(each->first) ? std::next(each) : mOwners.erase(each);
  }
}

KZString UserSessions::OldestOf(const std::string& user, bool idleOnly,
                                const KZString& except) const {
  KZString oldest;
  unsigned long order = mCreated + 1;
  for (const auto& [sessionId, owner] : mOwners) {
    if (owner.user != user || owner.order >= order || sessionId == except) continue;
    if (idleOnly && HasStation(sessionId)) continue;
    oldest = sessionId;
    order = owner.order;
  }
  return oldest;
}

int UserSessions::CountOf(const std::string& user) const {
  return static_cast<int>(std::count_if(mOwners.begin(), mOwners.end(), [&user](const auto& each) {
    return each.second.user == user;
  }));
}
