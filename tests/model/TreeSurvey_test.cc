// What one walk over a tree notes of its change records, and what is done with it.
#include "dorn/model/TreeSurvey.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dorn/model/VQJsonGrid.h"
#include "tests/model/SmallTree.h"

namespace {

using dorn::TreeSurvey;
using Objects = std::vector<VQJsonObject*>;

class TreeSurveyTest : public SmallTree {
 protected:
  // Takes the object out of the tree, which then is the caller's.
  static void TakeOut(VQJsonObjectHasList& group, VQJsonObject* child) {
    auto& list = group.mObjectList;
    for (auto place = list.begin(); place != list.end(); ++place) {
      if (*place != child) continue;
      list.erase(place);
      return;
    }
  }

  std::string SideCommands(int& comma) {
    std::string text;
    mSurvey.AppendSideCommands(text, comma);
    return text;
  }

  TreeSurvey mSurvey;
};

TEST_F(TreeSurveyTest, EntriesAreTheNamedObjectsThatAreDirtyWithoutTheRoot) {
  auto* nameless = new VQJsonObject(mG1);
  mG1->AddObject(nameless, 0);
  for (VQJsonObject* object : Objects{&mTree, mG1, mB2, mB3, nameless}) object->SetDirty("V");
  mB1->SetDirtyAdd();
  mB1->SetDirtyDel("x");
  EXPECT_TRUE(mSurvey.Take(mTree, false));
  EXPECT_EQ(mSurvey.Entries(), (Objects{mG1, mB2, mB3}));
}

TEST_F(TreeSurveyTest, WithAllEveryNamedObjectIsAnEntry) {
  mG1->AddObject(new VQJsonObject(mG1), 0);
  EXPECT_TRUE(mSurvey.Take(mTree, true));
  EXPECT_EQ(mSurvey.Entries(), (Objects{mG1, mB1, mB2, mB3}));
  EXPECT_FALSE(mSurvey.HasSideRecords());
}

TEST_F(TreeSurveyTest, ASecondWalkKnowsNothingOfTheFirst) {
  for (VQJsonObject* object : Objects{mB1, mB3}) {
    object->SetDirty("V");
    object->SetDirtyAdd();
    object->SetDirtyDel("x");
  }
  ASSERT_TRUE(mSurvey.Take(mTree, false));
  TakeOut(*mG1, mB1);
  TakeOut(mTree, mB3);
  ASSERT_TRUE(mSurvey.Take(mTree, false));
  EXPECT_TRUE(mSurvey.Entries().empty());
  EXPECT_FALSE(mSurvey.HasSideRecords());
  mSurvey.ResetDirty();
  EXPECT_TRUE(mB1->IsDirty() && mB3->IsDirty());
  int comma = 0;
  EXPECT_EQ(SideCommands(comma), "");
  for (const VQJsonObject* object : Objects{mB1, mB3}) {
    EXPECT_TRUE(object->IsDirtyAdd() && object->IsDirtyDel());
    delete object;
  }
}

TEST_F(TreeSurveyTest, EitherKindOfRecordIsASideRecord) {
  ASSERT_TRUE(mSurvey.Take(mTree, false));
  EXPECT_FALSE(mSurvey.HasSideRecords());
  mB1->SetDirtyAdd();
  ASSERT_TRUE(mSurvey.Take(mTree, false));
  EXPECT_TRUE(mSurvey.HasSideRecords());
  mB1->ResetDirtyAdd();
  mTree.VQJsonObject::SetDirtyDel("x");
  ASSERT_TRUE(mSurvey.Take(mTree, false));
  EXPECT_TRUE(mSurvey.HasSideRecords());
}

TEST_F(TreeSurveyTest, SideCommandsAreAppendedOnce) {
  mB1->SetDirtyAdd();
  mB3->SetDirtyDel("x");
  ASSERT_TRUE(mSurvey.Take(mTree, false));
  int comma = 1;
  EXPECT_EQ(SideCommands(comma),
            ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"x\"},"
            "{ \"Command\":\"ADD\",\"Name\":\"b1\", \"Objects\":[]}");
  EXPECT_EQ(comma, 3);
  EXPECT_FALSE(mSurvey.HasSideRecords());
  mB1->SetDirtyAdd();
  mB3->SetDirtyDel("y");
  EXPECT_EQ(SideCommands(comma), "");
  EXPECT_TRUE(mB1->IsDirtyAdd() && mB3->IsDirtyDel());
}

TEST_F(TreeSurveyTest, ResetDirtyForgetsWhatTheWalkHasFound) {
  for (VQJsonObject* object : Objects{&mTree, mG1, mB2}) object->SetDirty("V");
  ASSERT_TRUE(mSurvey.Take(mTree, false));
  mB3->SetDirty("V");
  mSurvey.ResetDirty();
  EXPECT_FALSE(mTree.IsDirty() || mG1->IsDirty() || mB2->IsDirty());
  EXPECT_TRUE(mB3->IsDirty());
}

class HostsObject : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
};

TEST_F(TreeSurveyTest, AnObjectOfAHostsClassMakesItUseless) {
  for (const bool all : {false, true}) {
    auto* host = Named(new HostsObject(mG1), "h");
    mG1->AddObject(host, 0);
    EXPECT_FALSE(mSurvey.Take(mTree, all));
    mG1->DeleteChild("h");
    EXPECT_TRUE(mSurvey.Take(mTree, all));
  }
}

}  // namespace
