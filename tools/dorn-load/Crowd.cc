#include "tools/dorn-load/Crowd.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>

namespace dorn::load {

namespace {

constexpr int kEvents = 256;
constexpr Us kLookEvery = 50 * kMillisecond;  // At the stations' clocks.

}  // namespace

Crowd::Crowd(Run& run)
    : mRun(run),
      mEpoll(epoll_create1(EPOLL_CLOEXEC)),
      mTimer(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {
  epoll_event event{};
  event.events = EPOLLIN;
  epoll_ctl(mEpoll, EPOLL_CTL_ADD, mTimer, &event);
  run.mEpoll = mEpoll;
  for (int i = 0; i < run.mOptions.mStations; ++i) {
    mStations.push_back(std::make_unique<Station>(run, mStations.size()));
  }
}

Crowd::~Crowd() {
  mStations.clear();
  close(mTimer);
  close(mEpoll);
}

void Crowd::Turn(Us until) {
  mRun.mNow = SteadyUs();
  const Us wake = std::min(until, mLookAt);
  if (wake > mRun.mNow) SetTimer(wake);
  epoll_event events[kEvents];
  const int count = epoll_wait(mEpoll, events, kEvents, wake > mRun.mNow ? -1 : 0);
  for (int i = 0; i < count; ++i) {
    // For each of them, since those before it took their time.
    mRun.mNow = SteadyUs();
    if (events[i].data.ptr == nullptr) continue;
    static_cast<Station*>(events[i].data.ptr)->OnEvents(static_cast<short>(events[i].events));
  }
  mRun.mNow = SteadyUs();
  if (mRun.mNow < mLookAt) return;
  mLookAt = mRun.mNow + kLookEvery;
  for (const auto& station : mStations) station->LookAtClock();
}

bool Crowd::IsWaiting() const {
  return std::any_of(mStations.begin(), mStations.end(),
                     [](const auto& station) { return station->IsWaiting(); });
}

bool Crowd::IsBehind() const {
  return std::any_of(mStations.begin(), mStations.end(),
                     [](const auto& station) { return station->IsBehind(); });
}

Station* Crowd::Next() {
  for (std::size_t tried = 0; tried < mStations.size(); ++tried) {
    Station& station = *mStations[mTurn];
    mTurn = (mTurn + 1) % mStations.size();
    if (station.IsIn()) return &station;
  }
  return nullptr;
}

void Crowd::Ask() {
  for (const auto& station : mStations) station->Ask();
}

void Crowd::GiveUpWaiting(Error error) {
  for (const auto& station : mStations) station->GiveUpWaiting(error);
}

// Setting it anew takes back an expiry that nobody has read, so that it never wakes twice.
void Crowd::SetTimer(Us until) {
  if (until == mTimerAt) return;
  mTimerAt = until;
  itimerspec time{};
  time.it_value.tv_sec = until / kSecond;
  time.it_value.tv_nsec = until % kSecond * 1000;
  timerfd_settime(mTimer, TFD_TIMER_ABSTIME, &time, nullptr);
}

}  // namespace dorn::load
