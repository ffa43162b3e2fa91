#include "dorn/model/Family.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <mutex>

#include "dorn/model/ObjectClass.h"
#include "dorn/model/VQJsonObject.h"

namespace dorn {

// All families, by number from 1 on. A number is half as wide as a pointer: objects have no room
// for more. Blocks never move, the next being twice as large, so that a family is found without the
// lock by whoever has its number.
class FamilyTable {
 public:
  // Never destroyed: objects of static storage die after it.
  static FamilyTable& Get() {
    static FamilyTable& table = *new FamilyTable;
    return table;
  }

  Family& At(unsigned int number) {
    const unsigned int position = number + kFirstBlock - 1;
    const int block = kTopBit - __builtin_clz(position) - kFirstBlockBits;
    const unsigned int first = kFirstBlock << block;
    return mBlocks[block].load(std::memory_order_acquire)[position - first];
  }

  unsigned int Take() {
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mFree.empty()) AddBlock();
    const unsigned int number = mFree.back();
    mFree.pop_back();
    return number;
  }

  // The next one that takes the number finds the lists empty, but with room.
  void GiveBack(unsigned int number, Family& family) {
    constexpr std::size_t kUsualMembers = 64;
    family.mHead = nullptr;
    family.mHeads.clear();
    family.mMembers.clear();
    if (family.mMembers.capacity() > kUsualMembers)
      std::vector<VQJsonObject*>().swap(family.mMembers);
    const std::lock_guard<std::mutex> lock(mMutex);
    mFree.push_back(number);
  }

 private:
  static constexpr int kTopBit = 31;
  static constexpr int kFirstBlockBits = 6;
  static constexpr unsigned int kFirstBlock = 1U << kFirstBlockBits;
  static constexpr int kBlocks = kTopBit - kFirstBlockBits;

  void AddBlock() {
    const unsigned int size = kFirstBlock << mUsedBlocks;
    const unsigned int firstNumber = size - kFirstBlock + 1;
    mBlocks[mUsedBlocks++].store(new Family[size], std::memory_order_release);
    for (unsigned int i = size; i-- > 0;) mFree.push_back(firstNumber + i);
  }

  std::atomic<Family*> mBlocks[kBlocks] = {};
  std::mutex mMutex;  // Guards what follows.
  int mUsedBlocks = 0;
  std::vector<unsigned int> mFree;
};

namespace {

Family& At(unsigned int number) { return FamilyTable::Get().At(number); }

bool Lists(const VQJsonObject& head, const VQJsonObject& member, std::size_t& place) {
  const VQJsonObjectHasList* group = AsListHolder(head);
  if (group == nullptr) return false;
  const auto& list = group->mObjectList;
  const auto first = list.begin() + static_cast<std::ptrdiff_t>(std::min(place, list.size()));
  auto found = std::find(first, list.end(), &member);
  if (found == list.end()) {
    found = std::find(list.begin(), first, &member);
    if (found == first) return false;
  }
  place = static_cast<std::size_t>(found - list.begin()) + 1;
  return true;
}

}  // namespace

// Null for an object without members and with one head at most.
Family* Family::OwnOf(const VQJsonObject& object) {
  if (object.mFamily == 0) return nullptr;
  Family& family = At(object.mFamily);
  return family.mHead == &object ? &family : nullptr;
}

Family& Family::MakeOwn(VQJsonObject& object) {
  Family* own = OwnOf(object);
  if (own != nullptr) return *own;
  const unsigned int number = FamilyTable::Get().Take();
  Family& family = At(number);
  family.mHead = &object;
  if (object.mFamily != 0) family.mHeads.push_back({object.mFamily, object.mPlace});
  object.mFamily = number;
  return family;
}

Family::Membership* Family::FindIn(std::vector<Membership>& heads, unsigned int family) {
  const auto found = std::find_if(heads.begin(), heads.end(), [family](const Membership& head) {
    return head.family == family;
  });
  return found != heads.end() ? &*found : nullptr;
}

template <class Visit>
void Family::ForEachHead(const VQJsonObject& member, Visit&& visit) {
  if (member.mFamily == 0) return;
  const Family& family = At(member.mFamily);
  if (family.mHead != &member) {
    visit(*family.mHead, member.mPlace);
    return;
  }
  for (const Membership& head : family.mHeads) visit(*At(head.family).mHead, head.place);
}

void Family::Join(VQJsonObject& head, VQJsonObject& member) {
  if (&head == &member) return;
  Family& family = MakeOwn(head);
  if (member.mFamily == head.mFamily) return;
  const auto place = static_cast<unsigned int>(family.mMembers.size());
  if (member.mFamily == 0) {
    member.mFamily = head.mFamily;
    member.mPlace = place;
  } else {
    Family& own = MakeOwn(member);
    if (FindIn(own.mHeads, head.mFamily) != nullptr) return;
    own.mHeads.push_back({head.mFamily, place});
  }
  family.mMembers.push_back(&member);
}

void Family::JoinParentOf(const VQJsonObject& source, VQJsonObject& copy) {
  // An object is its own parent after an assignment from its child.
  VQJsonObject* parent = source.mParent == &source ? source.mParent : nullptr;
  ForEachHead(source, [&](VQJsonObject& head, unsigned int) {
    if (&head == source.mParent) parent = &head;
  });
  if (parent != nullptr) Join(*parent, copy);
}

void Family::Leave(VQJsonObject& head, VQJsonObject& member) {
  bool isMember = false;
  unsigned int place = 0;
  ForEachHead(member, [&](const VQJsonObject& other, unsigned int there) {
    if (&other != &head) return;
    isMember = true;
    place = there;
  });
  if (!isMember) return;
  At(head.mFamily).Remove(head.mFamily, place);
  Forget(member, head.mFamily);
}

bool Family::IsHeld(const VQJsonObject& member, std::size_t& place) {
  bool held = false;
  ForEachHead(member, [&](const VQJsonObject& head, unsigned int) {
    held = held || Lists(head, member, place);
  });
  return held;
}

bool Family::HasOnlyItsList(const VQJsonObjectHasList& group, const VQJsonObject* head) {
  const Family* const own = OwnOf(group);
  const unsigned int headsFamily = head != nullptr ? head->mFamily : 0;
  if (own == nullptr) return group.mObjectList.empty() && group.mFamily == headsFamily;
  if (own->mMembers != group.mObjectList) return false;
  if (head == nullptr) return own->mHeads.empty();
  return own->mHeads.size() == 1 && own->mHeads.front().family == headsFamily;
}

// With a second relation it would have a family of its own.
bool Family::HasOnlyHead(const VQJsonObject& object, const VQJsonObject& head) {
  return object.mFamily == head.mFamily && object.mFamily != 0;
}

void Family::End(VQJsonObject& object) {
  ForEachHead(object, [](VQJsonObject& head, unsigned int place) {
    At(head.mFamily).Remove(head.mFamily, place);
  });
  Family* own = OwnOf(object);
  if (own == nullptr) return;
  const unsigned int number = object.mFamily;
  for (VQJsonObject* member : own->mMembers) {
    if (member->mParent == &object) member->mParent = nullptr;
    Forget(*member, number);
  }
  FamilyTable::Get().GiveBack(number, *own);
}

// The last member takes the place.
void Family::Remove(unsigned int own, unsigned int place) {
  VQJsonObject* last = mMembers.back();
  mMembers.pop_back();
  if (place == mMembers.size()) return;
  mMembers[place] = last;
  NotePlace(*last, own, place);
}

void Family::NotePlace(VQJsonObject& member, unsigned int family, unsigned int place) {
  if (member.mFamily == family) {
    member.mPlace = place;
  } else {
    FindIn(At(member.mFamily).mHeads, family)->place = place;
  }
}

// The member's side of Remove().
void Family::Forget(VQJsonObject& member, unsigned int family) {
  if (member.mFamily == family) {
    member.mFamily = 0;
    return;
  }
  std::vector<Membership>& heads = At(member.mFamily).mHeads;
  heads.erase(heads.begin() + (FindIn(heads, family) - heads.data()));
}

}  // namespace dorn
