// What the tests of the object tree share: small builders and views of a tree as plain texts.
#ifndef TESTS_MODEL_TREES_H_
#define TESTS_MODEL_TREES_H_

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "dorn/model/VQJsonObject.h"

// An object that counts its own destruction.
template <class Base>
class Counted : public Base {
 public:
  template <class... Args>
  explicit Counted(int& destroyed, Args&&... args)
      : Base(std::forward<Args>(args)...), mDestroyed(destroyed) {}
  ~Counted() override { ++mDestroyed; }

 private:
  int& mDestroyed;
};

// Gives an object its name as a loaded resource has it: stored, nothing marked.
template <class Object>
Object* Named(Object* node, const char* name) {
  node->SetValue("Name", name, 0, "");
  return node;
}

// Appends a new child with that name as a loaded resource has it: nothing marked.
template <class Object = VQJsonObject>
Object* AddChild(VQJsonObjectHasList& group, const char* name) {
  auto* child = Named(new Object(&group), name);
  group.AddObject(child, 0);
  return child;
}

inline VQJsonObjectHasList* AddGroup(VQJsonObjectHasList& group, const char* name) {
  auto* child = Named(new VQJsonObjectHasList("Objects", &group), name);
  group.AddObject(child, 0);
  return child;
}

// What `write` puts into a fresh stream.
template <class Write>
std::string Written(Write&& write) {
  std::ostringstream out;
  write(out);
  return out.str();
}

// Comparisons with literals print and compare as plain strings.
inline std::string Plain(const std::string& text) { return text; }

// The dirty entries in the order of the set.
inline std::vector<std::string> DirtyOf(const VQJsonObject& node) {
  return {node.mDirty.begin(), node.mDirty.end()};
}

// The attribute keys in the order of the map.
inline std::vector<std::string> KeysOf(const VQJsonObject& node) {
  std::vector<std::string> keys;
  for (const auto& entry : node.mList) keys.push_back(entry.first);
  return keys;
}

// The names of the children in list order.
inline std::vector<std::string> ChildrenOf(const VQJsonObjectHasList& group) {
  std::vector<std::string> names;
  for (const VQJsonObject* child : group.mObjectList) names.push_back(child->mName);
  return names;
}

using Texts = std::vector<std::string>;

#endif  // TESTS_MODEL_TREES_H_
