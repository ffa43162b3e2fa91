#include "dorn/server/VQSession.h"

#include "dorn/server/App.h"
#include "dorn/server/EndingSession.h"
#include "dorn/server/Observed.h"
#include "dorn/server/Observer.h"
#include "dorn/server/VQApplication.h"

namespace {

void Arm(const VQSession& session) {
  if (session.mInterval <= 0) return;
  VQApplication& app = dorn::App();
  const auto interval = static_cast<unsigned long>(session.mInterval);
  app.SetApplicationSingleTimerInterval(0, session.mTimerId);
  app.SetApplicationSingleTimerInterval(interval, session.mTimerId);
}

}  // namespace

VQSession::VQSession() = default;

VQSession::VQSession(const KZString& sessionId, int interval)
    : mTimerId(dorn::App().NextSessionTimerId()), mSessionId(sessionId), mInterval(interval) {
  Arm(*this);
}

VQSession::~VQSession() { dorn::EndingSession::NoteDestroyed(*this); }

void VQSession::Extend() {
  if (mInterval <= 0) return;
  Arm(*this);
  dorn::Observer* observer = dorn::TheObserver();
  if (observer != nullptr) observer->OnSessionExtend(KZString(mSessionId));
}

void VQSession::SetSessionId(const KZString& sessionId) { mSessionId = sessionId; }
