// The gateway's command line.
#ifndef TOOLS_DORN_GATEWAY_READOPTIONS_H_
#define TOOLS_DORN_GATEWAY_READOPTIONS_H_

#include <optional>

#include "tools/dorn-gateway/Options.h"

namespace dorn::gateway {

// Without options the program is to end with `exitCode`: help was asked for and given, or what is
// wrong, and what would be right, was said on standard error.
std::optional<Options> ReadOptions(int argc, const char* const* argv, int& exitCode);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_READOPTIONS_H_
