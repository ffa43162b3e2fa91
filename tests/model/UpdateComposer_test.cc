// One round of sending: what is composed, and what is forgotten at its end. Hosts write records and
// lists of children directly, so every round has to find what no operation has noted.
#include "dorn/model/UpdateComposer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonParser.h"
#include "tests/support/Allocations.h"

namespace {

using dorn::SideCommands;
using dorn::UpdateComposer;

// "top" with a group "g" that holds "a" and "b", and more objects than a walk fetches ahead.
class UpdateComposerTest : public testing::Test {
 protected:
  void SetUp() override {
    mTree.mName = "top";
    mGroup = Add(mTree, new VQJsonObjectHasList("Objects", &mTree), "g");
    mA = Add(*mGroup, new VQJsonObject(mGroup), "a");
    mB = Add(*mGroup, new VQJsonObject(mGroup), "b");
    for (int i = 0; i < 40; ++i) {
      mMore.push_back(Add(mTree, new VQJsonObject(&mTree), "m" + std::to_string(i)));
    }
  }

  template <class T>
  static T* Add(VQJsonObjectHasList& group, T* object, const std::string& name) {
    object->SetValue("Name", VQValue(name.c_str()), 0, "");
    group.mObjectList.push_back(object);
    return object;
  }

  // The text for session "S1" in a round of its own that forgets nothing.
  std::string Text() {
    const auto text = UpdateComposer(&mTree, false, SideCommands::kFirst).Compose("S1");
    return text == nullptr ? "" : std::string(*text);
  }

  static std::string Update(const std::string& entries) {
    return "{ \"Command\":\"UPDATE\", \"Objects\":[" + entries + "]}\n";
  }

  VQJsonResource mTree;
  VQJsonObjectHasList* mGroup = nullptr;
  VQJsonObject* mA = nullptr;
  VQJsonObject* mB = nullptr;
  std::vector<VQJsonObject*> mMore;
};

// Otherwise the same text is composed by several walks.
TEST_F(UpdateComposerTest, OneWalkIsEnoughForATreeOfTheLibrarysOwnClasses) {
  Add(*mGroup, new VQJsonGrid(mGroup), "grid");
  for (const bool all : {false, true}) EXPECT_TRUE(dorn::TreeSurvey().Take(mTree, all));
}

TEST_F(UpdateComposerTest, FindsAMarkThatWasWrittenDirectlyWhereverItIs) {
  std::vector<VQJsonObject*> objects = mMore;
  objects.insert(objects.end(), {mGroup, mA, mB});
  EXPECT_EQ(Text(), "");
  for (VQJsonObject* object : objects) {
    object->mDirty.insert("V");
    EXPECT_EQ(Text(), Update("{\"V\":,\"Name\":\"" + object->mName + "\"}"));
    object->mDirty.clear();
    EXPECT_EQ(Text(), "");
  }
}

TEST_F(UpdateComposerTest, FindsAMarkOfAChildWhoseParentIsNotItsGroup) {
  mB->mParent = nullptr;
  mA->mParent = mMore[0];
  mA->mDirty.insert("V|:|S2");
  mB->mDirty.insert("V|:|S1");
  EXPECT_EQ(Text(), Update("{\"V\":,\"Name\":\"a\"}"));
}

TEST_F(UpdateComposerTest, FindsAnObjectThatWasPutIntoAListDirectlyBetweenTwoRounds) {
  mA->SetDirty("V");
  UpdateComposer first(&mTree, false, SideCommands::kFirst);
  EXPECT_NE(first.Compose("S1"), nullptr);
  first.ResetDirty();
  auto* late = new VQJsonObject(mGroup);
  late->mName = "late";
  late->mDirty.insert("V");
  mGroup->mObjectList.insert(mGroup->mObjectList.begin(), late);
  EXPECT_EQ(Text(), Update("{\"V\":,\"Name\":}"));
}

TEST_F(UpdateComposerTest, FindsDeleteAndAddRecordsThatWereWrittenDirectly) {
  mMore[39]->mDirtyDel = "gone";
  mGroup->mDirtyAdd = true;
  mB->mDirtyAdd = true;
  EXPECT_EQ(Text(), "{'Commands':[" + Update("") +
                        ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"gone\"},"
                        "{ \"Command\":\"ADD\",\"Name\":\"g\", \"Objects\":[{\"Name\":\"b\"}]}]}");
  EXPECT_EQ(Text(), "");
  EXPECT_FALSE(mMore[39]->IsDirtyDel() || mGroup->IsDirtyAdd() || mB->IsDirtyAdd());
}

TEST_F(UpdateComposerTest, AnAddedObjectBelowOneThatIsNotStaysInsideTheCommandAroundIt) {
  auto* inner = Add(*mGroup, new VQJsonObjectHasList("Objects", mGroup), "inner");
  auto* deep = Add(*inner, new VQJsonObjectHasList("Objects", inner), "deep");
  auto* leaf = Add(*deep, new VQJsonObject(deep), "leaf");
  for (VQJsonObject* object :
       {static_cast<VQJsonObject*>(mGroup), mA, static_cast<VQJsonObject*>(deep), leaf, mMore[3]}) {
    object->mDirtyAdd = true;
  }
  EXPECT_EQ(Text(), "{'Commands':[" + Update("") +
                        ",{ \"Command\":\"ADD\",\"Name\":\"g\", \"Objects\":[{\"Name\":\"a\"},"
                        "{\"Name\":\"deep\",\"Objects\":[{\"Name\":\"leaf\"}]}]},"
                        "{ \"Command\":\"ADD\",\"Name\":\"m3\", \"Objects\":[]}]}");
}

TEST_F(UpdateComposerTest, AnObjectThatTwoGroupsHoldIsAddedAndDeletedOnce) {
  auto* copy = new VQJsonObjectHasList(*mGroup);
  mTree.mObjectList.push_back(copy);
  mA->mDirtyAdd = true;
  mB->mDirtyDel = "gone";
  mA->mDirty.insert("V");
  UpdateComposer composer(&mTree, false, SideCommands::kFirst);
  const auto text = composer.Compose("S1");
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(std::string(*text),
            "{'Commands':[" + Update("{\"V\":,\"Name\":\"a\"},{\"V\":,\"Name\":\"a\"}") +
                ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"gone\"},"
                "{ \"Command\":\"ADD\",\"Name\":\"a\", \"Objects\":[]}]}");
  composer.ResetDirty();
  EXPECT_EQ(Text(), "");
}

TEST_F(UpdateComposerTest, ForgetsTheMarksOfTheRootAndOfObjectsWithoutAName) {
  mTree.SetDirty("V");
  mA->mName.Clear();
  for (VQJsonObject* object : {mA, mB, static_cast<VQJsonObject*>(mGroup)}) object->SetDirty("V");
  auto* grid = Add(mTree, new VQJsonGrid(&mTree), "grid");
  grid->SetDirty("V");
  for (const bool all : {false, true}) {
    mMore[7]->SetDirty("V");
    UpdateComposer composer(&mTree, all, SideCommands::kFirst);
    EXPECT_NE(composer.Compose("S1"), nullptr);
    composer.ResetDirty();
    EXPECT_FALSE(mTree.IsDirty() || mA->IsDirty() || mB->IsDirty() || mGroup->IsDirty());
    EXPECT_FALSE(grid->IsDirty() || mMore[7]->IsDirty());
  }
}

TEST_F(UpdateComposerTest, ForgetsEverythingWithoutAnyRecipient) {
  mA->SetDirty("V");
  UpdateComposer(&mTree, false, SideCommands::kFirst).ResetDirty();
  EXPECT_FALSE(mA->IsDirty());
}

// What an operation changed after the last recipient was never sent; a round has always forgotten
// it all the same.
TEST_F(UpdateComposerTest, ForgetsWhatAnOperationMarkedAfterTheLastRecipient) {
  mA->SetDirty("V");
  UpdateComposer composer(&mTree, false, SideCommands::kFirst);
  EXPECT_NE(composer.Compose("S1"), nullptr);
  mMore[20]->SetDirty("V");
  composer.HostCodeRan();
  composer.ResetDirty();
  EXPECT_FALSE(mA->IsDirty() || mMore[20]->IsDirty());
}

TEST_F(UpdateComposerTest, ForgetsWhatHostCodeMarkedDirectlyMeanwhile) {
  mA->SetDirty("V");
  UpdateComposer composer(&mTree, false, SideCommands::kFirst);
  EXPECT_NE(composer.Compose("S1"), nullptr);
  mMore[20]->mDirty.insert("V");
  composer.HostCodeRan();
  composer.ResetDirty();
  EXPECT_FALSE(mA->IsDirty() || mMore[20]->IsDirty());
}

// What is composed anew names no change twice and begins no list with a comma.
TEST_F(UpdateComposerTest, ComposesAnewWhatHostCodeHasChangedMeanwhile) {
  mA->SetValue("V", 1, 1, "S1");
  mB->mDirtyDel = "b1";
  UpdateComposer composer(&mTree, false, SideCommands::kFirst);
  const std::string deleted = "{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"";
  EXPECT_EQ(std::string(*composer.Compose("S1")),
            "{'Commands':[" + Update("") + "," + deleted + "b1\"}]}");
  EXPECT_EQ(std::string(*composer.Compose("S2")), Update("{\"V\":1,\"Name\":\"a\"}"));
  mA->SetValue("V", 2, 0, "");
  mB->mDirtyDel = "b2";
  composer.HostCodeRan();
  EXPECT_EQ(std::string(*composer.Compose("S2")),
            "{'Commands':[" + Update("{\"V\":2,\"Name\":\"a\"}") + "," + deleted + "b2\"}]}");
  EXPECT_EQ(composer.Compose("S1"), nullptr);
  mA->mDirty = {"V|:|S2"};
  composer.HostCodeRan();
  EXPECT_EQ(std::string(*composer.Compose("S1")), Update("{\"V\":2,\"Name\":\"a\"}"));
  EXPECT_EQ(composer.Compose("S2"), nullptr);
  mA->mDirty = {"V"};
  composer.HostCodeRan();
  EXPECT_EQ(std::string(*composer.Compose("S2")), Update("{\"V\":2,\"Name\":\"a\"}"));
}

// Whose change it was matters for what has changed alone.
TEST_F(UpdateComposerTest, SessionsOfChangesCostNothingWhenAllIsSent) {
  std::size_t counts[2] = {};
  for (const bool isTagged : {false, true}) {
    for (std::size_t i = 0; i < mMore.size(); ++i) {
      mMore[i]->mDirty = {isTagged ? "V|:|" + std::to_string(i) : "V"};
    }
    const Allocations allocations;
    UpdateComposer(&mTree, true, SideCommands::kFirst).Compose("S1");
    counts[isTagged ? 1 : 0] = allocations.Count();
  }
  EXPECT_EQ(counts[0], counts[1]);
}

class CountsResets : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
  void ResetDirty() override { ++mResets; }
  int mResets = 0;
};

TEST_F(UpdateComposerTest, AHostsClassGetsItsResetDirtyEvenWhenItIsClean) {
  auto* counts = Add(*mGroup, new CountsResets(mGroup), "h");
  mA->SetDirty("V");
  UpdateComposer composer(&mTree, false, SideCommands::kFirst);
  EXPECT_NE(composer.Compose("S1"), nullptr);
  composer.ResetDirty();
  EXPECT_EQ(counts->mResets, 1);
  EXPECT_FALSE(mA->IsDirty());
}

// Says that it is no group, so that nothing is found below it.
class Closed : public VQJsonObjectHasList {
 public:
  using VQJsonObjectHasList::VQJsonObjectHasList;
  bool HasGroup() override { return false; }
};

TEST_F(UpdateComposerTest, AHostsGroupIsAskedWhetherItIsOne) {
  auto* closed = Add(mTree, new Closed("Objects", &mTree), "closed");
  Add(*closed, new VQJsonObject(closed), "hidden")->SetDirty("V");
  mA->SetDirty("V");
  EXPECT_EQ(Text(), Update("{\"V\":,\"Name\":\"a\"}"));
  KZString json;
  EXPECT_TRUE(VQJsonParser().MakeUpdateCommand(json, &mTree, false, "S1"));
  EXPECT_EQ(std::string(json), Update("{\"V\":,\"Name\":\"a\"}"));
}

TEST_F(UpdateComposerTest, NullPointersInAListArePassedOver) {
  for (const size_t place : {size_t{0}, size_t{13}, mTree.mObjectList.size()}) {
    mTree.mObjectList.insert(mTree.mObjectList.begin() + static_cast<long>(place), nullptr);
  }
  mMore[39]->mDirty.insert("V");
  EXPECT_EQ(Text(), Update("{\"V\":,\"Name\":\"m39\"}"));
  mTree.ResetDirty();
  EXPECT_FALSE(mMore[39]->IsDirty());
}

}  // namespace
