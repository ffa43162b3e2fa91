// Finds objects of a tree by name without walking the tree each time.
// Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_NAMEINDEX_H_
#define DORN_MODEL_NAMEINDEX_H_

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonObject.h"

namespace dorn {

// Gives the answers of root->SearchName(), for many names in a row, such as those of one command.
// The first few names are searched; after that the whole tree is indexed once. The index is dropped
// as soon as an operation adds, removes or renames any object (whatever the tree), and is built
// again when names keep being asked without such a change. A tree with an object of a host's own
// class is always searched, since that class may override SearchName().
//
// What it cannot see: that a hook assigns mName of an object other than the one last found, or
// moves existing objects about in mObjectList, directly. So keep it for one command only.
//
// The root must outlive the index; objects of the tree need not.
class NameIndex {
 public:
  explicit NameIndex(VQJsonObject* root);

  // The first object of that name in depth-first order, or null.
  VQJsonObject* Find(const KZString& name);

 private:
  bool IsUsable();
  void Build();
  bool Insert(VQJsonObject* object);

  VQJsonObject* mRoot;
  std::uint64_t mStamp;
  int mSearches = 0;  // Since the last change of the tree.
  bool mBuilt = false;
  bool mHostClass = false;  // Seen in the tree since the last change.
  VQJsonObject* mLast = nullptr;
  std::unordered_map<std::string_view, VQJsonObject*> mFirstByName;  // Views of the mNames.
};

}  // namespace dorn

#endif  // DORN_MODEL_NAMEINDEX_H_
