#include "dorn/server/ResourcePath.h"

#include <algorithm>
#include <cstddef>

namespace dorn {

bool StaysInside(std::string_view name) {
  if (name.find('\0') != std::string_view::npos) return false;
  long depth = 0;
  for (std::size_t start = 0; start < name.size();) {
    const std::size_t end = std::min(name.find('/', start), name.size());
    const std::string_view part = name.substr(start, end - start);
    if (part == "..") {
      if (--depth < 0) return false;
    } else if (!part.empty() && part != ".") {
      ++depth;
    }
    start = end + 1;
  }
  return true;
}

}  // namespace dorn
