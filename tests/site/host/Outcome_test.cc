// What a station is told about a change that does not come back, and what takes it back.
#include "tests/site/host/HostTest.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class OutcomeTest : public HostTest {
 protected:
  // The word about the log is for the tests that ask for it.
  void SetUp() override {
    HostTest::SetUp();
    mOptions.statusObject = "none";
  }

  // In the dialog of a host that takes no changes yet.
  Station EnterEarly() {
    StartSite(false);
    app.CreateSession("S1", 0);
    app.mStationSocket.SetFDStatus(KZFdData::kStatusActive);
    app.mStationSocket.AddEvent();
    Station station = Connect();
    Tell(station, R"({"Command":"KEEPALIVE"})");
    VQClientSocket* client = Find("");
    EXPECT_NE(nullptr, client);
    client->Authentication("S1");
    client->mDialogName = "panel";
    return station;
  }
};

TEST_F(OutcomeTest, IsPendingAfterTwoSecondsForItsStationAlone) {
  StartSite();
  Station mine = Enter("u1");
  Station other = Enter("u2");
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  Wait(1500);
  EXPECT_THAT(Take(mine), IsEmpty());
  Wait(1000);
  EXPECT_THAT(Take(mine),
              ElementsAre(AllOf(HasSubstr(R"("Command":"UPDATE")"), HasSubstr(R"("Value":"1")"),
                                HasSubstr(R"("Error":"pending")"), HasSubstr(R"("Name":"a")"))));
  EXPECT_THAT(Take(other), IsEmpty());
  EXPECT_EQ("", Value("a", "Error")) << "the trees do not hold it";
}

TEST_F(OutcomeTest, ComesLaterAndIsToldToEverybody) {
  StartSite();
  Station mine = Enter("u1");
  Station other = Enter("u2");
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  Wait(3000);
  Take(mine);
  mCarrier->SetCut(false);
  Pass();
  EXPECT_THAT(Take(mine),
              ElementsAre(HasSubstr(R"("Value":"2")"),
                          AllOf(HasSubstr(R"("Name":"a")"), HasSubstr(R"("Error":"")"))));
  EXPECT_THAT(Take(other), Contains(HasSubstr(R"("Value":"2")")));
}

TEST_F(OutcomeTest, TakesBackTheErrorToWhatTheTreeHolds) {
  StartSite();
  Station mine = Enter("u1");
  TheDialog().GetResourceShare()->SearchName("a")->SetValue("Error", "too low", 0, "");
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  Wait(3000);
  Take(mine);
  mCarrier->SetCut(false);
  Pass();
  EXPECT_THAT(Take(mine), Contains(HasSubstr(R"("Error":"too low")")));
  EXPECT_EQ("too low", Value("a", "Error"));
}

TEST_F(OutcomeTest, KeepsTheErrorWhileAnotherChangeOfTheObjectIsPending) {
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  Wait(1000);
  Set(mine, "a", "3");
  Wait(1500);
  EXPECT_THAT(Take(mine), ElementsAre(HasSubstr(R"("Error":"pending")")));
  Wait(1000);
  EXPECT_THAT(Take(mine), ElementsAre(HasSubstr(R"("Error":"pending")")));
  mCarrier->LetFirstThrough();
  Pass();
  EXPECT_THAT(Take(mine), ElementsAre(HasSubstr(R"("Value":"2")")));
  Wait(3000);
  EXPECT_THAT(Take(mine), ElementsAre(HasSubstr(R"("Value":"3")"), HasSubstr(R"("Error":"")")));
}

TEST_F(OutcomeTest, TellsTheOtherRadioButtonsToo) {
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  Set(mine, "r2", "ON", "Attr");
  Wait(2500);
  EXPECT_THAT(Take(mine),
              ElementsAre(AllOf(HasSubstr(R"("Attr":"ON","Name":"r1")"),
                                HasSubstr(R"("Attr":"OFF","Error":"pending","Name":"r2")"))));
}

TEST_F(OutcomeTest, IsRefusedAtOnceWhenTheHostDoesNotServe) {
  Station mine = EnterEarly();
  Set(mine, "a", "2");
  EXPECT_THAT(Take(mine),
              ElementsAre(AllOf(HasSubstr(R"("Value":"1")"), HasSubstr(R"("Error":"refused")"))));
  EXPECT_EQ("1", Value("a"));
}

// Names are the station's to make up: they would be kept for as long as it stays.
TEST_F(OutcomeTest, ForgetsRefusedNamesThatTheTreeDoesNotHave) {
  Station mine = EnterEarly();
  Set(mine, "new", "2");
  EXPECT_THAT(Take(mine), IsEmpty());
  VQJsonResource& tree = *TheDialog().GetResourceShare();
  auto added = std::make_unique<VQJsonObject>(&tree);
  added->SetValue("Name", "new", 0, "");
  if (tree.AddObject(added.get(), 0)) static_cast<void>(added.release());
  Tell(mine, R"({"Command":"CHANGE","DialogName":"panel"})");
  EXPECT_THAT(Take(mine), ElementsAre(HasSubstr(R"("new")")));
}

TEST_F(OutcomeTest, TellsEachObjectOnceHoweverOftenTheStationNamesIt) {
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  Tell(mine, R"({"Command":"CONDITION","Objects":[{"Name":"r2","Attr":"ON"},{"Name":"r2"},)"
             R"({"Name":"r1"},{"Name":"g"},{"Name":"a"},{"Name":"r2","Attr":"ON"}]})");
  Wait(2500);
  const std::vector<std::string> told = Take(mine);
  ASSERT_EQ(1U, told.size());
  for (const char* name : {"r1", "r2", "g", "a"}) {
    const std::string text = R"("Name":")" + std::string(name) + '"';
    const std::size_t first = told[0].find(text);
    EXPECT_NE(std::string::npos, first) << text;
    EXPECT_EQ(std::string::npos, told[0].find(text, first + 1)) << text;
  }
}

TEST_F(OutcomeTest, TellsEachOtherRadioButtonOnce) {
  StartSite();
  Station mine = Enter("u1");
  auto* group =
      dynamic_cast<VQJsonRadioButtonGroup*>(TheDialog().GetResourceShare()->SearchName("g"));
  ASSERT_NE(nullptr, group);
  auto third = std::make_unique<VQJsonRadioButtonObject>(group);
  third->SetValue("Name", "r3", 0, "");
  if (group->AddObject(third.get(), 0)) static_cast<void>(third.release());
  mCarrier->SetCut(true);
  Tell(mine, R"({"Command":"CONDITION","Objects":[{"Name":"g"},{"Name":"r1"},{"Name":"r2"}]})");
  Wait(2500);
  const std::vector<std::string> told = Take(mine);
  ASSERT_EQ(1U, told.size());
  const std::size_t first = told[0].find(R"("r3")");
  ASSERT_NE(std::string::npos, first);
  EXPECT_EQ(std::string::npos, told[0].find(R"("r3")", first + 1));
}

TEST_F(OutcomeTest, IsRefusedWhenAThousandWait) {
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  for (int i = 0; i < 1000; ++i) Set(mine, "a", std::to_string(i));
  EXPECT_THAT(Take(mine), Not(Contains(HasSubstr(R"("refused")"))));
  Set(mine, "b", "2");
  EXPECT_THAT(Take(mine), Contains(AllOf(HasSubstr(R"("Name":"b")"), HasSubstr(R"("Value":"1")"),
                                         HasSubstr(R"("Error":"refused")"))));
  mCarrier->SetCut(false);
  Wait(1000);
  EXPECT_EQ("999", Value("a"));
  EXPECT_EQ("1", Value("b"));
}

TEST_F(OutcomeTest, ARefusalIsTakenBackByTheNextChangeThatGoesThrough) {
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  for (int i = 0; i < 1000; ++i) Set(mine, "b", std::to_string(i));
  Set(mine, "a", "2");
  mCarrier->SetCut(false);
  Wait(300);
  Take(mine);
  Set(mine, "a", "3");
  EXPECT_THAT(Take(mine), Contains(AllOf(HasSubstr(R"("Name":"a")"), HasSubstr(R"("Error":"")"))));
}

TEST_F(OutcomeTest, IsToldAgainToAStationThatEntersAgain) {
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  Wait(3000);
  Take(mine);
  Tell(mine, R"({"Command":"CHANGE","DialogName":"panel"})");
  const std::vector<std::string> told = Take(mine);
  EXPECT_THAT(told, Contains(HasSubstr(R"("Error":"pending")")));
}

TEST_F(OutcomeTest, StationsAreToldWhenTheLogIsAway) {
  mOptions.statusObject = "site";
  StartSite();
  Station mine = Enter("u1");
  mCarrier->SetCut(true);
  Wait(3000);
  EXPECT_TRUE(mSite->Status().isLogAway);
  EXPECT_THAT(Take(mine),
              Contains(AllOf(HasSubstr(R"("Name":"site")"), HasSubstr(R"("State":"BAD")"))));
  Tell(mine, R"({"Command":"CHANGE","DialogName":"panel"})");
  EXPECT_THAT(Take(mine).back(), HasSubstr(R"("State":"BAD")"));
  mCarrier->SetCut(false);
  Wait(300);
  EXPECT_THAT(Take(mine),
              Contains(AllOf(HasSubstr(R"("Name":"site")"), HasSubstr(R"("State":"NORMAL")"))));
  EXPECT_EQ("", Value("site", "State")) << "the trees do not hold it";
}

TEST_F(OutcomeTest, NobodyIsLetInWhenTheLogIsAwayForLong) {
  StartSite();
  Station mine = Enter("u1");
  EXPECT_TRUE(mSite->Status().isHealthy);
  mCarrier->SetCut(true);
  Wait(14000);
  EXPECT_TRUE(mSite->Status().isHealthy);
  Wait(5000);
  EXPECT_FALSE(mSite->Status().isHealthy);
  Station late = Connect();
  EXPECT_TRUE(late.peer.Send("\x02{\"Command\":\"HELLO\"}\x03"));
  Pass(10);
  EXPECT_EQ("", late.peer.Received());
  EXPECT_FALSE(mine.peer.IsClosed()) << "who is there stays";
  mCarrier->SetCut(false);
  Wait(1000);
  EXPECT_TRUE(mSite->Status().isHealthy);
  EXPECT_TRUE(RunUntil([&late] { return !late.peer.Received().empty(); }));
}

}  // namespace
