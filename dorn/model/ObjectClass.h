// Of which class an object is. Internal: not installed. Loop thread only. See VirtualTable.h.
#ifndef DORN_MODEL_OBJECTCLASS_H_
#define DORN_MODEL_OBJECTCLASS_H_

#include "dorn/base/VirtualTable.h"
#include "dorn/model/ClassTags.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonObject.h"

namespace dorn {

// The library's class that an object is of, or that its class derives from. Only what the library
// asks for is told apart: a grid counts as a plain object, a resource as a group.
struct ObjectClass {
  static unsigned char TagOf(const VQJsonObject& object) { return object.mClassTag; }
  static void SetTag(VQJsonObject& object, unsigned char tag) { object.mClassTag = tag & 7U; }
};

// Where the virtual operations of exactly VQJsonObject, and of exactly VQJsonCommand, are found.
extern const void* const kPlainObjectTable;
extern const void* const kPlainCommandTable;

// Whether the object is exactly a VQJsonObject: it has no children, and nothing is overridden.
inline bool IsPlainObject(const VQJsonObject& object) {
  return TableOf(object) == kPlainObjectTable;
}

// Whether the object is exactly a VQJsonCommand.
inline bool IsPlainCommand(const VQJsonObject& object) {
  return TableOf(object) == kPlainCommandTable;
}

// Whether the object is exactly of one of the library's classes, so that nothing is overridden.
bool IsOwnClass(const VQJsonObject& object);

// Whether the object is exactly a grid.
bool IsGrid(const VQJsonObject& object);

// The object as what its class is or derives from, or null.
VQJsonRadioButtonGroup* AsRadioGroup(VQJsonObject& object);
VQJsonCommand* AsCommand(VQJsonObject& object);

// The same for a group, whatever HasGroup() says: it has a list of children.
inline const VQJsonObjectHasList* AsListHolder(const VQJsonObject& object) {
  const bool isGroup = ObjectClass::TagOf(object) != kTagObject;
  return isGroup ? static_cast<const VQJsonObjectHasList*>(&object) : nullptr;
}

inline VQJsonObjectHasList* AsListHolder(VQJsonObject& object) {
  const bool isGroup = ObjectClass::TagOf(object) != kTagObject;
  return isGroup ? static_cast<VQJsonObjectHasList*>(&object) : nullptr;
}

}  // namespace dorn

#endif  // DORN_MODEL_OBJECTCLASS_H_
