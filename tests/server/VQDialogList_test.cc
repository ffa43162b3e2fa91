#include "dorn/server/VQDialogList.h"

#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VQDialogListTest : public ServerTest {
 protected:
  HookedDialog* Add(const char* name) {
    auto* dialog = new HookedDialog;
    dialog->mDialogName = name;
    mList.Add(name, dialog);
    return dialog;
  }
  void TearDown() override {
    while (!mList.mDialogList.empty()) mList.Remove(KZString(mList.mDialogList.begin()->first));
    ServerTest::TearDown();
  }

  VQDialogList mList;
};

TEST_F(VQDialogListTest, FindsWhatWasAdded) {
  HookedDialog* dialog = Add("a");
  EXPECT_TRUE(mList.Has("a"));
  EXPECT_EQ(dialog, mList.Search("a"));
  EXPECT_FALSE(mList.Has("A"));
}

TEST_F(VQDialogListTest, SearchOfAnUnknownNameInsertsNothing) {
  EXPECT_EQ(nullptr, mList.Search("a"));
  EXPECT_FALSE(mList.Has("a"));
  EXPECT_TRUE(mList.mDialogList.empty());
}

TEST_F(VQDialogListTest, IgnoresANullDialog) {
  mList.Add("a", nullptr);
  EXPECT_FALSE(mList.Has("a"));
  HookedDialog* dialog = Add("b");
  mList.Add("b", nullptr);
  EXPECT_EQ(dialog, mList.Search("b"));
}

TEST_F(VQDialogListTest, ALaterDialogOfTheNameReplacesTheEarlierWithoutDeletingIt) {
  HookedDialog* first = Add("a");
  HookedDialog* second = Add("a");
  EXPECT_EQ(second, mList.Search("a"));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(2, HookedDialog::sAlive);
  delete first;
}

TEST_F(VQDialogListTest, RemoveCallsOnFinalAfterTheEntryIsGoneAndDeletes) {
  bool present = true;
  Add("a")->final = [&](HookedDialog&) { present = mList.Has("a"); };
  mList.Remove("a");
  EXPECT_FALSE(present);
  EXPECT_THAT(Calls(), ElementsAre("OnFinal a"));
  EXPECT_EQ(0, HookedDialog::sAlive);
}

TEST_F(VQDialogListTest, RemoveOfAnUnknownNameDoesNothing) {
  Add("a");
  mList.Remove("b");
  EXPECT_TRUE(mList.Has("a"));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(VQDialogListTest, ASessionsEndRemovesTheDialogsThatLoseTheirLastTree) {
  Add("only")->AddSession("S1");
  HookedDialog* other = Add("other");
  other->AddSession("S1");
  other->AddSession("S2");
  HookedDialog* shared = Add("shared");
  shared->GetResourceShare();
  shared->AddSession("S1");
  mList.RemoveBySession("S1");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal only"));
  EXPECT_FALSE(mList.Has("only"));
  EXPECT_EQ(1U, other->mSessionResourceList.size());
  EXPECT_EQ(1U, shared->mSessionResourceList.size());
  EXPECT_EQ(2, HookedDialog::sAlive);
}

TEST_F(VQDialogListTest, DialogsGoInTheOrderOfTheirNames) {
  for (const char* name : {"c", "a", "b", "Z"}) Add(name)->AddSession("S1");
  mList.RemoveBySession("S1");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal Z", "OnFinal a", "OnFinal b", "OnFinal c"));
  EXPECT_TRUE(mList.mDialogList.empty());
}

// A dialog that is to stay loads a shared tree.
TEST_F(VQDialogListTest, ADialogThatNeverHadATreeGoesWithAnySession) {
  Add("bare");
  mList.RemoveBySession("whoever");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal bare"));
}

TEST_F(VQDialogListTest, TheEndOfTheListDeletesNoDialog) {
  auto* dialog = new HookedDialog;
  {
    VQDialogList list;
    list.Add("a", dialog);
  }
  EXPECT_EQ(1, HookedDialog::sAlive);
  EXPECT_THAT(Calls(), IsEmpty());
  delete dialog;
}

}  // namespace
