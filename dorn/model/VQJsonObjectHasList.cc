#include "dorn/model/VQJsonObjectHasList.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "dorn/model/ClassTags.h"
#include "dorn/model/Family.h"
#include "dorn/model/MemberText.h"
#include "dorn/model/ObjectClass.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/WireWords.h"

namespace {

// Whether `wanted` is somewhere below `group`.
bool Holds(const VQJsonObjectHasList& group, const VQJsonObject* wanted) {
  return std::any_of(group.mObjectList.begin(), group.mObjectList.end(), [wanted](auto* child) {
    if (child == nullptr || child == wanted) return child != nullptr;
    const VQJsonObjectHasList* inner = dorn::AsListHolder(*child);
    return inner != nullptr && Holds(*inner, wanted);
  });
}

bool Contains(const VQJsonObjectHasList& group, const VQJsonObject* child) {
  const auto& list = group.mObjectList;
  return std::find(list.begin(), list.end(), child) != list.end();
}

}  // namespace

VQJsonObjectHasList::VQJsonObjectHasList(const KZString& listkey, VQJsonObject* parent)
    : VQJsonObject(parent), mListKey(listkey) {
  mDebugFlag = dorn::kTagGroup;
  mClassTag = dorn::kTagGroup;
}

VQJsonObjectHasList::VQJsonObjectHasList(const VQJsonObjectHasList& other)
    : VQJsonObject(other), mListKey(other.mListKey), mObjectList(other.mObjectList) {
  mClassTag = dorn::kTagGroup;
  ShareChildren(other);
}

VQJsonObjectHasList& VQJsonObjectHasList::operator=(const VQJsonObjectHasList& other) {
  if (this == &other || Holds(other, this)) return *this;
  VQJsonObject::operator=(other);
  mListKey = other.mListKey;
  const std::vector<VQJsonObject*> before = std::exchange(mObjectList, other.mObjectList);
  ShareChildren(other);
  // Last, because `other` may be among the objects that die here.
  ReleaseChildren(before);
  return *this;
}

VQJsonObjectHasList::~VQJsonObjectHasList() {
  DeleteChildAll();
  mClassTag = dorn::kTagObject;  // Without a list from now on.
}

bool VQJsonObjectHasList::HasGroup() { return true; }

bool VQJsonObjectHasList::AddObject(VQJsonObject* jo, int command) {
  if (jo == nullptr || jo == this) return false;
  const VQJsonObjectHasList* group = dorn::AsListHolder(*jo);
  if (group != nullptr && !group->mObjectList.empty()) {
    // Not so in a tree that is being built: each group is added after its children.
    std::size_t place = 0;
    const bool mayBeBelow = mWasAdded || dorn::Family::IsHeld(*this, place);
    if (mayBeBelow && Holds(*group, this)) return false;
  }
  if (command != 0) {
    SetDirtyAdd();
    jo->SetDirtyAdd();
  }
  if (jo->mWasAdded && Contains(*this, jo)) return true;
  jo->mWasAdded = true;
  mObjectList.push_back(jo);
  dorn::Family::Join(*this, *jo);
  return true;
}

void VQJsonObjectHasList::OutJsonList(std::ostream& out, int& b) {
  dorn::WriteList(
      *this, b,
      [&out](std::string_view text) {
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
      },
      [&out](VQJsonObject& child) { child.OutJson(out); });
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
  ReleaseChildren({child});
}

void VQJsonObjectHasList::DeleteChildAll() {
  // Out of the list first: a child's destructor may look at it.
  ReleaseChildren(std::exchange(mObjectList, {}));
}

// The children of `other` are now in both lists. It may have got them behind our back.
void VQJsonObjectHasList::ShareChildren(const VQJsonObjectHasList& other) {
  auto& source = const_cast<VQJsonObjectHasList&>(other);  // Related, not changed.
  for (VQJsonObject* child : mObjectList) {
    if (child == nullptr) continue;
    child->mWasAdded = true;
    dorn::Family::Join(source, *child);
    dorn::Family::Join(*this, *child);
  }
}

// Destroys the children that were taken out of the list, but for those that some list still holds.
// All are judged before the first one dies: one of them may hold another.
void VQJsonObjectHasList::ReleaseChildren(const std::vector<VQJsonObject*>& children) {
  // This list, if it is worth while: each of the children is looked for in it.
  std::unordered_set<const VQJsonObject*> listed;
  if (children.size() > 1) listed.insert(mObjectList.begin(), mObjectList.end());
  const auto isListed = [&](const VQJsonObject* child) {
    return children.size() > 1 ? listed.count(child) != 0 : Contains(*this, child);
  };
  std::vector<VQJsonObject*> doomed;
  std::size_t place = 0;
  for (VQJsonObject* child : children) {
    if (child == nullptr || child->mIsDoomed) continue;  // Listed twice.
    if (!dorn::Family::IsHeld(*child, place)) {
      child->mIsDoomed = true;
      doomed.push_back(child);
    } else if (!isListed(child)) {
      if (child->mParent == this) child->mParent = nullptr;
      dorn::Family::Leave(*this, *child);
    }
  }
  for (VQJsonObject* child : doomed) delete child;
}
