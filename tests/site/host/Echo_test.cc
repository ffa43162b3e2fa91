// Who is told of a change, and who shows it already.
#include "tests/site/host/HostTest.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class EchoTest : public HostTest {
 protected:
  // In the dialog of a host that has another one beside it.
  Station EnterBesideAnother() {
    StartSite();
    mOther = &Join();
    Wait(300);
    return Enter("u1");
  }
  // The station changes "a", and the other host its object, before either hears of the other.
  void ChangeBoth(Station& mine, const char* othersObject) {
    mCarrier->SetCut(true);
    Set(mine, "a", "2");
    mOther->Set(othersObject, "Value", "3");
    mCarrier->SetCut(false);
    Pass();
  }

  OtherHost* mOther = nullptr;
};

TEST_F(EchoTest, OthersAreToldTheOneThatSentItIsNot) {
  StartSite();
  Station mine = Enter("u1");
  Station other = Enter("u2");
  Set(mine, "a", "2");
  EXPECT_EQ("2", Value("a"));
  EXPECT_THAT(Take(other), ElementsAre(AllOf(HasSubstr(R"("Value":"2")"), HasSubstr(R"("a")"))));
  EXPECT_THAT(Take(mine), IsEmpty());
}

TEST_F(EchoTest, NothingChangesBeforeTheLogHasIt) {
  StartSite();
  Station mine = Enter("u1");
  Station other = Enter("u2");
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  EXPECT_EQ("1", Value("a"));
  EXPECT_THAT(Take(other), IsEmpty());
  mCarrier->SetCut(false);
  Pass();
  EXPECT_EQ("2", Value("a"));
  EXPECT_THAT(Take(other), ElementsAre(HasSubstr(R"("Value":"2")")));
}

TEST_F(EchoTest, AnotherStationOfTheSameSessionIsTold) {
  StartSite();
  Station mine = Enter("u1");
  Station second = Connect();
  Tell(second, R"({"Command":"CHANGE","SessionId":"S-u1","DialogName":"panel"})");
  ASSERT_THAT(Take(second), Not(IsEmpty()));
  Set(mine, "a", "2");
  EXPECT_THAT(Take(second), ElementsAre(HasSubstr(R"("Value":"2")")));
  EXPECT_THAT(Take(mine), IsEmpty());
}

// What the station shows by then is what the other one has set.
TEST_F(EchoTest, IsToldWhenTheObjectWasSentMeanwhile) {
  Station mine = EnterBesideAnother();
  ChangeBoth(mine, "a");
  EXPECT_EQ("2", Value("a")) << "the other host's came first";
  EXPECT_THAT(Take(mine), Contains(HasSubstr(R"("Value":"2")")));
}

// The same with the rounds apart: the other's change is sent before this one comes back.
TEST_F(EchoTest, IsToldWhenTheObjectWasSentBefore) {
  Station mine = EnterBesideAnother();
  mOther->Set("a", "Value", "3");
  Set(mine, "a", "2");
  Pass();
  const std::vector<std::string> told = Take(mine);
  EXPECT_EQ("2", Value("a"));
  EXPECT_THAT(told, Contains(HasSubstr(R"("Value":"2")")));
  EXPECT_THAT(told.back(), HasSubstr(R"("Value":"2")"));
}

TEST_F(EchoTest, IsNotToldWhenOnlyAnotherObjectWasSentMeanwhile) {
  Station mine = EnterBesideAnother();
  ChangeBoth(mine, "b");
  const std::vector<std::string> told = Take(mine);
  EXPECT_THAT(told, ElementsAre(HasSubstr(R"("Name":"b")")));
  EXPECT_THAT(told, Not(Contains(HasSubstr(R"("Name":"a")"))));
}

// A slider that is drawn: what comes back of its way must not pull it back.
TEST_F(EchoTest, IsNotToldOfItsOwnEarlierChange) {
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  for (const char* value : {"2", "3", "4"}) Set(mine, "a", value);
  mCarrier->SetCut(false);
  Pass();
  EXPECT_EQ("4", Value("a"));
  EXPECT_THAT(Take(mine), IsEmpty());
}

TEST_F(EchoTest, IsToldWhenItWasSentASnapshotMeanwhile) {
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  Tell(mine, R"({"Command":"CHANGE","DialogName":"panel"})");
  EXPECT_THAT(Take(mine), ElementsAre(HasSubstr(R"("Value":"1")")));
  mCarrier->SetCut(false);
  Pass();
  EXPECT_THAT(Take(mine), ElementsAre(HasSubstr(R"("Value":"2")")));
}

TEST_F(EchoTest, IsToldWhenItHasFetchedTheTreeMeanwhile) {
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  Tell(mine, R"({"Command":"GETFILE","File":"panel.json"})");
  Take(mine);
  mCarrier->SetCut(false);
  Pass();
  EXPECT_THAT(Take(mine), Contains(HasSubstr(R"("Value":"2")")));
}

// A change that was made before the tree had the object here.
TEST_F(EchoTest, IsToldOfAnObjectThatWasAddedMeanwhile) {
  StartSite();
  Station mine = Enter("u1");
  TheDialog().apply = [](Panel& panel, const Panel::Change& change) {
    VQJsonResource& tree = *panel.GetResourceShare();
    if (change.command->mObjectList.at(0)->mName == "a") {
      auto added = std::make_unique<VQJsonObject>(&tree);
      added->SetValue("Name", "new", 0, "");
      added->SetValue("Value", "1", 0, "");
      if (tree.AddObject(added.get(), -1)) static_cast<void>(added.release());
    } else {
      panel.UpdateResource(change.command, &tree, change.mark);
    }
  };
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  Set(mine, "new", "2");
  mCarrier->LetFirstThrough();
  Pass();
  EXPECT_THAT(Take(mine), Contains(HasSubstr(R"("ADD")")));
  Wait(3000);
  EXPECT_THAT(Take(mine), Contains(HasSubstr(R"("Value":"2")")));
}

TEST_F(EchoTest, WhatTheDialogPutsRightIsSentToTheStationToo) {
  StartSite();
  Station mine = Enter("u1");
  TheDialog().apply = [](Panel& panel, const Panel::Change&) {
    panel.GetResourceShare()->SearchName("a")->SetDirty("Value");
  };
  Set(mine, "a", "2");
  EXPECT_EQ("1", Value("a"));
  EXPECT_THAT(Take(mine), ElementsAre(HasSubstr(R"("Value":"1")")));
}

TEST_F(EchoTest, ANewConnectionOfTheSameNumberIsNotSpared) {
  StartSite();
  Station mine = Enter("u1");
  VQClientSocket* client = Find("S-u1");
  ASSERT_NE(nullptr, client);
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  client->Authentication("S-other");
  mCarrier->SetCut(false);
  Pass();
  EXPECT_THAT(Take(mine), ElementsAre(HasSubstr(R"("Value":"2")")));
  EXPECT_THAT(Calls(), Not(Contains(HasSubstr("OnApplied"))));
}

TEST_F(EchoTest, TwoDeletionsAreBothTold) {
  StartSite();
  Station mine = Enter("u1");
  Station other = Enter("u2");
  TheDialog().apply = [](Panel& panel, const Panel::Change& change) {
    const KZString name = change.command->mObjectList.at(0)->mName;
    if (VQJsonObject* object = panel.GetResourceShare()->SearchName(name)) object->Delete("THIS");
  };
  Tell(mine, R"({"Commands":[{"Command":"CONDITION","Objects":[{"Name":"a"}]},)"
             R"({"Command":"CONDITION","Objects":[{"Name":"b"}]}]})");
  EXPECT_THAT(Take(other), ElementsAre(HasSubstr(R"("Delete":"THIS","Name":"a")"),
                                       HasSubstr(R"("Delete":"THIS","Name":"b")")));
}

}  // namespace
