// The update text of a tree: every byte that goes to a station.
#include <gtest/gtest.h>

#include <string>

#include "dorn/model/VQJsonGrid.h"
#include "tests/model/SmallTree.h"

namespace {

class UpdateCommandTest : public SmallTree {};

// --- UPDATE ---------------------------------------------------------------------------------

TEST_F(UpdateCommandTest, WithoutChangesItIsAnEmptyUpdate) {
  EXPECT_EQ(Make(mTree, false, "S1"), (Update{false, kNothing}));
  EXPECT_EQ(Make(mTree, false, ""), (Update{false, kNothing}));
  VQJsonResource empty;
  EXPECT_EQ(Make(empty, true, "S1"), (Update{false, kNothing}));
}

TEST_F(UpdateCommandTest, AChangeOfAnotherSessionIsTold) {
  mB1->SetValue("Value", "ON", -1, "S2");
  EXPECT_EQ(
      Make(mTree, false, "S1"),
      (Update{true,
              "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":\"b1\"}]}\n"}));
}

TEST_F(UpdateCommandTest, AChangeOfTheSessionItselfIsNotEchoed) {
  mB1->SetValue("Value", "ON", -1, "S1");
  EXPECT_EQ(Make(mTree, false, "S1"), (Update{false, kNothing}));
}

TEST_F(UpdateCommandTest, AWithdrawnObjectLeavesNoTraceBetweenOthers) {
  mG1->SetValue("Attr", 1, -1, "");
  mB1->SetValue("Value", "ON", -1, "S1");
  mB2->SetValue("Value", "OFF", -1, "S1");
  mB3->SetValue("Attr", 3, -1, "");
  EXPECT_EQ(Make(mTree, false, "S1"),
            (Update{true,
                    "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Attr\":1,\"Name\":\"g1\"},"
                    "{\"Attr\":3,\"Name\":\"b3\"}]}\n"}));
}

TEST_F(UpdateCommandTest, AWithdrawnFirstOrLastObjectLeavesNoTrace) {
  mG1->SetValue("Attr", 1, -1, "S1");
  mB1->SetValue("Value", "ON", -1, "");
  mB3->SetValue("Attr", "a long value that is withdrawn", -1, "S1");
  EXPECT_EQ(
      Make(mTree, false, "S1"),
      (Update{true,
              "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":\"b1\"}]}\n"}));
}

TEST_F(UpdateCommandTest, GroupsAndTheirChildrenStandSideBySide) {
  mG1->SetValue("Attr", 1, 1, "");
  mB1->SetValue("Attr", 2, 1, "");
  mB2->SetValue("Attr", 3, 1, "");
  mB3->SetValue("Attr", 4, 1, "");
  EXPECT_EQ(Make(mTree, false, "S1"),
            (Update{true,
                    "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Attr\":1,\"Name\":\"g1\"},"
                    "{\"Attr\":2,\"Name\":\"b1\"},{\"Attr\":3,\"Name\":\"b2\"},"
                    "{\"Attr\":4,\"Name\":\"b3\"}]}\n"}));
}

TEST_F(UpdateCommandTest, TheResourceItselfIsNeverWritten) {
  mTree.SetValue("Title", "T", 1, "");
  EXPECT_EQ(Make(mTree, false, "S1"), (Update{false, kNothing}));
  EXPECT_EQ(Make(mTree, true, "S1").text.find("top"), std::string::npos);
}

TEST_F(UpdateCommandTest, AllWritesEveryNamedObjectWithAllItsMembers) {
  mB1->SetValue("Value", "ON", -1, "S1");
  mB2->SetValue("Text", "t", 0, "");
  const char* expected =
      "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"g1\"},"
      "{\"Name\":\"b1\",\"Value\":\"ON\"},{\"Name\":\"b2\",\"Text\":\"t\"},{\"Name\":\"b3\"}]}\n";
  EXPECT_EQ(Make(mTree, true, "S1"), (Update{true, expected}));
  EXPECT_EQ(Make(mTree, true, ""), (Update{true, expected}));
  mTree.ResetDirty();
  EXPECT_EQ(Make(mTree, true, "S2"), (Update{true, expected}));
}

TEST_F(UpdateCommandTest, ANamedObjectWithoutAttributesIsWithdrawnFromAll) {
  VQJsonResource tree;
  auto* bare = new VQJsonObject(&tree);
  bare->mName = "bare";
  tree.AddObject(bare, 0);
  EXPECT_EQ(Make(tree, true, "S1"), (Update{false, kNothing}));
  AddChild(tree, "b");
  auto* last = new VQJsonObject(&tree);
  last->mName = "last";
  tree.AddObject(last, 0);
  EXPECT_EQ(Make(tree, true, "S1"),
            (Update{true, "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"b\"}]}\n"}));
}

TEST_F(UpdateCommandTest, UnnamedObjectsAreLeftOutButTheirChildrenAreNot) {
  mG1->SetValue("Name", "", -1, "");
  mG1->SetValue("Attr", 1, 1, "");
  mB1->SetValue("Attr", 2, 1, "");
  EXPECT_EQ(
      Make(mTree, false, "S1"),
      (Update{true, "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Attr\":2,\"Name\":\"b1\"}]}\n"}));
  EXPECT_EQ(Make(mTree, true, "S1"),
            (Update{true,
                    "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Attr\":2,\"Name\":\"b1\"},"
                    "{\"Name\":\"b2\"},{\"Name\":\"b3\"}]}\n"}));
}

// The name that counts is the object's, not its attribute.
TEST_F(UpdateCommandTest, AnObjectWhoseNameWasNotKeptAsAttributeEndsWithAnEmptyName) {
  mB3->mList.clear();
  mB3->SetValue("Value", "ON", -1, "");
  EXPECT_EQ(
      Make(mTree, false, "S1"),
      (Update{true, "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":}]}\n"}));
  EXPECT_TRUE(mB3->HasKey("Name"));
  EXPECT_EQ(Make(mTree, true, "S1").text,
            "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"g1\"},{\"Name\":\"b1\"},"
            "{\"Name\":\"b2\"},{\"Name\":,\"Value\":\"ON\"}]}\n");
}

TEST_F(UpdateCommandTest, AnEmptySessionGetsTaggedKeysWholeAndLeavesNoAttribute) {
  mB1->SetValue("Value", "ON", -1, "S1");
  EXPECT_EQ(
      Make(mTree, false, ""),
      (Update{true,
              "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value|:|S1\":,\"Name\":\"b1\"}]}\n"}));
  EXPECT_EQ(KeysOf(*mB1), (Texts{"Name", "Value"}));
  EXPECT_EQ(Plain(mB1->GetJson()), "{\"Name\":\"b1\",\"Value\":\"ON\"}");
}

TEST_F(UpdateCommandTest, AKeyChangedByOthersAndTheHostIsWrittenForEach) {
  mB1->SetValue("V", 1, -1, "S2");
  mB1->SetValue("V", 2, -1, "S3");
  mB1->SetValue("V", 3, -1, "");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{ \"Command\":\"UPDATE\", \"Objects\":[{\"V\":3,\"V\":3,\"V\":3,\"Name\":\"b1\"}]}\n");
  EXPECT_EQ(Make(mTree, false, "S2").text,
            "{ \"Command\":\"UPDATE\", \"Objects\":[{\"V\":3,\"V\":3,\"Name\":\"b1\"}]}\n");
}

TEST_F(UpdateCommandTest, ARenamedObjectTellsItsNewNameTwice) {
  mB1->SetValue("Name", "new", -1, "");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"new\",\"Name\":\"new\"}]}\n");
}

TEST_F(UpdateCommandTest, ForgedKeysAreSplitAtTheFirstTagMark) {
  mB1->SetValue("Value", "v", 0, "");
  mB1->SetValue("Value|:|S1", "forged", -1, "S2");
  const char* expected =
      "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"v\",\"Name\":\"b1\"}]}\n";
  EXPECT_EQ(Make(mTree, false, "S1").text, expected);
  EXPECT_EQ(Make(mTree, false, "S2").text, expected);
}

TEST_F(UpdateCommandTest, TextsAreNotEscaped) {
  mB1->SetValue("Value", "x\"}]},{\\", -1, "");
  EXPECT_EQ(
      Make(mTree, false, "S1").text,
      "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"x\"}]},{\\\",\"Name\":\"b1\"}]}\n");
}

TEST_F(UpdateCommandTest, AGridTellsItsTableOnlyInAll) {
  auto* grid = AddChild<VQJsonGrid>(mTree, "t");
  grid->SetDataSize(2, 2);
  grid->SetData(0, 0, "a");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Data\":,\"Name\":\"t\"}]}\n");
  EXPECT_EQ(Make(mTree, true, "S1").text,
            "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"g1\"},{\"Name\":\"b1\"},"
            "{\"Name\":\"b2\"},{\"Name\":\"b3\"},{\"Name\":\"t\",\n\"Data\":[[\"a\",],\n[,]]}]}\n");
}

TEST_F(UpdateCommandTest, ContainersAreWrittenTheSameEveryTime) {
  mB1->SetValue("V", VQJObject{{"list", VQValue(VQJArray{VQValue(1), VQValue(2)})}}, -1, "");
  mB1->SetValue("W", VQJArray{VQValue("a"), VQValue(1)}, -1, "");
  const char* expected =
      "{ \"Command\":\"UPDATE\", \"Objects\":[{\"V\":{\"list\":\"[12]\"},\"W\":[\"a\",1],"
      "\"Name\":\"b1\"}]}\n";
  for (const char* session : {"S1", "S2", "S3"})
    EXPECT_EQ(Make(mTree, false, session).text, expected);
}

TEST_F(UpdateCommandTest, DirtyMarksStayUntilTheyAreReset) {
  mB1->SetValue("Value", "ON", -1, "");
  const Update first = Make(mTree, false, "S1");
  EXPECT_TRUE(first.any);
  EXPECT_EQ(Make(mTree, false, "S1"), first);
  EXPECT_EQ(Make(mTree, false, "S2"), first);
  mTree.ResetDirty();
  EXPECT_EQ(Make(mTree, false, "S1"), (Update{false, kNothing}));
}

// --- DELETE ---------------------------------------------------------------------------------

TEST_F(UpdateCommandTest, ADeletedChildIsToldBehindTheUpdate) {
  mB2->Delete("THIS");
  EXPECT_EQ(Make(mTree, false, "S1"),
            (Update{true,
                    "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
                    ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b2\"}]}"}));
}

TEST_F(UpdateCommandTest, DeletedChildrenAreToldWithTheGroupsOwnName) {
  mG1->Delete("CHILD");
  EXPECT_EQ(Make(mTree, false, "S1"),
            (Update{true,
                    "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
                    ",{ \"Command\":\"DELETE\",\"Delete\":\"CHILD\",\"Name\":\"g1\"}]}"}));
}

TEST_F(UpdateCommandTest, TheUpdateComesBeforeTheDelete) {
  mB2->Delete("THIS");
  mB1->SetValue("Value", "ON", -1, "");
  EXPECT_EQ(
      Make(mTree, false, "S1").text,
      "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":\"b1\"}]}\n"
      ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b2\"}]}");
}

TEST_F(UpdateCommandTest, OfTwoDeletedChildrenOnlyTheSecondIsTold) {
  mB1->Delete("THIS");
  mB2->Delete("THIS");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b2\"}]}");
}

TEST_F(UpdateCommandTest, EachGroupTellsItsOwnDeletion) {
  mB1->Delete("THIS");
  mB3->Delete("THIS");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b3\"},"
            "{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b1\"}]}");
}

TEST_F(UpdateCommandTest, AllChildrenOfTheRootAreToldWithItsNameEvenIfItHasNone) {
  mTree.Delete("CHILD");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"DELETE\",\"Delete\":\"CHILD\",\"Name\":\"top\"}]}");
  VQJsonResource unnamed;
  AddChild(unnamed, "a");
  unnamed.Delete("CHILD");
  EXPECT_EQ(Make(unnamed, true, "").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"DELETE\",\"Delete\":\"CHILD\",\"Name\":\"\"}]}");
}

TEST_F(UpdateCommandTest, APlainObjectTellsARecordedDeletionToo) {
  mB3->SetDirtyDel("part");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"part\"}]}");
  mB3->SetDirtyDel("@LED-CHILD-TNIOP@");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"DELETE\",\"Delete\":\"CHILD\",\"Name\":\"b3\"}]}");
}

// --- ADD ------------------------------------------------------------------------------------

TEST_F(UpdateCommandTest, AnAddedChildIsToldWithAllItsMembersUnderItsGroup) {
  auto* child = AddNew(*mG1, "new");
  child->SetValue("Type", "LABEL", 0, "");
  EXPECT_EQ(Make(mTree, false, "S1"),
            (Update{true,
                    "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
                    ",{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":["
                    "{\"Name\":\"new\",\"Type\":\"LABEL\"}]}]}"}));
}

TEST_F(UpdateCommandTest, SeveralAddedChildrenShareOneCommand) {
  AddNew(*mG1, "n1");
  AddNew(*mG1, "n2");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":["
            "{\"Name\":\"n1\"},{\"Name\":\"n2\"}]}]}");
}

TEST_F(UpdateCommandTest, ChildrenAddedToTheRootAreToldUnderItsNameEvenIfItHasNone) {
  AddNew(mTree, "new");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"top\", \"Objects\":[{\"Name\":\"new\"}]}]}");
  VQJsonResource unnamed;
  AddNew(unnamed, "new");
  EXPECT_EQ(Make(unnamed, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"\", \"Objects\":[{\"Name\":\"new\"}]}]}");
}

TEST_F(UpdateCommandTest, AnAddedGroupWritesObjectsEvenWithoutMarkedChildren) {
  auto* group = Named(new VQJsonObjectHasList("Items", &mTree), "ng");
  mTree.AddObject(group, 1);
  AddChild(*group, "unmarked");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"top\", \"Objects\":["
            "{\"Name\":\"ng\",\"Objects\":[]}]}]}");
}

TEST_F(UpdateCommandTest, AnAddedGroupCarriesItsAddedChildren) {
  auto* group = Named(new VQJsonObjectHasList("Objects", &mTree), "ng");
  mTree.AddObject(group, 1);
  AddNew(*group, "n1");
  AddChild(*group, "unmarked");
  AddNew(*group, "n2");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"top\", \"Objects\":["
            "{\"Name\":\"ng\",\"Objects\":[{\"Name\":\"n1\"},{\"Name\":\"n2\"}]}]}]}");
}

TEST_F(UpdateCommandTest, AnAddedGroupWithoutAttributesHasNoCommaBeforeItsObjects) {
  auto* group = new VQJsonObjectHasList("Objects", &mTree);
  mTree.AddObject(group, 1);
  AddNew(*group, "n1");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"top\", \"Objects\":["
            "{\"Objects\":[{\"Name\":\"n1\"}]}]}]}");
}

// An unmarked group between two marked ones is passed through, at whatever level.
TEST_F(UpdateCommandTest, MarkedObjectsBelowUnmarkedOnesAreLiftedUp) {
  AddNew(mTree, "n0");
  AddNew(*mG1, "n1");
  mG1->ResetDirtyAdd();
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"top\", \"Objects\":["
            "{\"Name\":\"n1\"},{\"Name\":\"n0\"}]}]}");
}

TEST_F(UpdateCommandTest, AMarkedObjectInAnUnmarkedGroupIsACommandOfItsOwn) {
  auto* child = AddNew(*mG1, "n1");
  mG1->ResetDirtyAdd();
  child->SetValue("Type", "LABEL", 0, "");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"n1\", \"Objects\":[]}]}");
}

TEST_F(UpdateCommandTest, GroupsOfSeparateBranchesGetCommandsOfTheirOwn) {
  auto* g2 = AddGroup(mTree, "g2");
  AddNew(*mG1, "n1");
  AddNew(*g2, "n2");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":[{\"Name\":\"n1\"}]},"
            "{ \"Command\":\"ADD\",\"Name\":\"g2\", \"Objects\":[{\"Name\":\"n2\"}]}]}");
}

TEST_F(UpdateCommandTest, AnAddedGridCarriesItsTable) {
  auto* grid = Named(new VQJsonGrid(&mTree), "t");
  mTree.AddObject(grid, 1);
  grid->SetDataSize(1, 1);
  grid->SetData(0, 0, "a");
  grid->ResetDirty();
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"ADD\",\"Name\":\"top\", \"Objects\":["
            "{\"Name\":\"t\",\n\"Data\":[[\"a\"]]}]}]}");
}

TEST_F(UpdateCommandTest, AnAddedObjectWithMarkedAttributesIsAlsoUpdated) {
  auto* child = AddNew(*mG1, "n1");
  child->SetValue("Value", "ON", -1, "S1");
  EXPECT_EQ(
      Make(mTree, false, "S2").text,
      "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":\"n1\"}]}\n"
      ",{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":["
      "{\"Name\":\"n1\",\"Value\":\"ON\"}]}]}");
}

TEST_F(UpdateCommandTest, DeletesComeBeforeAdds) {
  AddNew(*mG1, "n1");
  mB3->Delete("THIS");
  mB1->Delete("THIS");
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b3\"},"
            "{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b1\"},"
            "{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":[{\"Name\":\"n1\"}]}]}");
}

TEST_F(UpdateCommandTest, DeletesAndAddsComeWithAllToo) {
  AddNew(*mG1, "n1");
  mB1->Delete("THIS");
  mB2->Delete("THIS");
  mB3->Delete("THIS");
  EXPECT_EQ(
      Make(mTree, true, "S1").text,
      "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"g1\"},{\"Name\":\"n1\"}]}\n"
      ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b3\"},"
      "{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b2\"},"
      "{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":[{\"Name\":\"n1\"}]}]}");
}

TEST_F(UpdateCommandTest, OnlyTheFirstCallTellsDeletesAndAdds) {
  AddNew(*mG1, "n1");
  mB1->Delete("THIS");
  mB2->SetValue("Value", "ON", -1, "");
  const char* update =
      "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":\"b2\"}]}\n";
  EXPECT_EQ(Make(mTree, false, "S1").text,
            std::string("{'Commands':[") + update +
                ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b1\"},"
                "{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":[{\"Name\":\"n1\"}]}]}");
  EXPECT_FALSE(mG1->IsDirtyAdd() || mG1->mObjectList.back()->IsDirtyAdd() || mG1->IsDirtyDel());
  EXPECT_EQ(Make(mTree, false, "S2"), (Update{true, update}));
  EXPECT_EQ(Make(mTree, false, "S1"), (Update{true, update}));
}

TEST_F(UpdateCommandTest, ResetDirtyKeepsAddsAndDeletesForTheNextText) {
  AddNew(*mG1, "n1");
  mB1->Delete("THIS");
  mTree.ResetDirty();
  EXPECT_EQ(Make(mTree, false, "S1").text,
            "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
            ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b1\"},"
            "{ \"Command\":\"ADD\",\"Name\":\"g1\", \"Objects\":[{\"Name\":\"n1\"}]}]}");
}

}  // namespace
