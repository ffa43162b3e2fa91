#include "tests/model/Replica.h"

#include <vector>

#include "dorn/json/JsonValue.h"

namespace {

using Json = value;

bool Read(Json& json, const std::string& text) {
  std::string error;
  Json::parse(json, text.data(), text.data() + text.size(), &error);
  return error.empty();
}

std::string TextOf(const Json& json) {
  if (json.is<std::string>()) return '"' + json.get<std::string>() + '"';
  if (!json.is<Json::array>()) return json.to_str();
  std::string text = "[";
  for (const Json& element : json.get<Json::array>()) text += TextOf(element) + ",";
  return text + "]";
}

std::string NameOf(const Json& json) {
  const Json& name = json.get("Name");
  return name.is<std::string>() ? name.get<std::string>() : "";
}

Json::array ObjectsOf(const Json& json) {
  const Json& objects = json.get("Objects");
  return objects.is<Json::array>() ? objects.get<Json::array>() : Json::array();
}

}  // namespace

Replica::Replica(const std::string& tree) {
  Json root;
  if (!Read(root, tree)) return;
  mObjects[NameOf(root)];
  for (const Json& child : ObjectsOf(root)) Merge(child, NameOf(root));
}

bool Replica::Receive(const std::string& text) {
  Json json;
  if (!Read(json, text) || !json.is<Json::object>()) return false;
  const Json& commands = json.get("Commands");
  if (!commands.is<Json::array>()) return Execute(json);
  bool understood = true;
  for (const Json& command : commands.get<Json::array>())
    understood = Execute(command) && understood;
  return understood;
}

bool Replica::Execute(const Json& command) {
  const std::string word = command.get("Command").to_str();
  if (word == "UPDATE") {
    for (const Json& object : ObjectsOf(command)) Update(object);
    return true;
  }
  if (word == "ADD") {
    if (mObjects.count(NameOf(command)) == 0) return true;
    for (const Json& object : ObjectsOf(command)) Merge(object, NameOf(command));
    return true;
  }
  if (word != "DELETE") return false;
  if (command.get("Delete").to_str() == "CHILD") {
    DeleteChildrenOf(NameOf(command));
  } else {
    Delete(NameOf(command));
  }
  return true;
}

// An object that is there already stays where it is: a group that got new children is marked as
// added itself, and so is told again inside the ADD command of its own group.
void Replica::Merge(const Json& object, const std::string& parent) {
  const std::string name = NameOf(object);
  const bool isNew = mObjects.count(name) == 0;
  if (isNew) mObjects[name].parent = parent;
  Update(object);
  for (const Json& child : ObjectsOf(object)) Merge(child, name);
}

void Replica::Update(const Json& object) {
  const auto known = mObjects.find(NameOf(object));
  if (known == mObjects.end()) return;
  for (const auto& [key, member] : object.get<Json::object>())
    if (key != "Objects") known->second.attributes[key] = TextOf(member);
}

void Replica::Delete(const std::string& name) {
  if (mObjects.count(name) == 0) return;
  DeleteChildrenOf(name);
  mObjects.erase(name);
}

void Replica::DeleteChildrenOf(const std::string& name) {
  std::vector<std::string> children;
  for (const auto& [child, object] : mObjects)
    if (object.parent == name && child != name) children.push_back(child);
  for (const std::string& child : children) Delete(child);
}

void Replica::Set(const std::string& name, const std::string& key, const std::string& text) {
  const auto known = mObjects.find(name);
  if (known != mObjects.end()) known->second.attributes[key] = '"' + text + '"';
}

std::string Replica::Describe() const {
  std::string text;
  for (const auto& [name, object] : mObjects) {
    text += object.parent + "/" + name + ":";
    for (const auto& [key, attribute] : object.attributes) text += " " + key + "=" + attribute;
    text += "\n";
  }
  return text;
}
