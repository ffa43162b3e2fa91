// Texts that are to reach stations as they are. What the library sends is put together without
// escaping: a quote inside an attribute ends the string on the wire, and what follows it is read as
// JSON by every station. A host that stores texts of foreign origin in attributes stores them
// escaped. Any thread.
#ifndef DORN_BASE_ESCAPETEXT_H_
#define DORN_BASE_ESCAPETEXT_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

namespace dorn {

// `text` as it stands between the quotes of a JSON string: quotes, backslashes and the bytes below
// a blank are written as JSON writes them (a zero byte, too). Everything else, UTF-8 or not, stays.
// Escape once: what is escaped already would show its backslashes.
DORN_EXPORT KZString EscapeText(const KZString& text);

// The text that EscapeText() was given. Reads every escape of JSON; what is none stays as it is,
// and so does half of a pair of \u escapes that belong together.
DORN_EXPORT KZString UnescapeText(const KZString& text);

}  // namespace dorn

#endif  // DORN_BASE_ESCAPETEXT_H_
