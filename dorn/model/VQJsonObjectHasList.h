// A group: an object that owns an ordered list of children.
// Loop thread only: nothing in this file takes a lock.

// Before the guard: the object's header includes this one at its end, so that either may be
// included first.
#include "dorn/model/VQJsonObject.h"

#ifndef DORN_MODEL_VQJSONOBJECTHASLIST_H_
#define DORN_MODEL_VQJSONOBJECTHASLIST_H_

#include <ostream>
#include <vector>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

// Owns its children and destroys them when they are deleted, when the list is cleared and with
// itself. Groups share a child that was added to each of them, and a copy of a group shares the
// children of its source; the last group that holds a child destroys it. mParent of a shared child
// stays as it was and becomes null when that parent dies or lets the child go.
//
// Hosts may work on mObjectList directly: a pointer that they put in is owned from then on, one
// that they take out is theirs, to destroy or to give to another group. What they put in counts for
// other groups only if this one is its parent, so put it into one list. Null pointers are skipped.
class DORN_EXPORT VQJsonObjectHasList : public VQJsonObject {
 public:
  // `listkey` is the JSON key under which the children are written.
  VQJsonObjectHasList(const KZString& listkey, VQJsonObject* parent);
  VQJsonObjectHasList(const VQJsonObjectHasList& other);

  // Does nothing if `other` holds this group somewhere below it: the group would become its own
  // descendant.
  VQJsonObjectHasList& operator=(const VQJsonObjectHasList& other);
  ~VQJsonObjectHasList() override;

  bool HasGroup() override;

  // Appends `jo`, which the group owns from then on, and returns true. With a `command` other than
  // 0 both are marked as added, so that the next update carries an ADD command. The child's mParent
  // is not set: it gets its parent at construction. Another group that holds `jo` shares it.
  // Returns false, and the caller keeps owning `jo`, for null, for the group itself and for a group
  // that holds this one. A child that is already in the list is only marked, and stays there once.
  bool AddObject(VQJsonObject* jo, int command) override;

  void OutJsonList(std::ostream& out, int& b) override;
  VQJsonObject* SearchName(const KZString& name) override;
  void ResetDirty() override;

  // Records the name of a deleted child and destroys the first child of that name; with
  // "@LED-CHILD-TNIOP@" destroys all children.
  void SetDirtyDel(KZString name) override;

  // Destroys the first child of that name, without a record; nothing without a match.
  void DeleteChild(const KZString& name);

  // Destroys all children, without a record.
  void DeleteChildAll();

  KZString mListKey;                       // "Objects", or "Commands" for a command list.
  std::vector<VQJsonObject*> mObjectList;  // Owned, in the order in which they were added.

 private:
  void ShareChildren(const VQJsonObjectHasList& other);
  void ReleaseChildren(const std::vector<VQJsonObject*>& children);
};

#endif  // DORN_MODEL_VQJSONOBJECTHASLIST_H_
