// Finds objects of a tree by name without walking the tree each time.
// Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_NAMEINDEX_H_
#define DORN_MODEL_NAMEINDEX_H_

#include <cstdint>
#include <string>
#include <unordered_map>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonObject.h"

namespace dorn {

// Gives the answers of root->SearchName() for many names in a row, such as those of one command.
// The first few names are searched; after that the whole tree is indexed once. The index is dropped
// as soon as an operation creates, destroys, adds, removes or renames any object (whatever the
// tree), and is built again when names keep being asked without such a change. A tree with an
// object of a host's own class is always searched, since that class may override SearchName().
//
// What it cannot see: that host code assigns mName of another object than the one last found, or
// moves existing objects about in an mObjectList, directly. So keep it for one command only.
//
// The root must outlive the index; the other objects need not.
class NameIndex {
 public:
  explicit NameIndex(VQJsonObject* root);

  // The first object of that name in depth-first order, or null.
  VQJsonObject* Find(const KZString& name);

 private:
  bool IsStale() const;
  void Drop();
  void Build();
  bool Insert(VQJsonObject& object);
  VQJsonObject* Search(const KZString& name);

  VQJsonObject* mRoot;
  std::unordered_map<std::string, VQJsonObject*> mFirst;  // Empty unless mBuilt.
  bool mBuilt = false;
  bool mHostClass = false;  // Met when the tree was last indexed.
  int mSearches = 0;        // Since the last change.
  std::uint64_t mStructure = 0;
  const VQJsonObject* mLastFound = nullptr;  // With the name that it was found under.
  std::string mLastName;
};

}  // namespace dorn

#endif  // DORN_MODEL_NAMEINDEX_H_
