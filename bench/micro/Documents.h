// The inputs of the benchmarks.
#ifndef BENCH_MICRO_DOCUMENTS_H_
#define BENCH_MICRO_DOCUMENTS_H_

#include <string>

#include "dorn/dorn.h"

// A dialog of about 110 KB, as a screen designer would make it.
const std::string& DialogDocument();

// A command of about 150 bytes.
const std::string& CommandText();

// A dialog of `objects` labels "o0", "o1", ...
std::string TreeDocument(int objects);
void LoadTree(VQJsonResource& tree, int objects);

// A CONDITION that gives `objects` of them the value `value`.
std::string ConditionText(int objects, int value);

#endif  // BENCH_MICRO_DOCUMENTS_H_
