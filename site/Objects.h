// The objects of a tree, as the site looks at them. Internal: not installed.
#ifndef SITE_OBJECTS_H_
#define SITE_OBJECTS_H_

#include <string>
#include <vector>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonObjectHasList.h"

namespace dorn::site {

template <class Visit>
void ForEachChild(VQJsonObject& object, Visit&& visit) {
  if (!object.HasGroup()) return;
  for (VQJsonObject* child : static_cast<VQJsonObjectHasList&>(object).mObjectList) {
    if (child != nullptr) visit(*child);
  }
}

// What SearchName() finds for each of the names, in their order, but each name once and those that
// it does not find left out. A station may send thousands of names: one walk answers for all.
std::vector<VQJsonObject*> FindObjects(VQJsonObject& tree, const std::vector<std::string>& names);

// Those of the names that the tree has, each once.
std::vector<std::string> KnownNames(VQJsonObject& tree, const std::vector<std::string>& names);

// Of the objects that a command is about, as it says them.
std::vector<std::string> NamesIn(const VQJsonCommand& command);

// Gives each changed object that has a name the attribute "Name" as well. The update for stations
// does so as it is written: a host without stations would come to differ from the others.
void NameChangedObjects(VQJsonObject& tree);

}  // namespace dorn::site

#endif  // SITE_OBJECTS_H_
