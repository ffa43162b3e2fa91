#include "site/Objects.h"

#include <map>
#include <string_view>

namespace dorn::site {

namespace {

// Null: not found yet.
using FoundObjects = std::map<std::string_view, VQJsonObject*>;

// Parents before children, as SearchName() goes: the first of a name is the one.
void Look(VQJsonObject& object, FoundObjects& found) {
  const auto wanted = found.find(static_cast<const std::string&>(object.mName));
  if (wanted != found.end() && wanted->second == nullptr) wanted->second = &object;
  ForEachChild(object, [&found](VQJsonObject& child) { Look(child, found); });
}

}  // namespace

std::vector<VQJsonObject*> FindObjects(VQJsonObject& tree, const std::vector<std::string>& names) {
  FoundObjects found;
  for (const std::string& name : names) found.emplace(name, nullptr);
  if (!found.empty()) Look(tree, found);
  std::vector<VQJsonObject*> objects;
  for (const std::string& name : names) {
    const auto place = found.find(name);
    if (place == found.end()) continue;  // It came before.
    if (place->second != nullptr) objects.push_back(place->second);
    found.erase(place);
  }
  return objects;
}

std::vector<std::string> KnownNames(VQJsonObject& tree, const std::vector<std::string>& names) {
  std::vector<std::string> known;
  for (const VQJsonObject* object : FindObjects(tree, names)) known.push_back(object->mName);
  return known;
}

std::vector<std::string> NamesIn(const VQJsonCommand& command) {
  std::vector<std::string> names;
  for (const VQJsonObject* object : command.mObjectList) {
    if (object != nullptr && !object->mName.empty()) names.push_back(object->mName);
  }
  return names;
}

void NameChangedObjects(VQJsonObject& tree) {
  if (!tree.mDirty.empty() && !tree.mName.empty()) tree.mList.try_emplace("Name");
  ForEachChild(tree, [](VQJsonObject& child) { NameChangedObjects(child); });
}

}  // namespace dorn::site
