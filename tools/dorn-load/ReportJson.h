// The figures of a run for programs.
#ifndef TOOLS_DORN_LOAD_REPORTJSON_H_
#define TOOLS_DORN_LOAD_REPORTJSON_H_

#include "station/Json.h"
#include "tools/dorn-load/Load.h"

namespace dorn::load {

// With three decimals.
dorn::station::Json DecimalJson(double number);
dorn::station::Json CountJson(std::uint64_t number);
dorn::station::Json ErrorsJson(const Figures& figures);
dorn::station::Json SecondJson(Us end, const Span& second);
dorn::station::Json TrialJson(const Trial& trial);

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_REPORTJSON_H_
