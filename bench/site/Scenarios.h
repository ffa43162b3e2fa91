// What is measured of a site. Each starts what it needs and prints its lines; `scale` of 1 is the
// whole of its work.
#ifndef BENCH_SITE_SCENARIOS_H_
#define BENCH_SITE_SCENARIOS_H_

// Changes a second, through two hosts, with one broker and with three.
void MeasureThrough(double scale);

// From a station at one host to a station at the other.
void MeasureDelay(double scale);

// CPU of the hosts for each change, with 50 stations at each.
void MeasureCpu(double scale);

// 1,900 stations at three hosts behind HAProxy.
void MeasureStations(double scale);

// Starting a host that has 100,000 changes to read.
void MeasureReplay(double scale);

// What the log takes of the disk over a million changes.
void MeasureDisk(double scale);

#endif  // BENCH_SITE_SCENARIOS_H_
