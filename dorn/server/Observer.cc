#include "dorn/server/Observer.h"

#include "dorn/server/Observed.h"

namespace dorn {

namespace {
Observer* gObserver = nullptr;
}

Observer::Observer() = default;

Observer::~Observer() {
  if (gObserver == this) gObserver = nullptr;
}

void Observer::OnStationGone(VQClientSocket*, const KZString&) {}

void Observer::OnSessionStart(const KZString&, int) {}

void Observer::OnSessionExtend(const KZString&) {}

void Observer::OnSessionEnd(const KZString&) {}

void Observer::Spare1() {}
void Observer::Spare2() {}
void Observer::Spare3() {}
void Observer::Spare4() {}
void Observer::Spare5() {}
void Observer::Spare6() {}
void Observer::Spare7() {}
void Observer::Spare8() {}

void SetObserver(Observer* observer) { gObserver = observer; }

Observer* TheObserver() { return gObserver; }

}  // namespace dorn
