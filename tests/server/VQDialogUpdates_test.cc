// What a dialog sends to the stations that show it.
#include <sys/socket.h>

#include <string>

#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kAll[] =
    "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"b1\",\"Type\":\"BUTTON\",\"Value\":\"OFF\"},"
    "{\"Name\":\"l1\",\"Value\":1}]}\n";
constexpr char kButtonOn[] =
    "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":\"b1\"}]}\n";
constexpr char kDeleted[] =
    "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
    ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b1\"}]}";
constexpr char kAdded[] =
    "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
    ",{ \"Command\":\"ADD\",\"Name\":\"top\", \"Objects\":[{\"Name\":\"n\",\"Value\":7}]}]}";

class VQDialogUpdatesTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    mDialog = Shared("top", kTree);
    mTree = mDialog->GetResourceShare();
    mA = LoggedIn("S1", "top");
    mB = LoggedIn("S2", "top");
    mElsewhere = LoggedIn("S3", "other");
  }

  void Set(const char* name, const char* value, const char* sid) {
    mTree->SearchName(name)->SetValue("Value", VQValue(value), -1, sid);
  }

  void AddObject() {
    auto* added = new VQJsonObject(mTree);
    added->SetValue("Name", VQValue("n"), 0, "");
    added->SetValue("Value", VQValue(7), 0, "");
    mTree->AddObject(added, 1);
  }

  HookedDialog* mDialog = nullptr;
  VQJsonResource* mTree = nullptr;
  Link mA, mB, mElsewhere;
};

// SendUpdateShare

TEST_F(VQDialogUpdatesTest, EveryStationThatShowsTheDialogGetsAllOfIt) {
  EXPECT_TRUE(mDialog->SendUpdateShare(true));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kAll));
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kAll));
  EXPECT_THAT(mElsewhere.station.Messages(), IsEmpty());
}

TEST_F(VQDialogUpdatesTest, AChangeGoesToTheOthersAndNotBackToItsSession) {
  Set("b1", "ON", "S1");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mA.station.Messages(), IsEmpty());
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kButtonOn));
}

TEST_F(VQDialogUpdatesTest, AChangeOfTheHostGoesToEverybody) {
  Set("b1", "ON", "");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kButtonOn));
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kButtonOn));
}

TEST_F(VQDialogUpdatesTest, EachStationGetsATextOfItsOwn) {
  Set("b1", "ON", "S1");
  Set("l1", "2", "S2");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(
      mA.station.Messages(),
      ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"2\",\"Name\":\"l1\"}]}\n"));
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kButtonOn));
}

TEST_F(VQDialogUpdatesTest, TheTraceLineShowsEachText) {
  Set("b1", "ON", "");
  CapturedStdout console;
  mDialog->SendUpdateShare(false);
  EXPECT_EQ(std::string(" sid=S1 dname=top id=134217728 out=") + kButtonOn + "\n" +
                " sid=S2 dname=top id=134217738 out=" + kButtonOn + "\n",
            console.Text());
}

TEST_F(VQDialogUpdatesTest, ChangesAreForgottenAfterAllWereServed) {
  Set("b1", "ON", "S1");
  mDialog->SendUpdateShare(false);
  mB.station.Messages();
  EXPECT_FALSE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mB.station.Messages(), IsEmpty());
  EXPECT_FALSE(mTree->SearchName("b1")->IsDirty());
}

TEST_F(VQDialogUpdatesTest, NothingChangedSendsNothing) {
  EXPECT_FALSE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mA.station.Messages(), IsEmpty());
}

TEST_F(VQDialogUpdatesTest, AChangeOfTheOnlySessionSendsNothing) {
  Find(mB)->mSessionId = "S1";
  Set("b1", "ON", "S1");
  EXPECT_FALSE(mDialog->SendUpdateShare(false));
}

TEST_F(VQDialogUpdatesTest, WithoutAnyStationTheChangesAreForgottenAllTheSame) {
  Find(mA)->mDialogName = "other";
  Find(mB)->mDialogName = "other";
  Set("b1", "ON", "S1");
  EXPECT_FALSE(mDialog->SendUpdateShare(false));
  EXPECT_FALSE(mTree->SearchName("b1")->IsDirty());
}

// The first text consumes the records of deleted and added objects.
TEST_F(VQDialogUpdatesTest, OnlyTheFirstStationGetsTheDeleteCommand) {
  mTree->SearchName("b1")->Delete("THIS");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kDeleted));
  EXPECT_THAT(mB.station.Messages(), IsEmpty());
}

TEST_F(VQDialogUpdatesTest, OnlyTheFirstStationGetsTheAddCommand) {
  AddObject();
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kAdded));
  EXPECT_THAT(mB.station.Messages(), IsEmpty());
}

// A closed connection stays linked until the next pass; it must not consume what the living miss.
TEST_F(VQDialogUpdatesTest, AClosedConnectionConsumesNothing) {
  mTree->SearchName("b1")->Delete("THIS");
  Find(mA)->Close();
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kDeleted));
}

TEST_F(VQDialogUpdatesTest, AConnectionRemovedWithItsSessionLeavesNoTaggedKeysInTheTree) {
  Set("b1", "ON", "S1");
  app.RemoveSocketBySession("S1");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kButtonOn));
  EXPECT_FALSE(mTree->SearchName("b1")->HasKey("Value|:|S1"));
}

TEST_F(VQDialogUpdatesTest, ADialogWithoutSharedTreeSendsNothing) {
  HookedDialog dialog;
  dialog.Init("top", "unused");
  EXPECT_FALSE(dialog.SendUpdateShare(true));
  EXPECT_THAT(mA.station.Messages(), IsEmpty());
}

TEST_F(VQDialogUpdatesTest, ManyStationsGetTheSameTextInTheOrderOfAcceptance) {
  std::vector<Link> many;
  for (int i = 0; i < 20; ++i) many.push_back(LoggedIn("M" + std::to_string(i), "top"));
  Set("b1", "ON", "M7");
  CapturedStdout console;
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  std::string expected;
  const auto line = [&](const std::string& sid, int id) {
    expected += " sid=" + sid + " dname=top id=" + std::to_string(id) + " out=" + kButtonOn + "\n";
  };
  line("S1", mA.id);
  line("S2", mB.id);
  for (int i = 0; i < 20; ++i) {
    if (i != 7) line("M" + std::to_string(i), many[static_cast<size_t>(i)].id);
  }
  EXPECT_EQ(expected, console.Text());
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(i == 7 ? 0U : 1U, many[static_cast<size_t>(i)].station.Messages().size()) << i;
  }
}

// A host may put objects of its own class into the tree; its writer decides what is sent.
class Stamped : public VQJsonObject {
 public:
  using VQJsonObject::OutJsonDirtyMember;
  using VQJsonObject::VQJsonObject;
  void OutJsonDirtyMember(std::ostream& out, int& b, const KZString& sid) override {
    out << (b++ != 0 ? "," : "") << "\"For\":\"" << static_cast<const char*>(sid) << "\"";
  }
};

TEST_F(VQDialogUpdatesTest, AnObjectOfTheHostsClassWritesItselfForEachSession) {
  auto* stamped = new Stamped(mTree);
  stamped->SetValue("Name", VQValue("h"), 0, "");
  mTree->AddObject(stamped, 0);
  stamped->SetDirty("x");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mA.station.Messages(),
              ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":[{\"For\":\"S1\"}]}\n"));
  EXPECT_THAT(mB.station.Messages(),
              ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":[{\"For\":\"S2\"}]}\n"));
}

// What host code writes into the tree while a round is being sent goes to the stations that come
// after it, and is forgotten at the end of the round, as marks of operations are.
class MarkingStream : public KZStream {
 public:
  int Output(char*) override {
    if (mObject != nullptr) mObject->mDirty.insert("Value");
    return 0;
  }
  VQJsonObject* mObject = nullptr;
};

TEST_F(VQDialogUpdatesTest, MarksThatALogSinkWroteDuringTheRoundAreForgotten) {
  MarkingStream sink;
  Find(mA)->mLog.LogStart(256, &sink);
  const KZString big(std::string(1 << 20, 'x'));
  for (int i = 0; i < 9; ++i) ASSERT_GT(Find(mA)->SendData(big), 0);
  sink.mObject = mTree->SearchName("l1");
  Set("b1", "ON", "");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_EQ(Find(mA), nullptr);  // Its queue was full.
  EXPECT_THAT(mB.station.Messages(),
              ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":"
                          "[{\"Value\":\"ON\",\"Name\":\"b1\"},{\"Value\":1,\"Name\":\"l1\"}]}\n"));
  EXPECT_FALSE(mTree->SearchName("b1")->IsDirty());
  EXPECT_FALSE(mTree->SearchName("l1")->IsDirty());
}

// A host's own class of connection.
class MarkingClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int SendData(const KZString& text) override {
    if (mObject != nullptr) mObject->mDirty.insert("Value");
    return VQClientSocket::SendData(text);
  }
  VQJsonObject* mObject = nullptr;
};

TEST_F(VQDialogUpdatesTest, MarksThatAConnectionOfAHostsClassWroteDuringTheRoundAreForgotten) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
  auto* client = new MarkingClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  Station station(pair[1]);
  Pass();
  client->mDialogName = "top";
  client->mSessionId = "S1";
  client->mObject = mTree->SearchName("l1");
  Set("b1", "ON", "");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(station.Messages(), ElementsAre(kButtonOn));
  EXPECT_FALSE(mTree->SearchName("l1")->IsDirty());

  mDialog->LoadJsonUnique("S1");
  client->mObject = mDialog->GetResourceUnique("S1")->SearchName("l1");
  Find(mA)->mDialogName = "other";
  mDialog->GetResourceUnique("S1")->SearchName("b1")->SetValue("Value", VQValue("ON"), -1, "");
  EXPECT_TRUE(mDialog->SendUpdateUnique("S1", false));
  EXPECT_THAT(station.Messages(), ElementsAre(kButtonOn));
  EXPECT_FALSE(client->mObject->IsDirty());
}

TEST_F(VQDialogUpdatesTest, MarksThatAHostWroteDirectlyBetweenTwoRoundsAreSent) {
  Set("b1", "ON", "");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  mA.station.Messages();
  mTree->SearchName("l1")->mDirty.insert("Value");
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(
      mA.station.Messages(),
      ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":1,\"Name\":\"l1\"}]}\n"));
  EXPECT_FALSE(mDialog->SendUpdateShare(false));
}

// SendUpdateShareToAll

TEST_F(VQDialogUpdatesTest, ToAllGivesEveryStationTheDeleteCommand) {
  mTree->SearchName("b1")->Delete("THIS");
  EXPECT_TRUE(mDialog->SendUpdateShareToAll(false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kDeleted));
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kDeleted));
  EXPECT_THAT(mElsewhere.station.Messages(), IsEmpty());
  EXPECT_FALSE(mTree->IsDirtyDel());
}

TEST_F(VQDialogUpdatesTest, ToAllGivesEveryStationTheAddCommand) {
  AddObject();
  EXPECT_TRUE(mDialog->SendUpdateShareToAll(false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kAdded));
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kAdded));
  EXPECT_FALSE(mTree->IsDirtyAdd());
  EXPECT_FALSE(mTree->SearchName("n")->IsDirtyAdd());
}

TEST_F(VQDialogUpdatesTest, ToAllStillKeepsAChangeFromItsOwnSession) {
  Set("b1", "ON", "S1");
  AddObject();
  EXPECT_TRUE(mDialog->SendUpdateShareToAll(false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kAdded));
  EXPECT_THAT(mB.station.Messages(),
              ElementsAre("{'Commands':[{ \"Command\":\"UPDATE\", "
                          "\"Objects\":[{\"Value\":\"ON\",\"Name\":\"b1\"}]}\n"
                          ",{ \"Command\":\"ADD\",\"Name\":\"top\", "
                          "\"Objects\":[{\"Name\":\"n\",\"Value\":7}]}]}"));
}

TEST_F(VQDialogUpdatesTest, ToAllForgetsTheChangesAfterwards) {
  Set("b1", "ON", "");
  AddObject();
  EXPECT_TRUE(mDialog->SendUpdateShareToAll(false));
  EXPECT_FALSE(mDialog->SendUpdateShareToAll(false));
  EXPECT_FALSE(mDialog->SendUpdateShare(false));
}

TEST_F(VQDialogUpdatesTest, ToAllSendsAllAttributesWhenAsked) {
  EXPECT_TRUE(mDialog->SendUpdateShareToAll(true));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kAll));
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kAll));
}

TEST_F(VQDialogUpdatesTest, ToAllWithoutStationsForgetsTheAttributeChanges) {
  Find(mA)->mDialogName = "other";
  Find(mB)->mDialogName = "other";
  Set("b1", "ON", "S1");
  EXPECT_FALSE(mDialog->SendUpdateShareToAll(false));
  EXPECT_FALSE(mTree->SearchName("b1")->IsDirty());
}

// SendSnapshot

TEST_F(VQDialogUpdatesTest, SnapshotGoesToOneStationAlone) {
  EXPECT_TRUE(mDialog->SendSnapshot(Find(mB)));
  EXPECT_THAT(mA.station.Messages(), IsEmpty());
  EXPECT_THAT(mB.station.Messages(), ElementsAre(kAll));
}

TEST_F(VQDialogUpdatesTest, SnapshotLeavesTheAttributeChangesToTheNextUpdate) {
  Set("b1", "ON", "");
  EXPECT_TRUE(mDialog->SendSnapshot(Find(mB)));
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kButtonOn));
}

TEST_F(VQDialogUpdatesTest, SnapshotLeavesDeletesAndAddsToTheNextUpdate) {
  mTree->SearchName("b1")->Delete("THIS");
  EXPECT_TRUE(mDialog->SendSnapshot(Find(mB)));
  EXPECT_THAT(
      mB.station.Messages(),
      ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"l1\",\"Value\":1}]}\n"));
  EXPECT_TRUE(mDialog->SendUpdateShare(false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kDeleted));
}

TEST_F(VQDialogUpdatesTest, SnapshotToNobodyIsNone) {
  EXPECT_FALSE(mDialog->SendSnapshot(nullptr));
  VQClientSocket* client = Find(mA);
  client->Close();
  CapturedStdout console;
  EXPECT_FALSE(mDialog->SendSnapshot(client));
  EXPECT_EQ("", console.Text());
}

TEST_F(VQDialogUpdatesTest, SnapshotWithoutASharedTreeIsNoneAndMakesNone) {
  HookedDialog dialog;
  dialog.Init("top", "unused");
  dialog.AddSession("S1");
  EXPECT_FALSE(dialog.SendSnapshot(Find(mA)));
  EXPECT_EQ(1U, dialog.mSessionResourceList.size());
  EXPECT_THAT(mA.station.Messages(), IsEmpty());
}

TEST_F(VQDialogUpdatesTest, SnapshotOfATreeWithoutObjectsIsNone) {
  HookedDialog dialog;
  dialog.Init("top", "unused");
  dialog.GetResourceShare();
  EXPECT_FALSE(dialog.SendSnapshot(Find(mA)));
  EXPECT_THAT(mA.station.Messages(), IsEmpty());
}

TEST_F(VQDialogUpdatesTest, SnapshotOfOneObjectIsSent) {
  mTree->SearchName("b1")->Delete("THIS");
  EXPECT_TRUE(mDialog->SendSnapshot(Find(mA)));
  EXPECT_THAT(
      mA.station.Messages(),
      ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"l1\",\"Value\":1}]}\n"));
}

// SendUpdateUnique

class UniqueUpdatesTest : public VQDialogUpdatesTest {
 protected:
  void SetUp() override {
    VQDialogUpdatesTest::SetUp();
    mDialog->LoadJsonUnique("S1");
    mDialog->LoadJsonUnique("S2");
  }
  void SetUnique(const char* sid, const char* by) {
    mDialog->GetResourceUnique(sid)->SearchName("b1")->SetValue("Value", VQValue("ON"), -1, by);
  }
};

TEST_F(UniqueUpdatesTest, ATreesChangesGoToItsSessionAlone) {
  SetUnique("S1", "");
  EXPECT_TRUE(mDialog->SendUpdateUnique("S1", false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kButtonOn));
  EXPECT_THAT(mB.station.Messages(), IsEmpty());
  EXPECT_FALSE(mDialog->SendUpdateUnique("S1", false));
}

TEST_F(UniqueUpdatesTest, TheSessionsOwnChangeIsNotSentBack) {
  SetUnique("S1", "S1");
  EXPECT_FALSE(mDialog->SendUpdateUnique("S1", false));
  EXPECT_THAT(mA.station.Messages(), IsEmpty());
}

TEST_F(UniqueUpdatesTest, TheSessionsOwnChangeIsForgottenAllTheSame) {
  SetUnique("S1", "S1");
  mDialog->SendUpdateUnique("S1", false);
  EXPECT_FALSE(mDialog->GetResourceUnique("S1")->SearchName("b1")->IsDirty());
}

// A dialog is shown by whoever says so, and everybody shows the one without a name.
TEST_F(UniqueUpdatesTest, ADialogWithoutANameIsShownByEveryConnection) {
  Link fresh = Connect();
  mDialog->mDialogName = "";
  EXPECT_TRUE(mDialog->SendUpdateShare(true));
  EXPECT_THAT(mElsewhere.station.Messages(), ElementsAre(kAll));
  EXPECT_THAT(fresh.station.Messages(), ElementsAre(kAll));
  mDialog->LoadJsonUnique("S3");
  EXPECT_TRUE(mDialog->SendUpdateUnique("S3", true));
  EXPECT_THAT(mElsewhere.station.Messages(), ElementsAre(kAll));
  EXPECT_THAT(fresh.station.Messages(), IsEmpty());
}

TEST_F(UniqueUpdatesTest, OnlyTheFirstConnectionOfASessionGetsTheChanges) {
  Link second = LoggedIn("S1", "top");
  SetUnique("S1", "");
  EXPECT_TRUE(mDialog->SendUpdateUnique("S1", false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kButtonOn));
  EXPECT_THAT(second.station.Messages(), IsEmpty());
}

TEST_F(UniqueUpdatesTest, AClosedFirstConnectionConsumesNothing) {
  Link second = LoggedIn("S1", "top");
  SetUnique("S1", "");
  Find(mA)->Close();
  EXPECT_TRUE(mDialog->SendUpdateUnique("S1", false));
  EXPECT_THAT(second.station.Messages(), ElementsAre(kButtonOn));
}

TEST_F(UniqueUpdatesTest, AllAttributesGoToEveryConnectionOfTheSession) {
  Link second = LoggedIn("S1", "top");
  EXPECT_TRUE(mDialog->SendUpdateUnique("S1", true));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kAll));
  EXPECT_THAT(second.station.Messages(), ElementsAre(kAll));
  EXPECT_THAT(mB.station.Messages(), IsEmpty());
}

TEST_F(UniqueUpdatesTest, WithoutAConnectionTheChangesStay) {
  Find(mA)->mDialogName = "other";
  SetUnique("S1", "");
  EXPECT_FALSE(mDialog->SendUpdateUnique("S1", false));
  EXPECT_TRUE(mDialog->GetResourceUnique("S1")->SearchName("b1")->IsDirty());
}

TEST_F(UniqueUpdatesTest, WithoutAConnectionNoTreeIsMade) {
  EXPECT_FALSE(mDialog->SendUpdateUnique("S9", true));
  EXPECT_EQ(0U, mDialog->mSessionResourceList.count("S9"));
}

// "SessionIdShared" addresses every session; the text is still made for the tree's session.
TEST_F(UniqueUpdatesTest, TheSharedTreesIdSendsTheSharedTreeToTheFirstStation) {
  Set("b1", "ON", "");
  EXPECT_TRUE(mDialog->SendUpdateUnique("SessionIdShared", false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kButtonOn));
  EXPECT_THAT(mB.station.Messages(), IsEmpty());
}

TEST_F(UniqueUpdatesTest, TheSharedTreesIdTellsASessionItsOwnChange) {
  Set("b1", "ON", "S1");
  EXPECT_TRUE(mDialog->SendUpdateUnique("SessionIdShared", false));
  EXPECT_THAT(mA.station.Messages(), ElementsAre(kButtonOn));
}

TEST_F(UniqueUpdatesTest, AnUnlistedNameIsInsertedEmptyByTheUpdate) {
  WriteResource("top.json",
                R"({"Command":"DIALOG","Objects":[{"Name":"b1","NotifyList":"Value","Value":1}]})");
  mDialog->LoadJsonUnique("S4");
  Link fourth = LoggedIn("S4", "top");
  SetUnique("S4", "");
  EXPECT_TRUE(mDialog->SendUpdateUnique("S4", false));
  EXPECT_THAT(
      fourth.station.Messages(),
      ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":}]}\n"));
  EXPECT_TRUE(mDialog->GetResourceUnique("S4")->SearchName("b1")->HasKey("Name"));
}

}  // namespace
