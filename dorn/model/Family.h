// Who is related to whom in object trees, so that no object is destroyed twice or outlives what it
// points to. Internal: not installed. Loop thread only, but trees that share no object may live on
// several threads.
#ifndef DORN_MODEL_FAMILY_H_
#define DORN_MODEL_FAMILY_H_

#include <cstddef>
#include <vector>

class VQJsonObject;
class VQJsonObjectHasList;

namespace dorn {

// An object, its head, and its members: the objects that were given it as their parent, those that
// were given to it as a group, and copies of either.
//
//  - A relation ends when one of the two dies, or when the group lets the member go. So whoever is
//    found in a family is alive.
//  - A relation says who may hold a member, not who does: hosts write mObjectList directly, and
//    only the lists tell. A child that a host moved by hand is held by the lists that it is in.
//  - Nobody reads mParent to find a family: hosts write it directly, too.
//
// Most objects have one head and no members. Such an object names the family of its head; any other
// one has a family of its own, which also knows its heads.
class Family {
 public:
  // Relates the two unless they are related, or one and the same.
  static void Join(VQJsonObject& head, VQJsonObject& member);

  // Relates a copy to the parent of its source, if the source is.
  static void JoinParentOf(const VQJsonObject& source, VQJsonObject& copy);

  static void Leave(VQJsonObject& head, VQJsonObject& member);

  // Whether a group that `member` is related to has it in its list. `place` is where to look first,
  // and becomes the place behind it: who asks for many children in their order, as those of a copy,
  // does not search the whole list for each.
  static bool IsHeld(const VQJsonObject& member, std::size_t& place);

  // Whether the group is related to the objects of its list, in their order, to `head`, which may
  // be null, and to nobody else.
  static bool HasOnlyItsList(const VQJsonObjectHasList& group, const VQJsonObject* head);

  // Whether the object, which has no members, is related to `head` and to nobody else.
  static bool HasOnlyHead(const VQJsonObject& object, const VQJsonObject& head);

  // For an object that dies: ends all its relations. Nobody names it as parent afterwards.
  static void End(VQJsonObject& object);

 private:
  friend class FamilyTable;

  struct Membership {
    unsigned int family;
    unsigned int place;  // In mMembers.
  };

  static Family* OwnOf(const VQJsonObject& object);
  static Family& MakeOwn(VQJsonObject& object);
  static Membership* FindIn(std::vector<Membership>& heads, unsigned int family);
  static void NotePlace(VQJsonObject& member, unsigned int family, unsigned int place);
  static void Forget(VQJsonObject& member, unsigned int family);
  template <class Visit>
  static void ForEachHead(const VQJsonObject& member, Visit&& visit);

  void Remove(unsigned int own, unsigned int place);

  VQJsonObject* mHead = nullptr;
  std::vector<VQJsonObject*> mMembers;
  std::vector<Membership> mHeads;
};

}  // namespace dorn

#endif  // DORN_MODEL_FAMILY_H_
