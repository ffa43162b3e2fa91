// One spelling for each dialog whose name comes from a station. Any thread.
#ifndef DORN_SERVER_DIALOGNAME_H_
#define DORN_SERVER_DIALOGNAME_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

namespace dorn {

// The one spelling of a name that stands for a file below `resources`: its parts with one "@"
// between them ("/" counts as "@"), without empty parts and "."; each ".." takes back the part
// before it. "help@.@@pumps", "help/pumps" and "help@x@..@pumps" are all "help@pumps". Empty for a
// name that leads outside, holds a zero byte, or names nothing.
// The library keeps a dialog for each name that a maker accepts, as the station spelt it, and there
// is no end to spellings. So a maker that opens files by name accepts this spelling alone:
//   if (!(dorn::CanonicalDialogName(name) == name)) return nullptr;
DORN_EXPORT KZString CanonicalDialogName(const KZString& name);

}  // namespace dorn

#endif  // DORN_SERVER_DIALOGNAME_H_
