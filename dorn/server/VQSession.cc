#include "dorn/server/VQSession.h"

#include "dorn/server/App.h"
#include "dorn/server/VQApplication.h"

VQSession::VQSession() = default;

VQSession::VQSession(const KZString& sessionId, int interval)
    : mTimerId(dorn::App().NextSessionTimerId()), mSessionId(sessionId), mInterval(interval) {
  Extend();
}

VQSession::~VQSession() = default;

void VQSession::Extend() {
  if (mInterval <= 0) return;
  VQApplication& app = dorn::App();
  app.SetApplicationSingleTimerInterval(0, mTimerId);
  app.SetApplicationSingleTimerInterval(static_cast<unsigned long>(mInterval), mTimerId);
}

void VQSession::SetSessionId(const KZString& sessionId) { mSessionId = sessionId; }
