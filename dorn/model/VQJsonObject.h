// The node of a dialog's object tree: a named bag of attributes with records of what changed since
// the last update. Including this file also gives the group and the radio button classes.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_MODEL_VQJSONOBJECT_H_
#define DORN_MODEL_VQJSONOBJECT_H_

#include <cstddef>
#include <map>
#include <new>
#include <ostream>
#include <set>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/json/VQValue.h"

class JsonParser;

namespace dorn {
class Family;
struct ObjectClass;
}  // namespace dorn

// One user-interface object: a label, a button, a grid, a group, or a received command.
//
// The change records:
//  - mDirty holds the keys of the changed attributes, plain ("Value") or tagged with the session
//    that made the change ("Value|:|S1"), so that it is not echoed to that session. Writers leave
//    it alone; ResetDirty() empties it.
//  - mDirtyAdd says that the object is new in its parent. The add writer clears it.
//  - mDirtyDel names the last deleted child. The delete writer clears it.
//
// All members are public for hosts; whoever writes them directly keeps them consistent.
//
// Writers put JSON text to `out` without any escaping. Their counter `b` counts the items written
// at the current level: before each item they write a comma if the counter is not 0, then they
// raise the counter.
class DORN_EXPORT VQJsonObject {
 public:
  // No name, no attributes, no change records. `parent` may be null and is not owned; mParent
  // becomes null when it dies. The object is not appended to the parent: see AddObject().
  explicit VQJsonObject(VQJsonObject* parent);

  // A copy has the source's attributes, change records, tag and parent, which it forgets as the
  // source does when the parent dies. Assignment leaves the tag.
  VQJsonObject(const VQJsonObject& other);
  VQJsonObject& operator=(const VQJsonObject& other);

  virtual ~VQJsonObject();

  // Whether this is a VQJsonObjectHasList, so that it can have children.
  virtual bool HasGroup();

  // Appends a child to a group; see VQJsonObjectHasList. A plain object takes none: returns false,
  // and the caller keeps owning `jo`.
  virtual bool AddObject(VQJsonObject* jo, int command);

  // Writes the whole object as one JSON object: "{", members, child list, "}". The first form is
  // the second with a counter of its own.
  virtual void OutJson(std::ostream& out);
  virtual void OutJson(std::ostream& out, int& b);

  // Writes every attribute as a member, in key order.
  virtual void OutJsonMember(std::ostream& out, int& b);

  // Writes the changed attributes that `sessionid` has not made itself, then, if there was one, the
  // attribute "Name" (inserted empty if absent). A key is written once for each of its entries in
  // mDirty. Kept: for an empty `sessionid` a tagged entry is written under its whole tagged key.
  // A dirty key without an attribute is written with nothing behind the colon and is not inserted:
  // an empty attribute would spoil every later full output.
  virtual void OutJsonDirtyMember(std::ostream& out, int& b, const KZString& sessionid);

  // Writes the child list as a member; nothing without children.
  virtual void OutJsonList(std::ostream& out, int& b);

  // The object of that name: this one, or the first below it in depth-first order, parents before
  // children. Null if there is none.
  virtual VQJsonObject* SearchName(const KZString& name);

  // Stores an attribute and returns the object. `dirty` chooses the marking: -1 marks (and stores)
  // only if the value differs from the stored one, 1 and above always marks, 0 and other negative
  // numbers store without marking. The first value of a key always differs. `sessionid` is the
  // session that made the change, or empty for the host itself. Setting "Name" also sets mName to
  // the value's text.
  // Kept: the kind of the stored value decides what "differs" means: with the integer 0 stored, an
  // arriving empty text does not differ; with the empty text stored, an arriving 0 does.
  virtual VQJsonObject* SetValue(const KZString& key, VQValue value, int dirty,
                                 const KZString& sessionid);

  // Takes name and attributes from the reader's current JSON object, without marking anything and
  // without the children. With `shard` false, an object with a string "NotifyList" keeps only the
  // attributes that this comma-separated list (of at most 100 keys) names, and "Alias", "Type" and,
  // for a group, "Layout". "Object" and "Objects" are never taken, nor are members that have no
  // dialog value (null and floating numbers). Returns true.
  virtual bool Parse(JsonParser& jp, bool shard);

  // What OutJson() writes.
  virtual KZString GetJson();

  // SetValue() on the object that SearchName(name) finds; without a match nothing happens.
  // Returns this object, not the one that was found.
  virtual VQJsonObject* SetValueByName(const KZString& key, VQValue value, const KZString& name,
                                       int dirty, const KZString& sessionid);

  // The attribute, or, if the object has none of that key, one empty value that all objects share
  // and that is emptied again each time it is handed out. Never inserts.
  virtual VQValue& GetValue(const KZString& key);

  virtual VQJsonObject* GetParent();
  virtual bool HasKey(const KZString& key);

  // Forgets the changed attributes, of a group also those of its whole subtree. Added and deleted
  // objects stay recorded.
  virtual void ResetDirty();

  // Records a deleted child; a group also destroys it (see VQJsonObjectHasList). Only one record
  // fits: the next one overwrites it.
  virtual void SetDirtyDel(KZString name);

  // "THIS" has the parent record and destroy this object: a group parent destroys its first child
  // of this object's name, and that is usually this object, which must not be touched afterwards.
  // "CHILD" has a group destroy all its children. Any other word does nothing.
  void Delete(const KZString& point);

  // Marks `key` as changed, without a session.
  void SetDirty(const KZString& key);
  bool IsDirty() const noexcept { return !mDirty.empty(); }

  void SetDirtyAdd();
  void ResetDirtyAdd();
  bool IsDirtyAdd() const noexcept { return mDirtyAdd; }

  void ResetDirtyDel();
  bool IsDirtyDel() const noexcept { return !mDirtyDel.empty(); }
  KZString& GetDirtyDel() noexcept { return mDirtyDel; }

  // The attributes, read-only and in key order.
  const std::map<KZString, VQValue>& GetObject() const noexcept { return mList; }
  operator const std::map<KZString, VQValue>&() const noexcept { return mList; }
  std::map<KZString, VQValue>::const_iterator KeyValueBegin() const noexcept {
    return mList.begin();
  }
  std::map<KZString, VQValue>::const_iterator KeyValueEnd() const noexcept { return mList.end(); }

  // Allocation leaves a mark from which the constructor tells that the object is on the heap
  // (mDebugFlag 10 instead of 1). The mark is written where mDebugFlag will be and is also kept
  // beside the storage: a constructor may not read what was there before it, and optimisers take
  // such a read away.
  static void* operator new(std::size_t size);
  static void* operator new(std::size_t size, const std::nothrow_t& tag) noexcept;
  static void* operator new(std::size_t size, void* place) noexcept;
  static void operator delete(void* storage) noexcept;
  static void operator delete(void* storage, const std::nothrow_t& tag) noexcept;
  static void operator delete(void* storage, void* place) noexcept;

  int mDebugFlag;             // Tag of the class: 10 (heap) or 1, subclasses 2 to 7.
  KZString mName;             // Follows the attribute "Name" when SetValue() sets it.
  VQJsonObject* mParent;      // Not owned; null for roots and commands.
  std::set<KZString> mDirty;  // Changed keys, plain or tagged with a session.
  bool mDirtyAdd;             // New since the last add command.

 private:
  unsigned int mPlace = 0;  // Among the members of mFamily. Here because there is a gap.

 public:
  KZString mDirtyDel;                 // Last deleted child; "@LED-CHILD-TNIOP@" means all of them.
  std::map<KZString, VQValue> mList;  // The attributes.

 private:
  friend class VQJsonObjectHasList;
  friend class dorn::Family;
  friend struct dorn::ObjectClass;

  unsigned int mFamily = 0;     // Its own, or that of its only head; 0 for none.
  unsigned char mClassTag : 3;  // mDebugFlag may be written and is copied; this one is true.
  unsigned char mWasAdded : 1;  // Was once given to a group.
  unsigned char mIsDoomed : 1;  // About to be destroyed by the group that let it go.
};

// At the end because a group is an object.
#include "dorn/model/VQJsonObjectHasList.h"
#include "dorn/model/VQJsonRadioButton.h"

#endif  // DORN_MODEL_VQJSONOBJECT_H_
