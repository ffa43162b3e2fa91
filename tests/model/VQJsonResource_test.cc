#include "dorn/model/VQJsonResource.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "tests/model/Trees.h"

namespace {

TEST(VQJsonResourceTest, IsAnEmptyRootWithListKeyObjects) {
  VQJsonResource resource;
  EXPECT_EQ(Plain(resource.mListKey), "Objects");
  EXPECT_EQ(resource.GetParent(), nullptr);
  EXPECT_EQ(Plain(resource.mName), "");
  EXPECT_TRUE(resource.HasGroup());
  EXPECT_TRUE(resource.mList.empty());
  EXPECT_TRUE(resource.mObjectList.empty());
  EXPECT_FALSE(resource.IsDirty());
}

TEST(VQJsonResourceTest, ACopySharesTheChildren) {
  int destroyed = 0;
  {
    VQJsonResource copy = [&destroyed] {
      VQJsonResource source;
      source.AddObject(Named(new Counted<VQJsonObject>(destroyed, &source), "a"), 0);
      return VQJsonResource(source);
    }();
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(Plain(copy.GetJson()), "{\"Objects\":[{\"Name\":\"a\"}]}");
    EXPECT_EQ(Plain(copy.mListKey), "Objects");
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(VQJsonResourceTest, ACopyHasTheAttributesOfItsSource) {
  VQJsonResource source;
  Named(&source, "panel");
  const VQJsonResource copy(source);
  EXPECT_EQ(Plain(copy.mName), "panel");
  EXPECT_EQ(KeysOf(copy), (Texts{"Name"}));
}

TEST(VQJsonResourceTest, LivesInAMapByValue) {
  std::map<KZString, VQJsonResource> trees;
  AddChild(trees["S1"], "a");
  AddChild(trees["S2"], "b");
  EXPECT_EQ(ChildrenOf(trees["S1"]), (Texts{"a"}));
  EXPECT_EQ(trees["S1"].mObjectList[0]->mParent, &trees["S1"]);
  trees.erase("S1");
  EXPECT_EQ(ChildrenOf(trees["S2"]), (Texts{"b"}));
}

// An inserted pair is copied, twice on its way, and each copy shares the children.
TEST(VQJsonResourceTest, MayBeInsertedIntoAMapAsACopy) {
  int destroyed = 0;
  {
    std::map<KZString, VQJsonResource> trees;
    {
      VQJsonResource source;
      source.AddObject(Named(new Counted<VQJsonObject>(destroyed, &source), "a"), 0);
      trees.insert(std::make_pair(KZString("S1"), source));
    }
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(ChildrenOf(trees["S1"]), (Texts{"a"}));
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(VQJsonResourceTest, AnAssignedTreeLetsGoOfItsFormerChildren) {
  int former = 0;
  int shared = 0;
  {
    VQJsonResource source;
    source.AddObject(new Counted<VQJsonObject>(shared, &source), 0);
    VQJsonResource target;
    target.AddObject(new Counted<VQJsonObject>(former, &target), 0);
    target = source;
    EXPECT_EQ(former, 1);
    target = *&target;
    EXPECT_EQ(shared, 0);
    EXPECT_EQ(target.mObjectList, source.mObjectList);
  }
  EXPECT_EQ(former, 1);
  EXPECT_EQ(shared, 1);
}

}  // namespace
