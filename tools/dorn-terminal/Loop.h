// Brings terminal, session and line together: waits for keys, the host, signals and time, and shows
// what has come of them.
//
// A key is shown at once. What the host changes is shown at most 20 times a second, and less often
// where it takes long to draw, so that a busy host leaves the machine to others.
#ifndef TOOLS_DORN_TERMINAL_LOOP_H_
#define TOOLS_DORN_TERMINAL_LOOP_H_

#include <string>

#include "station/Session.h"
#include "tools/dorn-terminal/Curses.h"
#include "tools/dorn-terminal/Signals.h"
#include "tools/dorn-terminal/View.h"
#include "tools/line/Line.h"

namespace dorn::terminal {

class Loop : private dorn::tools::Line::Hooks {
 public:
  using Ms = station::Session::Ms;

  // What was measured, for --figures.
  struct Figures {
    unsigned long mKeys = 0;
    double mEchoSumMs = 0;  // From the key to the terminal.
    double mEchoMostMs = 0;
    unsigned long mFrames = 0;
    double mFrameMostMs = 0;
    unsigned long long mBytes = 0;  // Received.
  };

  // All must outlive it.
  Loop(Curses& curses, Signals& signals, station::Session& session, View& view,
       dorn::tools::HostAndPort host);

  // Until the user or a signal ends it, or the terminal is gone.
  void Run();
  const Figures& GetFigures() const { return mFigures; }

 private:
  void OnOpen() override;
  void OnReceive(std::string_view bytes) override;
  void OnEnd(dorn::tools::Line::End end, const std::string& why) override;

  void FollowSession(Ms now);
  int Timeout(Ms now) const;
  void Wait();
  void TakeKeys();
  void DrawIfDue(Ms now);
  void Draw(Ms now);

  Curses& mCurses;
  Signals& mSignals;
  station::Session& mSession;
  View& mView;
  const dorn::tools::HostAndPort mHost;
  dorn::tools::Line mLine;
  unsigned mLineNumber = 0;
  Ms mNow = 0;  // Of what happens on the line.

  bool mIsOver = false;
  bool mMustDraw = true;    // A key or the size has changed something.
  bool mIsBlocked = false;  // The terminal takes nothing just now.
  double mKeySince = 0;     // When the keys came that are not yet shown; 0: none.
  Ms mDrawnAt = 0;
  double mCostMs = 0;  // Of taking over and drawing what the host has changed.
  Figures mFigures;
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_LOOP_H_
