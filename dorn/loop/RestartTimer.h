// Cancels and registers a timer at once. Internal: not installed.
#ifndef DORN_LOOP_RESTARTTIMER_H_
#define DORN_LOOP_RESTARTTIMER_H_

#include "dorn/loop/KZApplication.h"

namespace dorn {

// What SetApplicationSingleTimerInterval(0, id) and then (interval, id) do, with the timer moved in
// place of being destroyed and made again. Every receive of every connection does it. Any thread.
void RestartSingleTimer(KZApplication& app, unsigned long interval, unsigned int id);

}  // namespace dorn

#endif  // DORN_LOOP_RESTARTTIMER_H_
