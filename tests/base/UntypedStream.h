// Sinks from a host that is compiled without run-time type information.
#ifndef TESTS_BASE_UNTYPEDSTREAM_H_
#define TESTS_BASE_UNTYPEDSTREAM_H_

#include <memory>

#include "dorn/base/KZLog.h"

// One of the base class.
std::unique_ptr<KZStream> MakeUntypedStream();

// One of a derived class, which returns 1 for each call.
std::unique_ptr<KZStream> MakeUntypedCountingStream();

#endif  // TESTS_BASE_UNTYPEDSTREAM_H_
