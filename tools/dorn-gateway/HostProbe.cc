#include "tools/dorn-gateway/HostProbe.h"

#include "station/Framing.h"
#include "tools/dorn-gateway/PageSession.h"

namespace dorn::gateway {

HostProbe::~HostProbe() { Stop(); }

void HostProbe::Start() {
  if (mShared.mOptions.mTimes.mProbe == Ms(0)) return;
  Ask();
  Wait();
}

void HostProbe::Stop() {
  mTimer.cancel();
  if (mConnection) mConnection->Close();
  mConnection.reset();
}

// What was not answered by the next time is no answer.
void HostProbe::Wait() {
  mTimer.expires_after(mShared.mOptions.mTimes.mProbe);
  mTimer.async_wait([this](const boost::system::error_code& error) {
    if (error) return;
    if (mConnection) {
      mConnection->Close();
      mConnection.reset();
      Told(false, "the host does not answer");
    }
    Ask();
    Wait();
  });
}

void HostProbe::Ask() {
  if (const auto isUp = HostAsPagesSeeIt(mShared); isUp) {
    Told(*isUp, "the host does not answer");
    return;
  }
  mConnection = std::make_shared<HostConnection>(mShared, *this);
  mConnection->Connect(boost::asio::ip::address_v4::loopback());
}

void HostProbe::OnHostUp() {
  if (!mConnection->Send(station::Framed("{\"Command\":\"HELLO\"}"))) OnHostDown("");
}

void HostProbe::OnHostBytes(std::string_view) {
  mConnection->Close();
  mConnection.reset();
  Told(true, "");
}

// It may still be connecting, or connected and full.
void HostProbe::OnHostDown(const std::string& why) {
  mConnection->Close();
  mConnection.reset();
  Told(false, why);
}

void HostProbe::Told(bool isUp, std::string_view why) {
  if (mHasTold && isUp == mShared.mMetrics.mIsHostUp) return;
  mHasTold = true;
  mShared.mMetrics.mIsHostUp = isUp;
  if (isUp) {
    mShared.mLog.Info("the host answers");
  } else {
    mShared.mLog.Warn("the host is down", {{"why", why}});
  }
}

}  // namespace dorn::gateway
