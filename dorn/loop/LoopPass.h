// Whether this thread is inside a pass of an event loop. Internal: not installed.
#ifndef DORN_LOOP_LOOPPASS_H_
#define DORN_LOOP_LOOPPASS_H_

namespace dorn {

// True while this thread runs KZApplication::RunPass(), its callbacks included. Without it nobody
// may ever come to serve what is left for the loop to do.
bool IsInPass();

}  // namespace dorn

#endif  // DORN_LOOP_LOOPPASS_H_
