#include "dorn/server/DialogName.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dorn {

namespace {

// The parts of the name that count. False when it leads outside.
bool Walk(std::string_view name, std::vector<std::string_view>& parts) {
  while (!name.empty()) {
    const std::size_t end = std::min(name.find_first_of("@/"), name.size());
    const std::string_view part = name.substr(0, end);
    name.remove_prefix(std::min(end + 1, name.size()));
    if (part.empty() || part == ".") continue;
    if (part != "..") {
      parts.push_back(part);
    } else if (parts.empty()) {
      return false;
    } else {
      parts.pop_back();
    }
  }
  return true;
}

}  // namespace

KZString CanonicalDialogName(const KZString& name) {
  std::vector<std::string_view> parts;
  if (name.find('\0') != std::string::npos || !Walk(name, parts)) return KZString();
  std::string canonical;
  for (const std::string_view part : parts) {
    if (!canonical.empty()) canonical += '@';
    canonical += part;
  }
  return KZString(std::move(canonical));
}

}  // namespace dorn
