#include "tools/dorn-terminal/Loop.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace dorn::terminal {

namespace {

constexpr Loop::Ms kFrame = 50;
constexpr double kRestPerCost = 10;
constexpr Loop::Ms kSlowestFrame = 1000;
constexpr Loop::Ms kMostPassedOver = 500;
constexpr Loop::Ms kConnectLimit = 10'000;

double ExactMs() {
  using Exact = std::chrono::duration<double, std::milli>;
  return Exact(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

Loop::Loop(Curses& curses, Signals& signals, station::Session& session, View& view,
           dorn::tools::HostAndPort host)
    : mCurses(curses),
      mSignals(signals),
      mSession(session),
      mView(view),
      mHost(std::move(host)),
      mLine(*this) {}

void Loop::Run() {
  while (!mIsOver && !mView.WantsQuit()) {
    const Ms now = dorn::tools::SteadyMs();
    if (const auto next = mSession.NextTick(); next && *next <= now) {
      mSession.Tick(now);
      mView.OnHost(now);
    }
    FollowSession(now);
    DrawIfDue(now);
    Wait();
  }
}

// Opens the line that the session wants, and sends what it has to say.
void Loop::FollowSession(Ms now) {
  if (mSession.Line() != mLineNumber) {
    mLine.Close();
    mLineNumber = mSession.Line();
    if (mLineNumber != 0) mLine.Open(mHost.mHost, mHost.mPort, kConnectLimit, now);
  }
  const std::string output = mSession.TakeOutput();
  if (!output.empty()) mLine.Send(output);
}

void Loop::OnOpen() {
  mSession.Connected(mLineNumber, mNow);
  mView.OnHost(mNow);
}

void Loop::OnReceive(std::string_view bytes) {
  mFigures.mBytes += bytes.size();
  mSession.Received(mLineNumber, bytes, mNow);
  mView.OnHost(mNow);
}

void Loop::OnEnd(dorn::tools::Line::End, const std::string&) {
  mSession.Closed(mLineNumber, mNow);
  mView.OnHost(mNow);
}

int Loop::Timeout(Ms now) const {
  Ms next = now + 60'000;
  if (const auto tick = mSession.NextTick()) next = std::min(next, *tick);
  if (const auto draw = mView.NextDraw(now)) next = std::min(next, *draw);
  if (const auto call = mLine.NextCall()) next = std::min(next, *call);
  if (mView.HasHostChange() && !mIsBlocked) {
    const auto rest = std::min<Ms>(kSlowestFrame, static_cast<Ms>(mCostMs * kRestPerCost));
    next = std::min(next, mDrawnAt + std::max(kFrame, rest));
  }
  return static_cast<int>(std::clamp<Ms>(next - now, 0, 60'000));
}

void Loop::Wait() {
  const Ms before = dorn::tools::SteadyMs();
  pollfd watched[4] = {{STDIN_FILENO, POLLIN, 0},
                       {mSignals.Descriptor(), POLLIN, 0},
                       {mLine.Descriptor(), mLine.Events(), 0},
                       {mIsBlocked ? STDOUT_FILENO : -1, POLLOUT, 0}};
  if (poll(watched, 4, Timeout(before)) < 0) {
    for (pollfd& each : watched) each.revents = 0;
  }
  mNow = dorn::tools::SteadyMs();
  const Signals::Seen seen = mSignals.Take();
  if (seen.mEnds) mIsOver = true;
  if (seen.mResized) {
    mCurses.Resized();
    mView.Resize(mCurses.Width(), mCurses.Height());
    mMustDraw = true;
  }
  if ((watched[0].revents & POLLIN) != 0) TakeKeys();
  // The terminal was closed.
  if ((watched[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) mIsOver = true;
  mLine.Ready(watched[2].revents, mNow);
}

void Loop::TakeKeys() {
  if (mKeySince == 0) mKeySince = ExactMs();
  for (const Key& key : mCurses.ReadKeys()) {
    mView.OnKey(key, mNow);
    ++mFigures.mKeys;
    mMustDraw = true;
  }
  if (!mMustDraw) mKeySince = 0;
}

void Loop::DrawIfDue(Ms now) {
  const auto rest = std::min<Ms>(kSlowestFrame, static_cast<Ms>(mCostMs * kRestPerCost));
  // A key does not wait for what the host has changed, unless keys come all the time.
  const Ms due = mDrawnAt + std::max(kFrame, rest);
  const bool isHostDue = mView.HasHostChange() && now >= (mMustDraw ? due + kMostPassedOver : due);
  const auto next = mView.NextDraw(mDrawnAt);
  const bool isTimeDue = next && now >= *next && *next > mDrawnAt;
  if (!mMustDraw && !isHostDue && !isTimeDue) return;
  mIsBlocked = !Curses::CanWrite();
  if (mIsBlocked) return;
  const double begin = ExactMs();
  if (isHostDue) mView.TakeHost(now);
  Draw(now);
  const double end = ExactMs();
  if (isHostDue) {
    mDrawnAt = now;
    mCostMs = end - begin;
    mFigures.mFrameMostMs = std::max(mFigures.mFrameMostMs, mCostMs);
  } else if (isTimeDue) {
    mDrawnAt = now;
  }
  if (mKeySince == 0) return;
  const double echo = end - std::exchange(mKeySince, 0);
  mFigures.mEchoSumMs += echo;
  mFigures.mEchoMostMs = std::max(mFigures.mEchoMostMs, echo);
}

void Loop::Draw(Ms now) {
  mCurses.Show(mView.Draw(now));
  if (mView.TakeBeep()) mCurses.Beep();
  mMustDraw = false;
  ++mFigures.mFrames;
}

}  // namespace dorn::terminal
