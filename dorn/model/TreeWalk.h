// How the library's own code walks a tree. Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_TREEWALK_H_
#define DORN_MODEL_TREEWALK_H_

#include <cstddef>
#include <typeinfo>
#include <vector>

#include "dorn/model/VQJsonObject.h"

namespace dorn {

// Whether the object is exactly a VQJsonObject: it has no children, and nothing is overridden. By
// address, without comparing names: should the class have two descriptions in this process, an
// object may be taken for one that needs a closer look.
inline bool IsPlainObject(const VQJsonObject& object) {
  return &typeid(object) == &typeid(VQJsonObject);
}

// AsGroup() for an object that is not plain.
VQJsonObjectHasList* AsGroupByClass(VQJsonObject& object);

// The object as a group, or null. A host's class may say that it is none although it derives from
// one, and the other way round.
inline VQJsonObjectHasList* AsGroup(VQJsonObject& object) {
  return IsPlainObject(object) ? nullptr : AsGroupByClass(object);
}

// Asks the processor to have at hand what a walk that has come to place `i` of a list will soon
// read of a child: its class, and whether it has change records. Children lie anywhere in memory.
inline void FetchAhead(const std::vector<VQJsonObject*>& list, std::size_t i) {
  constexpr std::size_t kAhead = 12;
  const VQJsonObject* const child = i + kAhead < list.size() ? list[i + kAhead] : nullptr;
  if (child == nullptr) return;
  // The counts that are read: at the end of mDirty, and behind two pointers in mDirtyDel.
  __builtin_prefetch(child);
  __builtin_prefetch(reinterpret_cast<const char*>(&child->mDirtyAdd) - 1);
  __builtin_prefetch(reinterpret_cast<const char*>(&child->mDirtyDel) + 2 * sizeof(void*));
}

// Calls `visit` with each child of a group, in list order; nothing for any other object. By index,
// because `visit` may call a host's override that changes the list.
template <class Visit>
void ForEachChild(VQJsonObject& object, Visit&& visit) {
  VQJsonObjectHasList* group = AsGroup(object);
  if (group == nullptr) return;
  for (std::size_t i = 0; i < group->mObjectList.size(); ++i) {
    FetchAhead(group->mObjectList, i);
    if (VQJsonObject* child = group->mObjectList[i]) visit(*child);
  }
}

// Whether the object is exactly of one of the library's classes, so that nothing is overridden.
bool IsOwnClass(const VQJsonObject& object);

}  // namespace dorn

#endif  // DORN_MODEL_TREEWALK_H_
