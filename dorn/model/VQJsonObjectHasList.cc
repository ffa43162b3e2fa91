#include "dorn/model/VQJsonObjectHasList.h"

#include <algorithm>
#include <utility>

#include "dorn/model/ClassTags.h"
#include "dorn/model/TreeStamp.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/WireWords.h"

namespace {

// Whether `wanted` is somewhere below `object`.
bool Holds(VQJsonObject& object, const VQJsonObject* wanted) {
  bool found = false;
  dorn::ForEachChild(object, [&found, wanted](VQJsonObject& child) {
    found = found || &child == wanted || Holds(child, wanted);
  });
  return found;
}

bool Contains(const VQJsonObjectHasList& group, const VQJsonObject* child) {
  const auto& list = group.mObjectList;
  return std::find(list.begin(), list.end(), child) != list.end();
}

bool IsHeldByItsParent(const VQJsonObject& child) {
  if (child.mParent == nullptr) return false;
  const VQJsonObjectHasList* parent = dorn::AsGroup(*child.mParent);
  return parent != nullptr && Contains(*parent, &child);
}

}  // namespace

VQJsonObjectHasList::VQJsonObjectHasList(const KZString& listkey, VQJsonObject* parent)
    : VQJsonObject(parent), mListKey(listkey) {
  mDebugFlag = dorn::kTagGroup;
}

VQJsonObjectHasList::VQJsonObjectHasList(const VQJsonObjectHasList& other)
    : VQJsonObject(other), mListKey(other.mListKey), mObjectList(other.mObjectList) {
  ShareChildren();
}

VQJsonObjectHasList& VQJsonObjectHasList::operator=(const VQJsonObjectHasList& other) {
  if (this == &other) return *this;
  VQJsonObject::operator=(other);
  mListKey = other.mListKey;
  const std::vector<VQJsonObject*> before = std::exchange(mObjectList, other.mObjectList);
  ShareChildren();
  // Last, because `other` may be among the objects that die here.
  for (VQJsonObject* child : before) ReleaseChild(child);
  return *this;
}

VQJsonObjectHasList::~VQJsonObjectHasList() { DeleteChildAll(); }

bool VQJsonObjectHasList::HasGroup() { return true; }

bool VQJsonObjectHasList::AddObject(VQJsonObject* jo, int command) {
  if (jo == nullptr || jo == this) return false;
  // Only a group that was itself added somewhere can lie below `jo`.
  if (mWasAdded && Holds(*jo, this)) return false;
  if (command != 0) {
    SetDirtyAdd();
    jo->SetDirtyAdd();
  }
  if (jo->mWasAdded) {
    if (Contains(*this, jo)) return true;
    if (IsHeldByItsParent(*jo)) ++jo->mMoreOwners;
  }
  jo->mWasAdded = true;
  mObjectList.push_back(jo);
  dorn::NoteStructureChange();
  return true;
}

void VQJsonObjectHasList::OutJsonList(std::ostream& out, int& b) {
  if (mObjectList.empty()) return;
  if (b++ != 0) out.put(',');
  out.put('"');
  out.write(mListKey.data(), static_cast<std::streamsize>(mListKey.size()));
  out.write("\":[", 3);
  bool first = true;
  for (std::size_t i = 0; i < mObjectList.size(); ++i) {
    if (mObjectList[i] == nullptr) continue;
    if (!first) out.put(',');
    first = false;
    mObjectList[i]->OutJson(out);
  }
  out.put(']');
}

VQJsonObject* VQJsonObjectHasList::SearchName(const KZString& name) {
  if (mName == name) return this;
  for (std::size_t i = 0; i < mObjectList.size(); ++i) {
    if (mObjectList[i] == nullptr) continue;
    VQJsonObject* found = mObjectList[i]->SearchName(name);
    if (found != nullptr) return found;
  }
  return nullptr;
}

void VQJsonObjectHasList::ResetDirty() {
  VQJsonObject::ResetDirty();
  // By position: a host's override may change the list.
  for (std::size_t i = 0; i < mObjectList.size(); ++i) {
    dorn::FetchAhead(mObjectList, i);
    VQJsonObject* child = mObjectList[i];
    if (child == nullptr) continue;
    // Most objects are plain and clean, and then a call is most of the work.
    if (!dorn::IsPlainObject(*child)) {
      child->ResetDirty();
    } else if (child->IsDirty()) {
      child->VQJsonObject::ResetDirty();
    }
  }
}

void VQJsonObjectHasList::SetDirtyDel(KZString name) {
  VQJsonObject::SetDirtyDel(name);
  if (name == dorn::kAllChildrenDeleted) {
    DeleteChildAll();
  } else {
    DeleteChild(name);
  }
}

void VQJsonObjectHasList::DeleteChild(const KZString& name) {
  const auto hasName = [&name](const VQJsonObject* child) {
    return child != nullptr && child->mName == name;
  };
  const auto place = std::find_if(mObjectList.begin(), mObjectList.end(), hasName);
  if (place == mObjectList.end()) return;
  // Out of the list first: the child's destructor may look at it. `name` may die with the child.
  VQJsonObject* child = *place;
  mObjectList.erase(place);
  ReleaseChild(child);
}

void VQJsonObjectHasList::DeleteChildAll() {
  // Out of the list first: a child's destructor may look at it.
  const std::vector<VQJsonObject*> children = std::exchange(mObjectList, {});
  for (VQJsonObject* child : children) ReleaseChild(child);
}

void VQJsonObjectHasList::ShareChildren() {
  for (VQJsonObject* child : mObjectList) {
    if (child != nullptr) ++child->mMoreOwners;
  }
}

// Destroys a child that was taken out of the list, unless another group holds it too.
void VQJsonObjectHasList::ReleaseChild(VQJsonObject* child) {
  if (child == nullptr) return;
  dorn::NoteStructureChange();
  if (child->mMoreOwners == 0) {
    delete child;
    return;
  }
  --child->mMoreOwners;
  if (child->mParent == this) child->mParent = nullptr;
}
