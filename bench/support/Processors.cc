#include "bench/support/Processors.h"

#include <sched.h>
#include <unistd.h>

namespace {

int LastProcessor() { return static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN)) - 1; }

void RunOn(int first, int last) {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (int each = first; each <= last; ++each) CPU_SET(static_cast<unsigned>(each), &set);
  static_cast<void>(sched_setaffinity(0, sizeof set, &set));
}

}  // namespace

void RunOnProcessor(int number) {
  const int processor = number % (LastProcessor() + 1);
  RunOn(processor, processor);
}

void RunWithServers() { RunOn(LastProcessor(), LastProcessor()); }

void RunApartFromServers() {
  if (LastProcessor() > 0) RunOn(0, LastProcessor() - 1);
}
