// Everything that can be told of a tree of objects, as a text: trees that print alike are alike.
#ifndef TESTS_SUPPORT_TREEDUMP_H_
#define TESTS_SUPPORT_TREEDUMP_H_

#include <string>
#include <typeinfo>

#include "dorn/model/VQJsonObject.h"

inline void DumpValue(const VQValue& value, std::string& out) {
  out += std::to_string(value.mType) + ' ' + std::to_string(value.mInt) + ' ' + value.mString;
  if (value.mObject) {
    out += '{';
    for (const auto& [key, member] : *value.mObject) {
      out += key + '=';
      DumpValue(member, out);
      out += ',';
    }
    out += '}';
  }
  if (value.mArray) {
    out += '[';
    for (const VQValue& element : *value.mArray) {
      DumpValue(element, out);
      out += ',';
    }
    out += ']';
  }
}

// `holder` is the object in whose list this one is.
inline void DumpTree(VQJsonObject& node, const VQJsonObject* holder, std::string& out) {
  out += typeid(node).name();
  out += ' ' + std::to_string(node.mDebugFlag) + " '" + node.mName + "' parent ";
  out += node.mParent == nullptr ? "none" : node.mParent == holder ? "holder" : "other";
  out += node.mDirtyAdd ? " added" : "";
  out += " deleted '" + node.mDirtyDel + "'\n";
  for (const KZString& key : node.mDirty) out += "  dirty " + key + '\n';
  for (const auto& [key, value] : node.mList) {
    out += "  " + key + ": ";
    DumpValue(value, out);
    out += '\n';
  }
  if (!node.HasGroup()) return;
  auto& group = static_cast<VQJsonObjectHasList&>(node);
  out += group.mListKey + " (\n";
  for (VQJsonObject* child : group.mObjectList) DumpTree(*child, &group, out);
  out += ")\n";
}

inline std::string DumpOf(VQJsonObject& node) {
  std::string out;
  DumpTree(node, nullptr, out);
  return out + node.GetJson();
}

#endif  // TESTS_SUPPORT_TREEDUMP_H_
