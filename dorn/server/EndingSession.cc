#include "dorn/server/EndingSession.h"

#include <utility>

#include "dorn/server/Observed.h"
#include "dorn/server/Observer.h"
#include "dorn/server/VQSession.h"

namespace dorn {

EndingSession* EndingSession::sInnermost = nullptr;

EndingSession::EndingSession(VQSession& session)
    : mSession(&session), mOuter(std::exchange(sInnermost, this)) {
  for (const EndingSession* outer = mOuter; outer != nullptr; outer = outer->mOuter) {
    if (outer->mSession == &session) return;
  }
  if (Observer* observer = TheObserver()) observer->OnSessionEnd(KZString(session.GetSessionId()));
}

EndingSession::~EndingSession() { sInnermost = mOuter; }

void EndingSession::NoteDestroyed(const VQSession& session) {
  for (EndingSession* ending = sInnermost; ending != nullptr; ending = ending->mOuter) {
    if (ending->mSession == &session) ending->mSession = nullptr;
  }
}

}  // namespace dorn
