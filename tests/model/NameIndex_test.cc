// When the tree is searched and when the index is asked: nobody tells the index that a name was
// written, so an object that was renamed behind its back shows which of the two it was.
#include "dorn/model/NameIndex.h"

#include <gtest/gtest.h>

#include <string>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonResource.h"
#include "tests/model/Trees.h"

namespace {

// As many searches cost as much as an index.
constexpr int kSearchedNames = 4;

// Gives the object one name after the other and looks for it. Whether it was found each time.
bool IsSearchedFor(dorn::NameIndex& index, VQJsonObject& object, int times) {
  for (int i = 0; i < times; ++i) {
    object.mName = "name" + std::to_string(i);
    if (index.Find(object.mName) != &object) return false;
  }
  return true;
}

TEST(NameIndexTest, TheFirstNamesAreSearchedAndTheNextAreLookedUp) {
  VQJsonResource tree;
  VQJsonObject* const object = AddChild(tree, "a");
  dorn::NameIndex index(&tree);
  for (int round = 0; round < 3; ++round) {
    EXPECT_TRUE(IsSearchedFor(index, *object, kSearchedNames)) << round;
    object->mName = "indexed";
    EXPECT_EQ(index.Find("indexed"), object) << round;
    object->mName = "late";
    EXPECT_EQ(index.Find("late"), nullptr) << round;
    EXPECT_EQ(index.Find("indexed"), object) << round;
    index.Forget();
  }
}

TEST(NameIndexTest, AnAbsentNameIsSearchedOnceToo) {
  VQJsonResource tree;
  VQJsonObject* const object = AddChild(tree, "a");
  dorn::NameIndex index(&tree);
  for (int i = 0; i < kSearchedNames; ++i) EXPECT_EQ(index.Find("absent"), nullptr);
  EXPECT_EQ(index.Find("a"), object);
  object->mName = "late";
  EXPECT_EQ(index.Find("late"), nullptr);
}

TEST(NameIndexTest, TreesOfTheLibrarysClassesAreIndexed) {
  for (VQJsonObject* const child :
       {new VQJsonObject(nullptr), static_cast<VQJsonObject*>(new VQJsonRadioButtonObject(nullptr)),
        static_cast<VQJsonObject*>(new VQJsonGrid(nullptr)),
        static_cast<VQJsonObject*>(new VQJsonObjectHasList("Objects", nullptr)),
        static_cast<VQJsonObject*>(new VQJsonRadioButtonGroup(nullptr)),
        static_cast<VQJsonObject*>(new VQJsonCommand("A")),
        static_cast<VQJsonObject*>(new VQJsonResource),
        static_cast<VQJsonObject*>(new VQJsonCommands)}) {
    VQJsonResource tree;
    tree.AddObject(child, 0);
    dorn::NameIndex index(&tree);
    EXPECT_TRUE(IsSearchedFor(index, *child, kSearchedNames));
    EXPECT_FALSE(IsSearchedFor(index, *child, 2)) << "found when it was indexed, and not again";
  }
}

TEST(NameIndexTest, TheFirstOfANameIsFoundParentsBeforeChildren) {
  VQJsonResource tree;
  VQJsonObjectHasList* const outer = AddGroup(tree, "x");
  VQJsonObject* const inner = AddChild(*outer, "x");
  AddChild(tree, "y");
  VQJsonObject* const deep = AddChild(*AddGroup(*outer, "g"), "z");
  AddChild(tree, "z");
  dorn::NameIndex index(&tree);
  for (int i = 0; i < 3 * kSearchedNames; ++i) {
    EXPECT_EQ(index.Find("x"), outer);
    EXPECT_EQ(index.Find("z"), deep);
  }
  inner->mName = "y";
  index.Forget();
  for (int i = 0; i < 3 * kSearchedNames; ++i) EXPECT_EQ(index.Find("y"), inner);
}

// A host's object that answers to a second name.
class WithAlias : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
  VQJsonObject* SearchName(const KZString& name) override {
    ++mAsked;
    return name == "alias" ? this : VQJsonObject::SearchName(name);
  }
  int mAsked = 0;
};

TEST(NameIndexTest, AnObjectOfAHostsClassIsAskedEveryTime) {
  VQJsonResource tree;
  VQJsonObject* const before = AddChild(tree, "before");
  VQJsonObjectHasList* const group = AddGroup(tree, "group");
  auto* const host = AddChild<WithAlias>(*group, "host");
  VQJsonObject* const behind = AddChild(tree, "behind");
  dorn::NameIndex index(&tree);
  for (int i = 0; i < 3 * kSearchedNames; ++i) {
    EXPECT_EQ(index.Find("alias"), host);
    EXPECT_EQ(index.Find("behind"), behind);
    EXPECT_EQ(index.Find("before"), before);
    EXPECT_EQ(host->mAsked, 2 * (i + 1)) << "not for what comes before it";
  }
  EXPECT_TRUE(IsSearchedFor(index, *behind, 3 * kSearchedNames));
}

// A host's tree that gives every object a prefix.
class WithPrefix : public VQJsonResource {
 public:
  VQJsonObject* SearchName(const KZString& name) override {
    return VQJsonResource::SearchName("top." + name);
  }
};

TEST(NameIndexTest, ARootOfAHostsClassIsAskedEveryTime) {
  WithPrefix tree;
  VQJsonObject* const object = AddChild(tree, "top.a");
  dorn::NameIndex index(&tree);
  for (int i = 0; i < 3 * kSearchedNames; ++i) {
    EXPECT_EQ(index.Find("a"), object);
    EXPECT_EQ(index.Find("top.a"), nullptr);
  }
}

TEST(NameIndexTest, ATreeIsIndexedAgainWhenTheHostsObjectHasGone) {
  VQJsonResource tree;
  AddChild<WithAlias>(tree, "host");
  VQJsonObject* const object = AddChild(tree, "a");
  dorn::NameIndex index(&tree);
  EXPECT_TRUE(IsSearchedFor(index, *object, 3 * kSearchedNames));
  tree.SetDirtyDel("host");
  index.Forget();
  EXPECT_TRUE(IsSearchedFor(index, *object, kSearchedNames));
  EXPECT_FALSE(IsSearchedFor(index, *object, 2));
}

}  // namespace
