// What every fuzz target includes.
#ifndef FUZZ_FUZZTARGET_H_
#define FUZZ_FUZZTARGET_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzz/FuzzInput.h"

// A target defines the second; it may not keep anything from one input to the next. The first
// silences standard output, where the library tells what it does, and fixes the time zone.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Ends the process, which is a finding, when `expression` does not hold.
#define FUZZ_CHECK(expression)                                                                     \
  (static_cast<bool>(expression)                                                                   \
       ? static_cast<void>(0)                                                                      \
       : (static_cast<void>(std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, \
                                         #expression)),                                            \
          std::abort()))

#endif  // FUZZ_FUZZTARGET_H_
