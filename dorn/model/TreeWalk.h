// How the library's own code walks a tree. Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_TREEWALK_H_
#define DORN_MODEL_TREEWALK_H_

#include <cstddef>

#include "dorn/model/VQJsonObject.h"

namespace dorn {

// The object as a group, or null. A host's class may say that it is none although it derives from
// one, and the other way round.
inline VQJsonObjectHasList* AsGroup(VQJsonObject& object) {
  return object.HasGroup() ? dynamic_cast<VQJsonObjectHasList*>(&object) : nullptr;
}

// Calls `visit` with each child of a group, in list order; nothing for any other object. By index,
// because `visit` may call a host's override that changes the list.
template <class Visit>
void ForEachChild(VQJsonObject& object, Visit&& visit) {
  VQJsonObjectHasList* group = AsGroup(object);
  if (group == nullptr) return;
  for (std::size_t i = 0; i < group->mObjectList.size(); ++i) {
    if (VQJsonObject* child = group->mObjectList[i]) visit(*child);
  }
}

// Whether the object is exactly of one of the library's classes, so that nothing is overridden.
bool IsOwnClass(const VQJsonObject& object);

}  // namespace dorn

#endif  // DORN_MODEL_TREEWALK_H_
