#include "dorn/server/ConnectionTimers.h"

#include <cstdio>

#include "dorn/loop/LoopPass.h"
#include "dorn/loop/RestartTimer.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/WireWords.h"
#include "dorn/server/App.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Counters.h"
#include "dorn/server/Outgoing.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

namespace {

constexpr unsigned long kLogInTimeoutMs = 10000;
constexpr unsigned long kIdleTimeoutMs = 180000;
constexpr unsigned long kAnswerTimeoutMs = 10000;

// How often in a row a station that takes bytes gets more time for its answer.
constexpr int kMaxDelays = 5;

}  // namespace

unsigned int ConnectionTimers::IdOf(Kind kind) const {
  return static_cast<unsigned int>(mSocket.GetId()) + static_cast<unsigned int>(kind);
}

void ConnectionTimers::Restart(Kind kind, unsigned long ms) {
  RestartSingleTimer(App(), ms, IdOf(kind));
}

void ConnectionTimers::Cancel(Kind kind) { App().SetApplicationSingleTimerInterval(0, IdOf(kind)); }

void ConnectionTimers::AwaitLogIn() { Restart(kLogIn, kLogInTimeoutMs); }

void ConnectionTimers::LoggedIn() { Cancel(kLogIn); }

void ConnectionTimers::LimitLogIn() {
  if (!App().HasTimer(IdOf(kLogIn))) AwaitLogIn();
}

void ConnectionTimers::HeldLogInIsGood() {
  mResumedIn = TimerRound();
  LoggedIn();
}

void ConnectionTimers::BytesArrived() { Restart(kIdle, kIdleTimeoutMs); }

void ConnectionTimers::Answered() {
  Cancel(kAnswer);
  Forget();
}

void ConnectionTimers::Forget() { mIsAsked = false; }

void ConnectionTimers::CancelAll() {
  for (const Kind kind : {kLogIn, kIdle, kAnswer}) Cancel(kind);
}

void ConnectionTimers::DelayLogIn(unsigned long ms) { Restart(kDelayedLogIn, ms); }

void ConnectionTimers::ForgetLogIn() { Cancel(kDelayedLogIn); }

void ConnectionTimers::Expire(int kind) {
  if (kind == kIdle) {
    AskForAnswer();
  } else if (kind == kAnswer) {
    MissAnswer();
  } else if (kind == kLogIn) {
    Connection& connection = Connection::Of(mSocket);
    // All that is due is fired in one round, and a log-in that went on in it, too, was a good one.
    if (mSocket.mAuth && mResumedIn != 0 && mResumedIn == TimerRound()) return;
    // "Connection time-out."
    std::puts("コネクションタイムアウト");
    const ClosingFor reason(&Statistics::closedNoLogin);
    const int ends = connection.Ends();
    if (connection.HeldLogIn() != 0) connection.GiveUpHeldLogIn();
    if (!connection.IsAnothersSince(ends)) mSocket.Close();
  } else if (kind == kDelayedLogIn) {
    mResumedIn = TimerRound();
    Connection::Of(mSocket).ResumeLogIn();
  }
}

void ConnectionTimers::AskForAnswer() {
  VQJsonCommand command(kCommandKeepalive);
  const Connection& connection = Connection::Of(mSocket);
  const int ends = connection.Ends();
  mSocket.SendData(command.GetJson());
  // A host's own SendData() may close the connection and open it again: who is there now was not
  // asked. Kept: if it is only closed, the timer is set all the same and comes to the host.
  if (connection.IsAnothersSince(ends)) return;
  static_cast<void>(mOutgoing.TakeProgress());  // What went out so far does not count.
  mIsAsked = true;
  mDelays = 0;
  Restart(kAnswer, kAnswerTimeoutMs);
}

// A station that took queued bytes meanwhile is alive, and the KEEPALIVE waits behind them or has
// only just gone out: the ten seconds begin when it is really sent. But taking bytes is no answer,
// or a station that never gives one would stay for ever.
void ConnectionTimers::MissAnswer() {
  if (mIsAsked && mDelays < kMaxDelays && mOutgoing.TakeProgress()) {
    ++mDelays;
    Restart(kAnswer, kAnswerTimeoutMs);
    return;
  }
  // "No answer to KEEPALIVE in time."
  std::puts("KEEPALIVE応答タイムアウト");
  const ClosingFor reason(&Statistics::closedNoAnswer);
  mSocket.Close();
}

}  // namespace dorn
