// Finds objects of a tree by name without walking the tree each time.
// Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_NAMEINDEX_H_
#define DORN_MODEL_NAMEINDEX_H_

#include <string>
#include <unordered_map>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonObject.h"

namespace dorn {

// Gives the answers of root->SearchName() for many names in a row, such as those of one command.
// The first few names are searched; after that the whole tree is indexed once. A tree with an
// object of a host's own class is always searched, since that class may override SearchName().
//
// Names and lists are public: nothing tells that one of them was written. So call Forget() whenever
// host code may have run, or the library itself has made, moved or renamed an object.
class NameIndex {
 public:
  explicit NameIndex(VQJsonObject* root) : mRoot(root) {}

  // The first object of that name in depth-first order, or null.
  VQJsonObject* Find(const KZString& name);

  // The next names are searched in the tree as it is then.
  void Forget();

 private:
  bool Insert(VQJsonObject& object);

  VQJsonObject* mRoot;
  std::unordered_map<std::string, VQJsonObject*> mFirst;  // Empty until the tree is indexed.
  bool mHostClass = false;                                // Met when the tree was to be indexed.
  int mSearches = 0;
};

}  // namespace dorn

#endif  // DORN_MODEL_NAMEINDEX_H_
