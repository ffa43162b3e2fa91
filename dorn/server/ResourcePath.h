// Names of files below `resources`. Internal: not installed. Any thread.
#ifndef DORN_SERVER_RESOURCEPATH_H_
#define DORN_SERVER_RESOURCEPATH_H_

#include <string_view>

namespace dorn {

// Whether a name stays below the directory that it is relative to. Lexical: ".." inside the name is
// fine as long as it never climbs above the start, symbolic links are not looked at, and leading
// slashes mean nothing since the name is appended to the directory. A zero byte ends a name for the
// system but not for us, so such a name is not inside.
bool StaysInside(std::string_view name);

}  // namespace dorn

#endif  // DORN_SERVER_RESOURCEPATH_H_
