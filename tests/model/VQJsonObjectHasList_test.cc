#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "dorn/model/VQJsonObject.h"
#include "tests/model/Trees.h"

namespace {

using CountedObject = Counted<VQJsonObject>;
using CountedGroup = Counted<VQJsonObjectHasList>;

CountedObject* AddCounted(VQJsonObjectHasList& group, const char* name, int& destroyed) {
  auto* child = Named(new CountedObject(destroyed, &group), name);
  group.AddObject(child, 0);
  return child;
}

TEST(VQJsonObjectHasListTest, StartsEmptyWithItsListKey) {
  VQJsonObject parent(nullptr);
  VQJsonObjectHasList group("Commands", &parent);
  EXPECT_EQ(Plain(group.mListKey), "Commands");
  EXPECT_EQ(group.GetParent(), &parent);
  EXPECT_TRUE(group.mObjectList.empty());
  EXPECT_TRUE(group.HasGroup());
  EXPECT_EQ(Plain(group.mName), "");
  EXPECT_FALSE(group.IsDirty() || group.IsDirtyAdd() || group.IsDirtyDel());
}

// --- Adding ---------------------------------------------------------------------------------

TEST(VQJsonObjectHasListTest, AddsInOrderWithoutMarking) {
  VQJsonObjectHasList group("Objects", nullptr);
  auto* first = new VQJsonObject(&group);
  auto* second = new VQJsonObject(nullptr);
  EXPECT_TRUE(group.AddObject(first, 0));
  EXPECT_TRUE(group.AddObject(second, 0));
  ASSERT_EQ(group.mObjectList.size(), 2u);
  EXPECT_EQ(group.mObjectList[0], first);
  EXPECT_EQ(group.mObjectList[1], second);
  EXPECT_FALSE(group.IsDirtyAdd());
  EXPECT_FALSE(first->IsDirtyAdd());
  EXPECT_FALSE(second->IsDirtyAdd());
}

TEST(VQJsonObjectHasListTest, AnyOtherCommandMarksBothTheGroupAndTheChild) {
  for (const int command : {1, 2, -1}) {
    VQJsonObjectHasList group("Objects", nullptr);
    auto* child = new VQJsonObject(&group);
    EXPECT_TRUE(group.AddObject(child, command));
    EXPECT_TRUE(group.IsDirtyAdd()) << command;
    EXPECT_TRUE(child->IsDirtyAdd()) << command;
  }
}

TEST(VQJsonObjectHasListTest, LeavesTheChildsParentAsItWasConstructed) {
  VQJsonObject elsewhere(nullptr);
  VQJsonObjectHasList group("Objects", nullptr);
  auto* child = new VQJsonObject(&elsewhere);
  group.AddObject(child, 1);
  EXPECT_EQ(child->mParent, &elsewhere);
}

TEST(VQJsonObjectHasListTest, RefusesANullChildUnmarked) {
  VQJsonObjectHasList group("Objects", nullptr);
  EXPECT_FALSE(group.AddObject(nullptr, 0));
  EXPECT_FALSE(group.AddObject(nullptr, 1));
  EXPECT_TRUE(group.mObjectList.empty());
  EXPECT_FALSE(group.IsDirtyAdd());
}

TEST(VQJsonObjectHasListTest, AChildAddedTwiceIsDestroyedOnce) {
  int destroyed = 0;
  {
    VQJsonObjectHasList group("Objects", nullptr);
    auto* child = AddCounted(group, "c", destroyed);
    group.AddObject(child, 0);
    EXPECT_EQ(ChildrenOf(group), (Texts{"c"}));
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(VQJsonObjectHasListTest, AChildThatIsAddedAgainIsOnlyMarked) {
  VQJsonObjectHasList group("Objects", nullptr);
  auto* child = AddChild(group, "c");
  EXPECT_TRUE(group.AddObject(child, 0));
  EXPECT_FALSE(child->IsDirtyAdd());
  EXPECT_TRUE(group.AddObject(child, 1));
  EXPECT_TRUE(group.IsDirtyAdd() && child->IsDirtyAdd());
  EXPECT_EQ(ChildrenOf(group), (Texts{"c"}));
}

// Whether an operation has listed the child or the host itself.
TEST(VQJsonObjectHasListTest, AChildOfACopyThatIsAddedAgainStaysThereOnce) {
  VQJsonObjectHasList source("Objects", nullptr);
  auto* child = AddChild(source, "c");
  auto* listed = Named(new VQJsonObject(&source), "listed");
  source.mObjectList.push_back(listed);
  VQJsonObjectHasList copy(source);
  for (VQJsonObject* one : {child, listed}) {
    EXPECT_TRUE(copy.AddObject(one, 0));
    EXPECT_TRUE(source.AddObject(one, 0));
  }
  EXPECT_EQ(ChildrenOf(copy), (Texts{"c", "listed"}));
  EXPECT_EQ(ChildrenOf(source), (Texts{"c", "listed"}));
}

TEST(VQJsonObjectHasListTest, AGroupInsideAnotherTakesAGroupWithChildren) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* inner = AddGroup(root, "inner");
  auto* late = Named(new VQJsonObjectHasList("Objects", nullptr), "late");
  AddChild(*late, "leaf");
  EXPECT_TRUE(inner->AddObject(late, 0));
  EXPECT_EQ(ChildrenOf(*inner), (Texts{"late"}));
}

TEST(VQJsonObjectHasListTest, NeverBecomesItsOwnDescendant) {
  int destroyed = 0;
  {
    CountedGroup root(destroyed, "Objects", nullptr);
    auto* middle = AddGroup(root, "middle");
    auto* leaf = AddGroup(*middle, "leaf");
    root.AddObject(&root, 0);
    leaf->AddObject(&root, 0);
    leaf->AddObject(middle, 0);
    leaf->AddObject(leaf, 0);
    EXPECT_EQ(root.SearchName("nobody"), nullptr);
    EXPECT_EQ(Plain(root.GetJson()),
              "{\"Objects\":[{\"Name\":\"middle\",\"Objects\":[{\"Name\":\"leaf\"}]}]}");
  }
  EXPECT_EQ(destroyed, 1);
}

// Whether an operation has listed the group or the host itself, the object that holds it is found.
TEST(VQJsonObjectHasListTest, NeverHoldsAGroupThatAHostHasPutAroundIt) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* listed = new VQJsonObjectHasList("Objects", &root);
  root.mObjectList.push_back(listed);
  EXPECT_FALSE(listed->AddObject(&root, 1));
  VQJsonObjectHasList first("Objects", nullptr);
  auto* moved = AddGroup(first, "moved");
  first.mObjectList.clear();
  root.mObjectList.push_back(moved);
  EXPECT_FALSE(moved->AddObject(&root, 1));
  EXPECT_TRUE(listed->mObjectList.empty() && moved->mObjectList.empty());
  EXPECT_FALSE(listed->IsDirtyAdd() || moved->IsDirtyAdd() || root.IsDirtyAdd());
}

// --- Owning ---------------------------------------------------------------------------------

TEST(VQJsonObjectHasListTest, DestroysItsChildrenWithItself) {
  int destroyed = 0;
  {
    VQJsonObjectHasList group("Objects", nullptr);
    AddCounted(group, "a", destroyed);
    auto* inner = new CountedGroup(destroyed, "Objects", &group);
    group.AddObject(inner, 1);
    AddCounted(*inner, "b", destroyed);
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 3);
}

TEST(VQJsonObjectHasListTest, OwnsWhatAHostPutsIntoTheListItself) {
  int destroyed = 0;
  {
    VQJsonObjectHasList group("Objects", nullptr);
    group.mObjectList.push_back(new CountedObject(destroyed, &group));
    group.mObjectList.push_back(nullptr);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(VQJsonObjectHasListTest, NoLongerOwnsWhatAHostTakesOutOfTheListItself) {
  int destroyed = 0;
  std::unique_ptr<VQJsonObject> taken;
  {
    VQJsonObjectHasList group("Objects", nullptr);
    AddCounted(group, "kept", destroyed);
    taken.reset(AddCounted(group, "taken", destroyed));
    group.mObjectList.pop_back();
  }
  EXPECT_EQ(destroyed, 1);
  taken.reset();
  EXPECT_EQ(destroyed, 2);
}

TEST(VQJsonObjectHasListTest, AChildThatAnotherGroupAddsTooDiesOnceWithTheLastOfThem) {
  for (const bool parentFirst : {true, false}) {
    int destroyed = 0;
    auto parent = std::make_unique<VQJsonObjectHasList>("Objects", nullptr);
    auto other = std::make_unique<VQJsonObjectHasList>("Objects", nullptr);
    auto* child = AddCounted(*parent, "c", destroyed);
    EXPECT_TRUE(other->AddObject(child, 0));
    (parentFirst ? parent : other).reset();
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(Plain(child->mName), "c");
    parent.reset();
    other.reset();
    EXPECT_EQ(destroyed, 1);
  }
}

TEST(VQJsonObjectHasListTest, AChildThatAHostMovesHasOneOwner) {
  int destroyed = 0;
  VQJsonObjectHasList from("Objects", nullptr);
  auto to = std::make_unique<VQJsonObjectHasList>("Objects", nullptr);
  auto* child = AddCounted(from, "c", destroyed);
  from.mObjectList.clear();
  EXPECT_TRUE(to->AddObject(child, 0));
  to.reset();
  EXPECT_EQ(destroyed, 1);
}

TEST(VQJsonObjectHasListTest, ACopyHasTheListKeyAndTheSameChildren) {
  VQJsonObjectHasList group("Commands", nullptr);
  AddChild(group, "a");
  AddChild(group, "b");
  const VQJsonObjectHasList copy(group);
  EXPECT_EQ(Plain(copy.mListKey), "Commands");
  EXPECT_EQ(copy.mObjectList, group.mObjectList);
  EXPECT_EQ(copy.mObjectList[0]->mParent, &group);
}

TEST(VQJsonObjectHasListTest, SharedChildrenDieOnceWithTheirLastOwner) {
  int destroyed = 0;
  auto source = std::make_unique<VQJsonObjectHasList>("Objects", nullptr);
  AddCounted(*source, "a", destroyed);
  AddCounted(*source, "b", destroyed);
  auto copy = std::make_unique<VQJsonObjectHasList>(*source);
  auto copyOfCopy = std::make_unique<VQJsonObjectHasList>(*copy);
  copy.reset();
  EXPECT_EQ(destroyed, 0);
  source.reset();
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(Plain(copyOfCopy->GetJson()), "{\"Objects\":[{\"Name\":\"a\"},{\"Name\":\"b\"}]}");
  copyOfCopy.reset();
  EXPECT_EQ(destroyed, 2);
}

TEST(VQJsonObjectHasListTest, AChildDeletedFromOneOwnerStaysWithTheOther) {
  int destroyed = 0;
  {
    VQJsonObjectHasList source("Objects", nullptr);
    AddCounted(source, "a", destroyed);
    AddCounted(source, "b", destroyed);
    VQJsonObjectHasList copy(source);
    source.DeleteChild("a");
    EXPECT_EQ(ChildrenOf(source), (Texts{"b"}));
    EXPECT_EQ(ChildrenOf(copy), (Texts{"a", "b"}));
    copy.DeleteChildAll();
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(ChildrenOf(source), (Texts{"b"}));
  }
  EXPECT_EQ(destroyed, 2);
}

TEST(VQJsonObjectHasListTest, ChildrenAddedAfterTheCopyAreNotShared) {
  int destroyed = 0;
  {
    VQJsonObjectHasList source("Objects", nullptr);
    AddCounted(source, "a", destroyed);
    {
      VQJsonObjectHasList copy(source);
      AddCounted(copy, "late", destroyed);
    }
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(ChildrenOf(source), (Texts{"a"}));
  }
  EXPECT_EQ(destroyed, 2);
}

// --- Searching ------------------------------------------------------------------------------

TEST(VQJsonObjectHasListTest, SearchesDepthFirstAndFindsTheFirst) {
  VQJsonObjectHasList root("Objects", nullptr);
  Named(&root, "root");
  auto* left = AddGroup(root, "left");
  auto* leftDeep = AddGroup(*left, "deep");
  auto* hidden = AddChild(*leftDeep, "twin");
  auto* right = AddGroup(root, "right");
  AddChild(*right, "twin");
  AddChild(root, "twin");
  EXPECT_EQ(root.SearchName("twin"), hidden);
  EXPECT_EQ(right->SearchName("twin"), right->mObjectList[0]);
  EXPECT_EQ(root.SearchName("root"), &root);
  EXPECT_EQ(root.SearchName("deep"), leftDeep);
  EXPECT_EQ(root.SearchName("none"), nullptr);
}

TEST(VQJsonObjectHasListTest, AGroupIsMetBeforeItsChildren) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* group = AddGroup(root, "same");
  AddChild(*group, "same");
  EXPECT_EQ(root.SearchName("same"), group);
}

class FindsNothing : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
  VQJsonObject* SearchName(const KZString&) override { return nullptr; }
};

TEST(VQJsonObjectHasListTest, AsksItsChildrenVirtually) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* deaf = Named(new FindsNothing(&root), "x");
  root.AddObject(deaf, 0);
  EXPECT_EQ(root.SearchName("x"), nullptr);
  auto* second = AddChild(root, "x");
  EXPECT_EQ(root.SearchName("x"), second);
}

TEST(VQJsonObjectHasListTest, FindsARenamedChildUnderItsNewName) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* child = AddChild(root, "before");
  child->SetValue("Name", "after", -1, "");
  EXPECT_EQ(root.SearchName("before"), nullptr);
  EXPECT_EQ(root.SearchName("after"), child);
}

class UpperObject : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
  VQJsonObject* SetValue(const KZString& key, VQValue, int dirty,
                         const KZString& sessionid) override {
    return VQJsonObject::SetValue(key, "OVERRIDDEN", dirty, sessionid);
  }
};

TEST(VQJsonObjectHasListTest, SetValueByNameReachesADescendantVirtually) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* group = AddGroup(root, "g");
  auto* child = new UpperObject(group);
  child->mName = "c";
  group->AddObject(child, 0);
  EXPECT_EQ(root.SetValueByName("Value", "x", "c", 1, "S1"), &root);
  EXPECT_STREQ(child->GetValue("Value").GetChar(), "OVERRIDDEN");
  EXPECT_EQ(DirtyOf(*child), (Texts{"Value|:|S1"}));
  EXPECT_FALSE(root.HasKey("Value"));
}

// --- Change records -------------------------------------------------------------------------

TEST(VQJsonObjectHasListTest, ResetDirtyClearsTheSubtreeButNoAddOrDel) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* group = AddGroup(root, "g");
  auto* leaf = AddChild(*group, "leaf");
  auto* added = new VQJsonObject(group);
  group->AddObject(added, 1);
  for (VQJsonObject* object :
       {static_cast<VQJsonObject*>(&root), static_cast<VQJsonObject*>(group), leaf, added})
    object->SetValue("V", 1, 1, "S1");
  group->SetDirtyDel("gone");
  root.ResetDirty();
  EXPECT_FALSE(root.IsDirty() || group->IsDirty() || leaf->IsDirty() || added->IsDirty());
  EXPECT_TRUE(group->IsDirtyAdd());
  EXPECT_TRUE(added->IsDirtyAdd());
  EXPECT_TRUE(group->IsDirtyDel());
}

TEST(VQJsonObjectHasListTest, ResetDirtyOfAnInnerGroupLeavesTheRest) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* left = AddGroup(root, "l");
  auto* right = AddChild(root, "r");
  root.SetDirty("k");
  left->SetDirty("k");
  right->SetDirty("k");
  left->ResetDirty();
  EXPECT_TRUE(root.IsDirty());
  EXPECT_FALSE(left->IsDirty());
  EXPECT_TRUE(right->IsDirty());
}

class CountsResets : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
  void ResetDirty() override {
    ++mResets;
    VQJsonObject::ResetDirty();
  }
  int mResets = 0;
};

TEST(VQJsonObjectHasListTest, ResetsEveryChildVirtuallyEvenACleanOne) {
  VQJsonObjectHasList root("Objects", nullptr);
  auto* child = new CountsResets(&root);
  root.AddObject(child, 0);
  root.ResetDirty();
  root.ResetDirty();
  EXPECT_EQ(child->mResets, 2);
}

// --- Output ---------------------------------------------------------------------------------

TEST(VQJsonObjectHasListTest, WritesItsMembersThenItsChildren) {
  VQJsonObjectHasList group("Objects", nullptr);
  Named(&group, "g1");
  group.SetValue("Type", "GROUP", 0, "");
  AddChild(group, "b");
  EXPECT_EQ(Plain(group.GetJson()),
            "{\"Name\":\"g1\",\"Type\":\"GROUP\",\"Objects\":[{\"Name\":\"b\"}]}");
}

TEST(VQJsonObjectHasListTest, WritesNestedGroupsUnderTheirListKeys) {
  VQJsonObjectHasList root("Commands", nullptr);
  auto* group = AddGroup(root, "g");
  group->mListKey = "It\"ems";
  AddChild(*group, "a");
  AddChild(*group, "b");
  AddGroup(root, "empty");
  EXPECT_EQ(Plain(root.GetJson()),
            "{\"Commands\":[{\"Name\":\"g\",\"It\"ems\":[{\"Name\":\"a\"},{\"Name\":\"b\"}]},"
            "{\"Name\":\"empty\"}]}");
}

TEST(VQJsonObjectHasListTest, AnEmptyGroupWritesNoKey) {
  VQJsonObjectHasList group("Objects", nullptr);
  EXPECT_EQ(Plain(group.GetJson()), "{}");
  int count = 2;
  EXPECT_EQ(Written([&](std::ostream& out) { group.OutJsonList(out, count); }), "");
  EXPECT_EQ(count, 2);
}

TEST(VQJsonObjectHasListTest, TheListIsOneItemOfItsLevel) {
  VQJsonObjectHasList group("Objects", nullptr);
  AddChild(group, "a");
  AddChild(group, "b");
  int count = 0;
  EXPECT_EQ(Written([&](std::ostream& out) { group.OutJsonList(out, count); }),
            "\"Objects\":[{\"Name\":\"a\"},{\"Name\":\"b\"}]");
  EXPECT_EQ(count, 1);
  std::ostringstream out;
  out << "x";
  group.OutJsonList(out, count);
  EXPECT_EQ(out.str(), "x,\"Objects\":[{\"Name\":\"a\"},{\"Name\":\"b\"}]");
  EXPECT_EQ(count, 2);
}

TEST(VQJsonObjectHasListTest, TheMemberWriterLeavesTheChildrenOut) {
  VQJsonObjectHasList group("Objects", nullptr);
  Named(&group, "g");
  AddChild(group, "a");
  int count = 0;
  EXPECT_EQ(Written([&](std::ostream& out) { group.OutJsonMember(out, count); }), "\"Name\":\"g\"");
}

class Fixed : public VQJsonObject {
 public:
  using VQJsonObject::OutJson;
  using VQJsonObject::VQJsonObject;
  void OutJson(std::ostream& out) override { out << "<fixed>"; }
};

TEST(VQJsonObjectHasListTest, WritesEachChildThroughItsOwnWriter) {
  VQJsonObjectHasList group("Objects", nullptr);
  group.AddObject(new Fixed(&group), 0);
  AddChild(group, "a");
  EXPECT_EQ(Plain(group.GetJson()), "{\"Objects\":[<fixed>,{\"Name\":\"a\"}]}");
}

TEST(VQJsonObjectHasListTest, HoldsTreesOfAThousandLevels) {
  VQJsonObjectHasList root("Objects", nullptr);
  VQJsonObjectHasList* group = &root;
  for (int level = 0; level < 1000; ++level) group = AddGroup(*group, "g");
  auto* leaf = AddChild(*group, "leaf");
  leaf->SetDirty("k");
  EXPECT_EQ(root.SearchName("leaf"), leaf);
  std::string expected = "{\"Objects\":[";
  for (int level = 0; level < 1000; ++level) expected += "{\"Name\":\"g\",\"Objects\":[";
  expected += "{\"Name\":\"leaf\"}";
  for (int level = 0; level < 1001; ++level) expected += "]}";
  EXPECT_TRUE(Plain(root.GetJson()) == expected);
  root.ResetDirty();
  EXPECT_FALSE(leaf->IsDirty());
}

}  // namespace
