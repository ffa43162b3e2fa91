#include "dorn/server/DialogName.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dorn {

namespace {

// The parts of the name that count; none when it leads outside.
std::vector<std::string_view> PartsOf(std::string_view name) {
  std::vector<std::string_view> parts;
  while (!name.empty()) {
    const std::size_t end = std::min(name.find_first_of("@/"), name.size());
    const std::string_view part = name.substr(0, end);
    name.remove_prefix(std::min(end + 1, name.size()));
    if (part.empty() || part == ".") continue;
    if (part != "..") {
      parts.push_back(part);
    } else if (parts.empty()) {
      return {};
    } else {
      parts.pop_back();
    }
  }
  return parts;
}

}  // namespace

KZString CanonicalDialogName(const KZString& name) {
  if (name.find('\0') != std::string::npos) return {};
  std::string canonical;
  for (const std::string_view part : PartsOf(name)) {
    if (!canonical.empty()) canonical += '@';
    canonical += part;
  }
  return KZString(std::move(canonical));
}

}  // namespace dorn
