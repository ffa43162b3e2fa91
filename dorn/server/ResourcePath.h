// Names of files below `resources`. Internal: not installed. Any thread.
#ifndef DORN_SERVER_RESOURCEPATH_H_
#define DORN_SERVER_RESOURCEPATH_H_

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace dorn {

// The directory of the running executable, or "." if it cannot be found out. At most 1023 bytes of
// the executable's path count.
std::string ModuleDirectory();

// Whether a name stays below the directory that it is relative to. Lexical: ".." inside the name is
// fine as long as it never climbs above the start, symbolic links are not looked at, and leading
// slashes mean nothing since the name is appended to the directory. A zero byte ends a name for the
// system but not for us, so such a name is not inside.
bool StaysInside(std::string_view name);

// What a name below `resources` leads to.
struct ResourceFile {
  ResourceFile() = default;
  ResourceFile(ResourceFile&& other) noexcept;
  ResourceFile& operator=(ResourceFile&& other) noexcept;
  ~ResourceFile();

  bool mIsInside = false;  // False: the name must not be followed, whether there is a file or not.
  bool mExists = false;
  std::string mPath;       // Without "..".
  struct stat mStatus {};  // If it exists.
  int mFile = -1;          // What OpenResource() has opened; closed at the end.
};

// Links are followed wherever they lead: whoever deploys one means it. But the parent of a linked
// folder is not in `resources` and nobody has deployed it. So a name with ".." is walked step by
// step, each folder held open, and what is found must lie below `resources` or below the target of
// a link on the way.
ResourceFile FindResource(std::string_view name);

// The same, and opens it if it is a regular file that may be read: then that is the file that was
// found inside, whatever somebody renames meanwhile, and `mStatus` is its own.
ResourceFile OpenResource(std::string_view name);

// Whether FindResource() would find the name inside. Looks at the disk for a name with ".." alone.
bool IsInsideResources(std::string_view name);

}  // namespace dorn

#endif  // DORN_SERVER_RESOURCEPATH_H_
