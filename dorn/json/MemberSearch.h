// How the library's own code finds members of a JSON object that was read, and attributes of a
// dialog object, which are kept alike. Internal: not installed.
#ifndef DORN_JSON_MEMBERSEARCH_H_
#define DORN_JSON_MEMBERSEARCH_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "dorn/base/ShortCopy.h"

namespace dorn {

// The mapped value, or null. Up to a few members it is quicker to look at each of them, most of
// which differ in length, than to make the text of the key that the map wants.
template <class Map>
auto FindMember(Map& members, std::string_view key) -> decltype(&members.begin()->second) {
  constexpr std::size_t kFewMembers = 8;
  if (members.size() > kFewMembers) {
    const auto found = members.find(std::string(key));
    return found != members.end() ? &found->second : nullptr;
  }
  for (auto& [name, member] : members) {
    const std::string& text = name;  // Whole, also when it holds a zero byte.
    if (dorn::IsSame(text, key)) return &member;
  }
  return nullptr;
}

}  // namespace dorn

#endif  // DORN_JSON_MEMBERSEARCH_H_
