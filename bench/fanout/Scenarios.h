// What is measured. Each prints its rows, see Report.h. `scale` shortens or lengthens all of them.
#ifndef BENCH_FANOUT_SCENARIOS_H_
#define BENCH_FANOUT_SCENARIOS_H_

// One peer changes, all others are told: one change after the other, and many at once.
void MeasureFanout(int receivers, double scale);

// Stations that ask and are answered, among others that are silent.
void MeasureRoundTrips(int active, int idle, double scale);

// Connect, log in, enter a dialog, leave, one station after the other.
void MeasureConnects(double scale);

// Memory of stations, and the wake-ups of a server that has nothing to do.
void MeasureIdle(int stations);

#endif  // BENCH_FANOUT_SCENARIOS_H_
