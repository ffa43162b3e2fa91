// One station: its line, what it waits for, and nothing else. It keeps no tree, so that a thousand
// of them cost little.
//
//   kOut --Come()--> kConnecting --> kLoggingIn --OPEN--> kEntering --answer--> kIn
//    ^                                    |                                      |
//    |                                    +--wrong password--> kRefused          |
//    +--------------------------- line lost, time-out ---------------------------+
//
// What it sends is what every station sends: a change travels between two fences, an entry begins
// with one and ends with one, and after 20 s of silence a fence asks whether the host is there.
#ifndef TOOLS_DORN_LOAD_STATION_H_
#define TOOLS_DORN_LOAD_STATION_H_

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "station/Framing.h"
#include "tools/dorn-load/Figures.h"
#include "tools/dorn-load/Marks.h"
#include "tools/dorn-load/Options.h"
#include "tools/dorn-load/Targets.h"
#include "tools/dorn-load/Texts.h"
#include "tools/line/Line.h"

namespace dorn::load {

// What all stations of a run have in common. Outlives them.
struct Run {
  Run(const Options& options, const Targets& targets, std::string dialog);

  const Options& mOptions;
  const Targets& mTargets;
  const std::string mDialog;
  const dorn::tools::Addresses mAddresses;  // Of the host: a name is looked up once.
  Texts mTexts;
  Marks mMarks;
  Record mRecord;
  int mEpoll = -1;
  Us mNow = 0;          // Of the present pass of the loop.
  std::size_t mIn = 0;  // Stations.
  std::size_t mRefused = 0;
  std::string mLastWords;  // Why a connection last ended or could not be made.
};

class Station : private dorn::tools::Line::Hooks, private dorn::station::Framing::Sink {
 public:
  Station(Run& run, std::size_t number) : mRun(run), mNumber(number) {}
  Station(const Station&) = delete;
  Station& operator=(const Station&) = delete;

  // Connects and logs in, which was meant for this time.
  void Come(Us meant);
  // Touches an object; sets it to `value` unless that is empty.
  void Touch(std::size_t target, const std::string& value, Us meant);
  // Enters its dialog again.
  void Enter(Us meant);
  // Asks whether the host is there, if it is in.
  void Ask();

  bool IsIn() const { return mState == State::kIn; }
  bool IsRefused() const { return mState == State::kRefused; }
  // Something is not answered yet: an action, an entry, a log-in or a heartbeat.
  bool IsWaiting() const { return !mAwaited.empty(); }
  // It has to come back, or the host owes it answers, be they too late to be counted.
  bool IsBehind() const { return !IsRefused() && (!IsIn() || mAnswered < mFences); }

  // What epoll reports.
  void OnEvents(short events);
  // Now and then: what has waited too long, and who has been away long enough.
  void LookAtClock();
  // A trial has ended: actions that are not answered are missing, for this reason, and what comes
  // later belongs to none.
  void GiveUpWaiting(Error error);

 private:
  enum class State { kOut, kConnecting, kLoggingIn, kEntering, kIn, kRefused };
  enum class Use { kLogIn, kAction, kEntry, kHeartbeat };
  struct Awaited {
    unsigned long mFence;
    Us mMeant;
    Us mSent;
    Use mUse;
  };

  void OnOpen() override;
  void OnReceive(std::string_view bytes) override;
  void OnEnd(dorn::tools::Line::End end, const std::string& why) override;
  void OnText(std::string_view text) override;
  void OnPayload(std::string_view, bool) override {}
  void OnTooLong() override { mRun.mRecord.Count(Error::kUnreadable); }

  // In one piece, so that the host is woken once.
  void Send(const std::vector<std::string>& texts);
  void SendEntry(Us meant, Use use);
  void Await(Us meant, Use use);
  void OnOpened();
  void OnRefused();
  void OnFence(unsigned long fence);
  void OnTold(const Digest& digest);
  void Miss(const Awaited& awaited, Error error);
  void MissAll(Error error);
  void DropLate();
  void GoOut();
  void Watch();

  Run& mRun;
  const std::size_t mNumber;
  dorn::tools::Line mLine{*this};
  std::optional<dorn::station::Framing> mFraming;  // Of the present connection.
  State mState = State::kOut;
  Us mCame = 0;       // When it was meant to come.
  Us mBegan = 0;      // When it began to.
  Us mSentAt = 0;     // When it sent last.
  Us mReturnAt = -1;  // When it tries again; below 0: not of its own accord.
  unsigned long mFences = 0;
  unsigned long mAnswered = 0;  // The last of them that was.
  std::deque<Awaited> mAwaited;
  int mEntries = 0;  // How many of these are entries: what comes meanwhile is no change.
  int mWatched = -1;
  short mWatchedFor = 0;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_STATION_H_
