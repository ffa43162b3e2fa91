// The fast way through well-formed JSON text. Internal: not installed.
#ifndef DORN_JSON_QUICKREADER_H_
#define DORN_JSON_QUICKREADER_H_

#include "dorn/json/JsonValue.h"

namespace dorn {

// Reads the array or object that the range begins with into `out` (a null value) and returns the
// position behind it, exactly as value::parse() does. Returns null for any other text, with `out`
// in any state: the reader of `input`, which knows lines and errors, has the word then.
const char* ReadQuickly(value& out, const char* first, const char* last);

}  // namespace dorn

#endif  // DORN_JSON_QUICKREADER_H_
