// Where a benchmark's processes run. Left to chance, it decides whether waking a server or a
// station costs the one who does it a microsecond, on his own processor, or twenty, on one of a
// virtual machine's that sleeps.
#ifndef BENCH_SUPPORT_PROCESSORS_H_
#define BENCH_SUPPORT_PROCESSORS_H_

// Keeps this process to the last processor, where all servers are: theirs, and of stations that
// take turns with them, so that no two of these ever have something to do at the same time.
void RunWithServers();

// Keeps this process to the others, where there are any.
void RunApartFromServers();

// Keeps this process to one: the one of that number, or of what is left of it where there are
// fewer.
void RunOnProcessor(int number);

#endif  // BENCH_SUPPORT_PROCESSORS_H_
