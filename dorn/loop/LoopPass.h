// Where this thread is inside a pass of an event loop. Internal: not installed.
#ifndef DORN_LOOP_LOOPPASS_H_
#define DORN_LOOP_LOOPPASS_H_

class KZApplication;

namespace dorn {

// True while this thread runs KZApplication::RunPass(), its callbacks included. Otherwise it is a
// thread whose loop has not begun or that has none, and what is queued may never be served.
bool IsInPass();

// The same, of this application's loop: a pass inside it would be refused.
bool IsInPassOf(const KZApplication* app);

// Has `call` called once at the end of this thread's current pass, or of its next one. What is
// asked for meanwhile is called in the same pass.
void AtEndOfPass(void (*call)());

// A number of its own for each time that this thread fires the timers that are due; 0 while it
// fires none, and behind a round within the round.
unsigned long TimerRound();

}  // namespace dorn

#endif  // DORN_LOOP_LOOPPASS_H_
