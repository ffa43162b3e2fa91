// How groups destroy their children, and what they record about it.
#include <gtest/gtest.h>

#include <string>

#include "dorn/model/VQJsonObject.h"
#include "tests/model/Trees.h"

namespace {

using CountedObject = Counted<VQJsonObject>;
using CountedGroup = Counted<VQJsonObjectHasList>;

const char* const kAllChildren = "@LED-CHILD-TNIOP@";

CountedObject* AddCounted(VQJsonObjectHasList& group, const char* name, int& destroyed) {
  auto* child = Named(new CountedObject(destroyed, &group), name);
  group.AddObject(child, 0);
  return child;
}

TEST(VQJsonObjectHasListDeleteTest, DeleteThisRecordsTheNameAndDestroysTheObject) {
  int destroyed = 0;
  VQJsonObjectHasList group("Objects", nullptr);
  auto* child = AddCounted(group, "a name that is long enough to live on the heap", destroyed);
  AddChild(group, "other");
  child->Delete("THIS");
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(Plain(group.GetDirtyDel()), "a name that is long enough to live on the heap");
  EXPECT_EQ(ChildrenOf(group), (Texts{"other"}));
}

// The word may be the dying object's own.
TEST(VQJsonObjectHasListDeleteTest, DeleteTakesAWordThatDiesWithTheObject) {
  int destroyed = 0;
  VQJsonObjectHasList group("Objects", nullptr);
  auto* child = AddCounted(group, "THIS", destroyed);
  child->Delete(child->mName);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(Plain(group.GetDirtyDel()), "THIS");
}

TEST(VQJsonObjectHasListDeleteTest, DeleteThisOfAGroupDestroysItsSubtree) {
  int destroyed = 0;
  VQJsonObjectHasList root("Objects", nullptr);
  auto* group = Named(new CountedGroup(destroyed, "Objects", &root), "g");
  root.AddObject(group, 0);
  AddCounted(*group, "c", destroyed);
  group->Delete("THIS");
  EXPECT_EQ(destroyed, 2);
  EXPECT_EQ(Plain(root.GetDirtyDel()), "g");
  EXPECT_TRUE(root.mObjectList.empty());
}

TEST(VQJsonObjectHasListDeleteTest, DeleteChildDestroysAllChildrenAndRecordsTheSentinel) {
  int destroyed = 0;
  VQJsonObjectHasList root("Objects", nullptr);
  auto* group = AddGroup(root, "g");
  AddCounted(*group, "a", destroyed);
  AddCounted(*group, "b", destroyed);
  group->Delete("CHILD");
  EXPECT_EQ(destroyed, 2);
  EXPECT_EQ(Plain(group->GetDirtyDel()), "@LED-CHILD-TNIOP@");
  EXPECT_TRUE(group->mObjectList.empty());
  EXPECT_FALSE(root.IsDirtyDel());
  EXPECT_EQ(ChildrenOf(root), (Texts{"g"}));
}

TEST(VQJsonObjectHasListDeleteTest, OtherWordsDeleteNothing) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* group = AddGroup(root, "g");
  AddChild(*group, "c");
  for (const char* word : {"this", "child", "", "ALL", "THIS ", "CHILDREN"}) {
    group->Delete(word);
    EXPECT_EQ(ChildrenOf(*group), (Texts{"c"})) << word;
    EXPECT_FALSE(group->IsDirtyDel()) << word;
    EXPECT_FALSE(root.IsDirtyDel()) << word;
  }
}

// Deletion goes by name: the first child of that name dies, whichever one was asked.
TEST(VQJsonObjectHasListDeleteTest, DeleteThisOfASecondTwinDestroysTheFirst) {
  int firstDestroyed = 0;
  int secondDestroyed = 0;
  VQJsonObjectHasList group("Objects", nullptr);
  AddCounted(group, "twin", firstDestroyed);
  auto* second = AddCounted(group, "twin", secondDestroyed);
  second->Delete("THIS");
  EXPECT_EQ(firstDestroyed, 1);
  EXPECT_EQ(secondDestroyed, 0);
  ASSERT_EQ(group.mObjectList.size(), 1u);
  EXPECT_EQ(group.mObjectList[0], second);
}

TEST(VQJsonObjectHasListDeleteTest, DeleteThisOfAnObjectNotInTheListOnlyRecords) {
  int destroyed = 0;
  VQJsonObjectHasList group("Objects", nullptr);
  CountedObject stray(destroyed, &group);
  Named(&stray, "stray");
  stray.Delete("THIS");
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(Plain(group.GetDirtyDel()), "stray");
}

TEST(VQJsonObjectHasListDeleteTest, ASecondDeletionOverwritesTheRecordOfTheFirst) {
  VQJsonObjectHasList group("Objects", nullptr);
  auto* a = AddChild(group, "a");
  auto* b = AddChild(group, "b");
  AddChild(group, "c");
  a->Delete("THIS");
  b->Delete("THIS");
  EXPECT_EQ(Plain(group.GetDirtyDel()), "b");
  EXPECT_EQ(ChildrenOf(group), (Texts{"c"}));
  group.Delete("CHILD");
  EXPECT_EQ(Plain(group.GetDirtyDel()), "@LED-CHILD-TNIOP@");
}

TEST(VQJsonObjectHasListDeleteTest, AChildNamedLikeTheSentinelTakesAllOthersWithIt) {
  int destroyed = 0;
  VQJsonObjectHasList group("Objects", nullptr);
  AddCounted(group, "a", destroyed);
  auto* odd = AddCounted(group, kAllChildren, destroyed);
  odd->Delete("THIS");
  EXPECT_EQ(destroyed, 2);
  EXPECT_TRUE(group.mObjectList.empty());
}

TEST(VQJsonObjectHasListDeleteTest, SetDirtyDelRecordsEvenAnAbsentName) {
  VQJsonObjectHasList group("Objects", nullptr);
  AddChild(group, "a");
  group.SetDirtyDel("absent");
  EXPECT_EQ(Plain(group.GetDirtyDel()), "absent");
  EXPECT_EQ(ChildrenOf(group), (Texts{"a"}));
  group.SetDirtyDel("a");
  EXPECT_TRUE(group.mObjectList.empty());
}

// The name may be the dying child's own.
TEST(VQJsonObjectHasListDeleteTest, SetDirtyDelTakesTheNameOfTheChildItDestroys) {
  int destroyed = 0;
  VQJsonObjectHasList group("Objects", nullptr);
  const auto* child =
      AddCounted(group, "a name that is long enough to live on the heap", destroyed);
  group.SetDirtyDel(child->mName);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(Plain(group.GetDirtyDel()), "a name that is long enough to live on the heap");
}

TEST(VQJsonObjectHasListDeleteTest, DeleteChildRemovesTheFirstMatchWithoutARecord) {
  int destroyed = 0;
  VQJsonObjectHasList group("Objects", nullptr);
  AddCounted(group, "a", destroyed);
  AddCounted(group, "twin", destroyed);
  AddCounted(group, "twin", destroyed);
  const VQJsonObject* last = group.mObjectList[2];
  group.DeleteChild("twin");
  EXPECT_EQ(destroyed, 1);
  ASSERT_EQ(ChildrenOf(group), (Texts{"a", "twin"}));
  EXPECT_EQ(group.mObjectList[1], last);
  group.DeleteChild("absent");
  EXPECT_EQ(ChildrenOf(group), (Texts{"a", "twin"}));
  EXPECT_FALSE(group.IsDirtyDel());
}

TEST(VQJsonObjectHasListDeleteTest, DeleteChildLooksAtDirectChildrenOnly) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* group = AddGroup(root, "g");
  AddChild(*group, "deep");
  root.DeleteChild("deep");
  EXPECT_EQ(ChildrenOf(*group), (Texts{"deep"}));
}

TEST(VQJsonObjectHasListDeleteTest, DeleteChildAllSkipsNullEntries) {
  int destroyed = 0;
  VQJsonObjectHasList group("Objects", nullptr);
  group.mObjectList.push_back(nullptr);
  AddCounted(group, "a", destroyed);
  group.DeleteChildAll();
  EXPECT_EQ(destroyed, 1);
  EXPECT_TRUE(group.mObjectList.empty());
  EXPECT_FALSE(group.IsDirtyDel());
}

TEST(VQJsonObjectHasListDeleteTest, WalksPassOverNullEntries) {
  VQJsonObjectHasList group("Objects", nullptr);
  group.mObjectList.push_back(nullptr);
  auto* child = AddChild(group, "a");
  EXPECT_EQ(group.SearchName("a"), child);
  group.ResetDirty();
  group.DeleteChild("a");
  EXPECT_EQ(group.SearchName("a"), nullptr);
}

// A host object may look at its parent while it dies.
class LooksAtItsParent : public VQJsonObject {
 public:
  LooksAtItsParent(VQJsonObjectHasList* parent, size_t& seen) : VQJsonObject(parent), mSeen(seen) {}
  ~LooksAtItsParent() override {
    const auto* group = static_cast<VQJsonObjectHasList*>(mParent);
    mSeen = 0;
    for (const VQJsonObject* child : group->mObjectList)
      if (child != nullptr && child != this) mSeen += child->mName.size();
  }

 private:
  size_t& mSeen;
};

TEST(VQJsonObjectHasListDeleteTest, ADyingChildMayWalkItsParent) {
  size_t seen = 99;
  VQJsonObjectHasList group("Objects", nullptr);
  auto* child = new LooksAtItsParent(&group, seen);
  child->mName = "c";
  group.AddObject(child, 0);
  AddChild(group, "four");
  child->Delete("THIS");
  EXPECT_EQ(seen, 4u);
}

}  // namespace
