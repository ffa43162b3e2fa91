// What of a line may be printed. Internal: not installed. Any thread.
#ifndef DORN_BASE_TRACEFILTER_H_
#define DORN_BASE_TRACEFILTER_H_

#include <string>
#include <string_view>

#include "dorn/base/Trace.h"

namespace dorn {

void SetTraceLevel(Trace trace);
Trace GetTraceLevel();

// Whether lines about ordinary work are printed at all, and whether they may hold secrets.
inline bool IsTraced() { return GetTraceLevel() != Trace::kNone; }
inline bool ShowsSecrets() { return GetTraceLevel() == Trace::kAll; }

// A session id as it may be printed: whole, or its first 8 characters.
std::string_view Shown(std::string_view sessionId);

// The JSON text of a message as it may be printed, in `storage` if it differs: the values of "Pass"
// and "SessionId" members are cut. Texts are not escaped, so a value ends at the first quote behind
// which an object can go on or end.
std::string_view ShownText(std::string_view text, std::string& storage);

}  // namespace dorn

#endif  // DORN_BASE_TRACEFILTER_H_
