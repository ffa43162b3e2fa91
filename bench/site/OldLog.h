// A log with changes that no snapshot has, for a host to read when it starts.
#ifndef BENCH_SITE_OLDLOG_H_
#define BENCH_SITE_OLDLOG_H_

#include "bench/site/Engines.h"

// Writes so many changes of the first object, as one host would that dies before its next snapshot:
// an entry for each. Returns when the brokers have them all. No host may run meanwhile.
void WriteOldChanges(const Brokers& brokers, long count);

#endif  // BENCH_SITE_OLDLOG_H_
