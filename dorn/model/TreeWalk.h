// How the library's own code walks a tree. Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_TREEWALK_H_
#define DORN_MODEL_TREEWALK_H_

#include <cstddef>
#include <vector>

#include "dorn/model/ObjectClass.h"
#include "dorn/model/VQJsonObject.h"

namespace dorn {

// The object as a group, or null. A host's class may say that it is none although it derives from
// one, and the other way round.
inline VQJsonObjectHasList* AsGroup(VQJsonObject& object) {
  VQJsonObjectHasList* const group = AsListHolder(object);
  return group == nullptr || IsOwnClass(object) || object.HasGroup() ? group : nullptr;
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

}  // namespace dorn

#endif  // DORN_MODEL_TREEWALK_H_
