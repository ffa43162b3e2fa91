#include "tools/dorn-lint/Rule.h"

#include <algorithm>

namespace dorn::lint {

std::string Cut(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  if (text.size() <= kLongest) return std::string(text);
  std::size_t end = kLongest;
  // Not within a character.
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return std::string(text.substr(0, end)) + "...";
}

std::string Shown(std::string_view text) { return '"' + Cut(text) + '"'; }

bool IsAttribute(const Member& member) { return station::FindChildrenWord(member.mKey) == nullptr; }

std::string FolderOf(const std::string& place) {
  constexpr std::string_view kResources = "resources/";
  std::size_t found = place.rfind("/resources/");
  if (found != std::string::npos) return place.substr(0, found + 1 + kResources.size());
  if (place.compare(0, kResources.size(), kResources) == 0) return std::string(kResources);
  return place.substr(0, place.rfind('/') + 1);
}

std::string DialogNameOf(const std::string& place) {
  std::string name = place.substr(FolderOf(place).size());
  const std::size_t point = name.rfind('.');
  if (point != std::string::npos) name.erase(point);
  std::replace(name.begin(), name.end(), '/', '@');
  return name;
}

}  // namespace dorn::lint
