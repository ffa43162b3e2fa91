#include "dorn/model/TreeWalk.h"

#include <algorithm>
#include <iterator>
#include <typeinfo>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn {

VQJsonObjectHasList* AsGroupByClass(VQJsonObject& object) {
  const std::type_info* const type = &typeid(object);
  // The usual groups, by address: a cast that looks at the class takes twenty times as long.
  if (type == &typeid(VQJsonCommand) || type == &typeid(VQJsonObjectHasList)) {
    return static_cast<VQJsonObjectHasList*>(&object);
  }
  return object.HasGroup() ? dynamic_cast<VQJsonObjectHasList*>(&object) : nullptr;
}

bool IsOwnClass(const VQJsonObject& object) {
  static const std::type_info* const kOwn[] = {&typeid(VQJsonObject),
                                               &typeid(VQJsonObjectHasList),
                                               &typeid(VQJsonRadioButtonObject),
                                               &typeid(VQJsonRadioButtonGroup),
                                               &typeid(VQJsonGrid),
                                               &typeid(VQJsonCommand),
                                               &typeid(VQJsonCommands),
                                               &typeid(VQJsonResource)};
  const std::type_info& type = typeid(object);
  const auto isType = [&type](const std::type_info* own) { return type == *own; };
  // By address first: it settles all but a host's class, without comparing names.
  return std::find(std::begin(kOwn), std::end(kOwn), &type) != std::end(kOwn) ||
         std::any_of(std::begin(kOwn), std::end(kOwn), isType);
}

}  // namespace dorn
