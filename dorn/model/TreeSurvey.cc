#include "dorn/model/TreeSurvey.h"

#include <cstddef>

#include "dorn/model/TreeWalk.h"

namespace dorn {
namespace {

bool HasRecords(const VQJsonObject& object) {
  return object.IsDirty() || object.IsDirtyAdd() || object.IsDirtyDel();
}

// The first place from `i` on whose child is something else than a plain object without change
// records; most are that, and this loop is all that they cost.
std::size_t SkipQuiet(const std::vector<VQJsonObject*>& children, std::size_t i) {
  const void* const plain = kPlainObjectTable;
  const std::size_t size = children.size();
  for (; i < size; ++i) {
    FetchAhead(children, i);
    const VQJsonObject* const child = children[i];
    if (child == nullptr || TableOf(*child) != plain || HasRecords(*child)) break;
  }
  return i;
}

}  // namespace

bool TreeSurvey::Take(VQJsonResource& tree, bool allflag) {
  mAllflag = allflag;
  mEntries.clear();
  mDirty.clear();
  mDeleted.clear();
  mAdded.clear();
  NoteRecords(tree);
  return WalkBelow(tree);
}

bool TreeSurvey::Walk(const VQJsonObjectHasList& group) {
  const std::vector<VQJsonObject*>& children = group.mObjectList;
  for (std::size_t i = 0; i < children.size(); ++i) {
    if (mAllflag) {
      FetchAhead(children, i);
    } else {
      i = SkipQuiet(children, i);
      if (i == children.size()) break;
    }
    VQJsonObject* const child = children[i];
    if (child == nullptr) continue;
    if (mAllflag || HasRecords(*child)) Note(*child);
    if (!IsPlainObject(*child) && !WalkBelow(*child)) return false;
  }
  return true;
}

bool TreeSurvey::WalkBelow(VQJsonObject& object) {
  if (!IsOwnClass(object)) return false;
  const VQJsonObjectHasList* group = AsGroup(object);
  if (group == nullptr) return true;
  const bool isAdded = object.IsDirtyAdd();
  const std::size_t place = mAdded.size() - 1;  // The object's own, if it is added.
  const bool own = Walk(*group);
  if (isAdded) mAdded[place].end = mAdded.size();
  return own;
}

void TreeSurvey::Note(VQJsonObject& object) {
  if (!object.mName.empty() && (mAllflag || object.IsDirty())) mEntries.push_back(&object);
  NoteRecords(object);
}

void TreeSurvey::NoteRecords(VQJsonObject& object) {
  if (object.IsDirty()) mDirty.push_back(&object);
  if (object.IsDirtyDel()) mDeleted.push_back(&object);
  if (object.IsDirtyAdd()) mAdded.push_back({&object, mAdded.size() + 1});
}

void TreeSurvey::AppendSideCommands(std::string& out, int& comma) {
  for (VQJsonObject* object : mDeleted) AppendDeleteRecord(out, *object, comma);
  mDeleted.clear();
  int indent = 0;
  AppendAddedObjects(out, mAdded, 0, mAdded.size(), comma, indent);
  mAdded.clear();
}

// Only the object's own set: the groups among them have had their children looked at.
void TreeSurvey::ResetDirty() const {
  for (VQJsonObject* object : mDirty) object->VQJsonObject::ResetDirty();
}

}  // namespace dorn
