#include "dorn/model/NameIndex.h"

#include "dorn/model/TreeStamp.h"
#include "dorn/model/TreeWalk.h"

namespace dorn {
namespace {

// To index a tree costs about as much as to search it a few times.
constexpr int kSearchesBeforeIndexing = 4;

}  // namespace

NameIndex::NameIndex(VQJsonObject* root) : mRoot(root) { Drop(); }

VQJsonObject* NameIndex::Find(const KZString& name) {
  if (IsStale()) Drop();
  if (!mBuilt) {
    if (mHostClass || mSearches++ < kSearchesBeforeIndexing) return mRoot->SearchName(name);
    Build();
    if (!mBuilt) return mRoot->SearchName(name);
  }
  return Search(name);
}

// A destroyed object is a change too, so mLastFound exists as long as the count is the same.
bool NameIndex::IsStale() const {
  return mStructure != CurrentTreeStamp().structure ||
         (mLastFound != nullptr && mLastFound->mName != mLastName);
}

void NameIndex::Drop() {
  mFirst.clear();
  mBuilt = false;
  mHostClass = false;
  mSearches = 0;
  mStructure = CurrentTreeStamp().structure;
  mLastFound = nullptr;
}

void NameIndex::Build() {
  mBuilt = Insert(*mRoot);
  mHostClass = !mBuilt;
  if (mHostClass) mFirst.clear();
}

// Parents before children, and the first of a name stays. False at an object of a host's class.
bool NameIndex::Insert(VQJsonObject& object) {
  if (!IsOwnClass(object)) return false;
  mFirst.emplace(object.mName, &object);
  bool own = true;
  ForEachChild(object, [this, &own](VQJsonObject& child) { own = own && Insert(child); });
  return own;
}

VQJsonObject* NameIndex::Search(const KZString& name) {
  const auto first = mFirst.find(name);
  if (first == mFirst.end()) return nullptr;
  if (first->second->mName != name) {
    // Renamed behind our back.
    Drop();
    return mRoot->SearchName(name);
  }
  mLastFound = first->second;
  mLastName = name;
  return first->second;
}

}  // namespace dorn
