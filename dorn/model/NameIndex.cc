#include "dorn/model/NameIndex.h"

#include "dorn/model/TreeWalk.h"

namespace dorn {
namespace {

// To index a tree costs about as much as to search it a few times.
constexpr int kSearchesBeforeIndexing = 4;

}  // namespace

VQJsonObject* NameIndex::Find(const KZString& name) {
  if (mHostClass || mSearches++ < kSearchesBeforeIndexing) return mRoot->SearchName(name);
  if (mFirst.empty() && !Insert(*mRoot)) {
    mHostClass = true;
    return mRoot->SearchName(name);
  }
  const auto first = mFirst.find(name);
  return first != mFirst.end() ? first->second : nullptr;
}

void NameIndex::Forget() {
  mFirst.clear();
  mHostClass = false;
  mSearches = 0;
}

// Parents before children, and the first of a name stays. False at an object of a host's class.
bool NameIndex::Insert(VQJsonObject& object) {
  if (!IsOwnClass(object)) return false;
  mFirst.emplace(object.mName, &object);
  bool own = true;
  ForEachChild(object, [this, &own](VQJsonObject& child) { own = own && Insert(child); });
  return own;
}

}  // namespace dorn
