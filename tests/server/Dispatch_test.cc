// What each command of a station does: log-in, dialog switch, sessions, conditions.
#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kHello[] =
    R"({"Command":"HELLO","Id":"u1","Pass":"p","Type":"PC","ResolutionH":800,"ResolutionV":600})";
constexpr char kOpen[] =
    R"({"Command":"OPEN","File":"Top.json","FileSource":"STATION","SessionId":"S-u1"})";
constexpr char kAuthError[] =
    R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})";
constexpr char kSessionError[] =
    R"({"Command":"ERROR","Message":"無効なセッションです。","Status":"InvalidSessionId"})";

class DispatchTest : public ServerTest {};

// Log-in

TEST_F(DispatchTest, LogInIsAnsweredByTheOpenCommand) {
  Link link = Connect();
  CapturedStdout console;
  Tell(link, kHello);
  EXPECT_EQ(
      "Command=HELLO json={\"Command\":\"HELLO\",\"Id\":\"u1\",\"Pass\":\"p\","
      "\"ResolutionH\":800,\"ResolutionV\":600,\"Type\":\"PC\"}\n"
      "VQApplication::MakeSessionTimerId = d000000\n"
      "HELLO PC,600,800\n"
      " sid=S-u1 dname= id=134217728 out={\"Command\":\"OPEN\",\"File\":\"Top.json\","
      "\"FileSource\":\"STATION\",\"SessionId\":\"S-u1\"}\n",
      console.Text());
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p", "OnStart PC 600 800"));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kOpen));
  EXPECT_TRUE(Find(link)->mAuth);
  EXPECT_THAT(DueIn(0x8000000), IsEmpty());
}

TEST_F(DispatchTest, StartPassesTheVerticalResolutionFirst) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"HELLO","Type":"T","ResolutionH":1,"ResolutionV":"2"})");
  EXPECT_THAT(Calls(), ElementsAre("OnStart T 2 1"));
}

TEST_F(DispatchTest, StartTakesANumberForTheTypeAndTextsForTheResolutions) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"HELLO","Type":7,"ResolutionH":"800","ResolutionV":"600 lines"})");
  EXPECT_THAT(Calls(), ElementsAre("OnStart 7 600 800"));
}

TEST_F(DispatchTest, StartWithoutTypeAndResolutionsPassesEmptyAndZero) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"HELLO"})");
  EXPECT_THAT(Calls(), ElementsAre("OnStart  0 0"));
}

TEST_F(DispatchTest, ChangeWithoutDialogNameStartsTheStationToo) {
  Link link = Connect();
  Tell(link, R"({"Command":"CHANGE","Id":"u1","Pass":"p","Type":"X"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p", "OnStart X 0 0"));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kOpen));
}

TEST_F(DispatchTest, FailedLogInIsAnsweredAndKeepsTheConnection) {
  Link link = Connect();
  Find(link)->mSessionId = "left over";
  CapturedStdout console;
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"wrong"})");
  EXPECT_EQ(
      "Command=HELLO json={\"Command\":\"HELLO\",\"Id\":\"u1\",\"Pass\":\"wrong\"}\n"
      " sid= dname= id=134217728 out={\"Command\":\"ERROR\",\"Message\":\"認証失敗\","
      "\"Status\":\"Authentication\"}\n",
      console.Text());
  EXPECT_THAT(link.station.Messages(), ElementsAre(kAuthError));
  ASSERT_NE(nullptr, Find(link));
  EXPECT_FALSE(Find(link)->mAuth);
  EXPECT_EQ("", Str(Find(link)->mSessionId));
  EXPECT_THAT(DueIn(0x8000000), ElementsAre(10000));
}

TEST_F(DispatchTest, AStationMayTryAgainAfterAFailedLogIn) {
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"wrong"})");
  Tell(link, kHello);
  EXPECT_THAT(link.station.Messages(), ElementsAre(kAuthError, kOpen));
}

TEST_F(DispatchTest, HelloWithoutIdAsksNobodyAndFails) {
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Pass":"p"})");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(link.station.Messages(), ElementsAre(kAuthError));
}

TEST_F(DispatchTest, AnEmptyIdIsAskedFor) {
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Id":"","Pass":"p"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth  p"));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kAuthError));
}

TEST_F(DispatchTest, ChangeWithoutIdFailsAsHelloDoes) {
  Offer("a", "unused");
  Link link = Connect();
  Tell(link, R"({"Command":"CHANGE","DialogName":"a"})");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(link.station.Messages(), ElementsAre(kAuthError));
}

TEST_F(DispatchTest, LogInWithoutPassPassesAnEmptyOne) {
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Id":"u1"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 "));
}

TEST_F(DispatchTest, AnAuthenticatedConnectionIsNotAskedToLogInAgain) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"HELLO","Id":"u2","Pass":"p","Type":"T"})");
  EXPECT_THAT(Calls(), ElementsAre("OnStart T 0 0"));
  EXPECT_EQ("S1", Str(Find(link)->mSessionId));
}

TEST_F(DispatchTest, AHostThatAuthenticatesWithAnEmptyIdEndsTheConnectionTimeout) {
  Link link = Connect();
  app.auth = [](const KZString&, const KZString&, VQClientSocket* client) {
    client->Authentication("");
  };
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"p"})");
  EXPECT_THAT(link.station.Messages(), ElementsAre(kAuthError));
  EXPECT_THAT(DueIn(0x8000000), IsEmpty());
}

// Session ids

TEST_F(DispatchTest, AnySessionsIdReattachesTheConnection) {
  app.CreateSession("S1", 60000);
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","SessionId":"S1","Type":"T"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuthCheck S1", "OnStart T 0 0"));
  EXPECT_EQ("S1", Str(Find(link)->mSessionId));
  EXPECT_THAT(DueIn(0x8000000), IsEmpty());
}

TEST_F(DispatchTest, AnyCommandMayCarryTheSessionId) {
  app.CreateSession("S1", 60000);
  Link link = Connect();
  Tell(link, R"({"Command":"NOTHING","SessionId":"S1"})");
  EXPECT_TRUE(Find(link)->mAuth);
  EXPECT_THAT(link.station.Messages(), IsEmpty());
}

TEST_F(DispatchTest, AnEntryWithoutACommandMayCarryTheSessionIdForThoseBehindIt) {
  app.CreateSession("S1", 60000);
  Link link = Connect();
  Tell(link, R"({"Commands":[{"SessionId":"S1"},{"Command":"HELLO","Type":"T"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuthCheck S1", "OnStart T 0 0"));
}

TEST_F(DispatchTest, AnEmptySessionIdIsOneThatNobodyHas) {
  Link link = Connect();
  Tell(link, R"({"Command":"NOTHING","SessionId":""})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuthCheck "));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kSessionError));
  EXPECT_TRUE(link.station.IsClosed());
}

TEST_F(DispatchTest, ReattachingAndEnteringADialogTakeOneCommand) {
  app.CreateSession("S1", 60000);
  Offer("d", "unused");
  Link link = Connect();
  Tell(link, R"({"Command":"CHANGE","SessionId":"S1","DialogName":"d"})");
  EXPECT_THAT(Calls(),
              ElementsAre("OnAuthCheck S1", "CreateDialog d", "OnInit d", "OnChange d S1"));
}

TEST_F(DispatchTest, WhoHasAGoodSessionIdIsNotAskedForIdAndPass) {
  app.CreateSession("S1", 60000);
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","SessionId":"S1","Id":"u2","Pass":"wrong","Type":"T"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuthCheck S1", "OnStart T 0 0"));
  EXPECT_EQ("S1", Str(Find(link)->mSessionId));
}

TEST_F(DispatchTest, AnAuthenticatedConnectionsSessionIdIsNotLookedAt) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"NOTHING","SessionId":"bad"})");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ("S1", Str(Find(link)->mSessionId));
}

TEST_F(DispatchTest, AnUnknownSessionIdIsAnsweredAndTheConnectionClosed) {
  Link link = Connect();
  CapturedStdout console;
  Tell(link, R"({"Command":"NOTHING","SessionId":"bad"})");
  EXPECT_EQ(
      "Command=NOTHING json={\"Command\":\"NOTHING\",\"SessionId\":\"bad\"}\n"
      " sid= dname= id=134217728 out={\"Command\":\"ERROR\","
      "\"Message\":\"無効なセッションです。\",\"Status\":\"InvalidSessionId\"}\n"
      "socket delete\n",
      console.Text());
  EXPECT_THAT(link.station.Messages(), ElementsAre(kSessionError));
  EXPECT_TRUE(link.station.IsClosed());
  EXPECT_EQ(0U, Connections());
}

TEST_F(DispatchTest, AHelloWithAnUnknownSessionIdIsStillProcessedAfterTheClose) {
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","SessionId":"bad","Id":"u1","Pass":"p","Type":"T"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuthCheck bad", "OnAuth u1 p", "OnStart T 0 0"));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kSessionError));
  EXPECT_TRUE(link.station.IsClosed());
}

TEST_F(DispatchTest, ANumericSessionIdIsCheckedAsItsText) {
  app.CreateSession("5", 0);
  Link link = Connect();
  Tell(link, R"({"Command":"NOTHING","SessionId":5})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuthCheck 5"));
  EXPECT_TRUE(Find(link)->mAuth);
}

// It names the shared tree, and every dialog that loads one creates a session of that id: it would
// be a password that everybody knows.
TEST_F(DispatchTest, TheSharedTreesSessionIdIsNoLogIn) {
  app.CreateSession("SessionIdShared", 0);
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","SessionId":"SessionIdShared"})");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(kSessionError, link.station.Messages().at(0));
  EXPECT_TRUE(link.station.IsClosed());
  EXPECT_EQ(0U, Connections());
  EXPECT_THAT(DueIn(0x8000000), IsEmpty());  // As with any other id that is none.
}

TEST_F(DispatchTest, NothingMoreOfTheMessageIsExecutedOnceTheConnectionIsClosed) {
  app.CreateSession("S1", 0);
  Link link = Connect();
  Tell(link, R"({"Commands":[{"Command":"A","SessionId":"bad"},{"Command":"B","SessionId":"S1"},)"
             R"({"Command":"HELLO","Id":"u1","Pass":"p"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuthCheck bad"));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kSessionError));
}

TEST_F(DispatchTest, NoFurtherMessageIsExecutedOnceTheConnectionIsClosed) {
  Link link = Connect();
  link.station.SendRaw("\x02{\"Command\":\"A\",\"SessionId\":\"bad\"}\x03" +
                       ("\x02" + std::string(kHello) + "\x03"));
  Pass(3);
  EXPECT_THAT(Calls(), ElementsAre("OnAuthCheck bad"));
}

// Dialogs

TEST_F(DispatchTest, LogInWithADialogNameEntersTheDialogInsteadOfStarting) {
  Offer("d", "unused");
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"p","DialogName":"d"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p", "CreateDialog d", "OnInit d", "OnChange d S-u1"));
  EXPECT_EQ("d", Str(Find(link)->mDialogName));
  EXPECT_THAT(link.station.Messages(), IsEmpty());
}

TEST_F(DispatchTest, ADialogSwitchTellsTheOldDialogBeforeTheNewOneIsMade) {
  Offer("a", "unused");
  Offer("b", "unused");
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"CHANGE","DialogName":"a"})");
  Calls().clear();
  std::string shown;
  Dialog("a")->changeBefore = [&](HookedDialog&, VQClientSocket* client, VQJsonCommand* command) {
    shown = Str(client->mDialogName) + ">" + Str(command->GetValue("DialogName").GetString());
  };
  Tell(link, R"({"Command":"CHANGE","DialogName":"b"})");
  EXPECT_THAT(Calls(),
              ElementsAre("OnChangeBefore a S1", "CreateDialog b", "OnInit b", "OnChange b S1"));
  EXPECT_EQ("a>b", shown);
}

TEST_F(DispatchTest, TheNewNameIsSetWhenOnChangeRuns) {
  std::string shown;
  Offer("a", "unused", [&](HookedDialog& dialog) {
    dialog.change = [&](HookedDialog&, VQClientSocket* client, VQJsonCommand*) {
      shown = Str(client->mDialogName);
    };
  });
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"CHANGE","DialogName":"a"})");
  EXPECT_EQ("a", shown);
}

TEST_F(DispatchTest, TheOldNameIsStillSetWhileTheNewDialogIsMade) {
  std::string shown;
  Link link = LoggedIn("S1", "old");
  Offer("a", "unused", [&](HookedDialog& dialog) {
    dialog.init = [&](HookedDialog&) { shown = Str(Find(link)->mDialogName); };
  });
  Tell(link, R"({"Command":"CHANGE","DialogName":"a"})");
  EXPECT_EQ("old", shown);
  EXPECT_EQ("a", Str(Find(link)->mDialogName));
}

TEST_F(DispatchTest, EnteringTheSameDialogAgainLeavesAndEntersIt) {
  Offer("a", "unused");
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"CHANGE","DialogName":"a"})");
  Calls().clear();
  Tell(link, R"({"Command":"CHANGE","DialogName":"a"})");
  EXPECT_THAT(Calls(), ElementsAre("OnChangeBefore a S1", "OnChange a S1"));
}

TEST_F(DispatchTest, AnUnknownDialogIsLoggedAndTheOldOneStays) {
  Offer("a", "unused");
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"CHANGE","DialogName":"a"})");
  Calls().clear();
  CapturedStdout console;
  Tell(link, R"({"Command":"CHANGE","DialogName":"zz"})");
  EXPECT_EQ(
      "Command=CHANGE json={\"Command\":\"CHANGE\",\"DialogName\":\"zz\"}\n"
      "認識されていないダイアログ名です。(zz)\n",
      console.Text());
  EXPECT_THAT(Calls(), ElementsAre("OnChangeBefore a S1", "CreateDialog zz"));
  EXPECT_EQ("a", Str(Find(link)->mDialogName));
  EXPECT_THAT(link.station.Messages(), IsEmpty());
}

TEST_F(DispatchTest, AnEmptyDialogNameIsANameAndStartsNobody) {
  Offer("a", "unused");
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"CHANGE","DialogName":"a"})");
  Calls().clear();
  CapturedStdout console;
  Tell(link, R"({"Command":"CHANGE","DialogName":""})");
  EXPECT_THAT(console.Text(), testing::EndsWith("\n認識されていないダイアログ名です。()\n"));
  EXPECT_THAT(Calls(), ElementsAre("OnChangeBefore a S1", "CreateDialog "));
  EXPECT_EQ("a", Str(Find(link)->mDialogName));
  EXPECT_THAT(link.station.Messages(), IsEmpty());
}

TEST_F(DispatchTest, TheMakerIsAskedAgainForANameThatItRefused) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"CHANGE","DialogName":"late"})");
  EXPECT_EQ("", Str(Find(link)->mDialogName));
  Offer("late", "unused");
  Tell(link, R"({"Command":"CHANGE","DialogName":"late"})");
  EXPECT_THAT(Calls(), ElementsAre("CreateDialog late", "CreateDialog late", "OnInit late",
                                   "OnChange late S1"));
}

TEST_F(DispatchTest, HelloEntersADialogAfterTheLogInToo) {
  Offer("a", "unused");
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"p","DialogName":"a"})");
  EXPECT_THAT(Calls(), ElementsAre("CreateDialog a", "OnInit a", "OnChange a S1"));
}

TEST_F(DispatchTest, AFailedLogInEntersNoDialog) {
  Offer("a", "unused");
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"x","DialogName":"a"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 x"));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kAuthError));
}

// All other commands

TEST_F(DispatchTest, OtherCommandsBeforeLogInAreLoggedAndIgnored) {
  Offer("a", "unused");
  Link link = Connect();
  CapturedStdout console;
  for (const char* name : {"KEEPALIVE", "GETFILE", "CONDITION", "ANY"}) {
    Tell(link, std::string(R"({"Command":")") + name + R"("})");
  }
  EXPECT_EQ(
      "Command=GETFILE json={\"Command\":\"GETFILE\"}\n"
      "Command=CONDITION json={\"Command\":\"CONDITION\"}\n"
      "Command=ANY json={\"Command\":\"ANY\"}\n",
      console.Text());
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(link.station.Messages(), IsEmpty());
}

struct Extension {
  const char* name;
  const char* command;
  bool extends;
};

TEST_F(DispatchTest, WhichCommandsExtendTheSession) {
  const Extension table[] = {
      {"keep-alive", R"({"Command":"KEEPALIVE"})", true},
      {"file", R"({"Command":"GETFILE"})", true},
      {"condition", R"({"Command":"CONDITION"})", true},
      {"unknown", R"({"Command":"ANY"})", true},
      {"lower case is unknown", R"({"Command":"hello"})", true},
      {"empty", R"({"Command":""})", true},
      {"no command at all", R"({"Commands":[{"Name":"b1"}]})", true},
      {"a dialog", R"({"Command":"DIALOG"})", true},
      {"start", R"({"Command":"HELLO"})", false},
      {"change", R"({"Command":"CHANGE","DialogName":"zz"})", false},
  };
  app.CreateSession("S1", 30000);
  Link link = LoggedIn("S1");
  for (const Extension& row : table) {
    app.SessionList()->Search("S1")->Extend();
    mClock.AdvanceMs(1000);
    Tell(link, row.command);
    EXPECT_THAT(DueIn(0xD000000), ElementsAre(row.extends ? 30000 : 29000)) << row.name;
  }
}

TEST_F(DispatchTest, ACommandWithoutSessionIsCarriedOut) {
  Offer("a", "unused");
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"CHANGE","DialogName":"a"})");
  app.SessionList()->Remove("S1");
  Calls().clear();
  Tell(link, R"({"Command":"CONDITION"})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition a S1"));
}

TEST_F(DispatchTest, KeepaliveIsNotLoggedAndCancelsTheAnswerTimer) {
  Link link = LoggedIn("S1");
  app.SetApplicationSingleTimerInterval(10000, 0x8000002);
  CapturedStdout console;
  Tell(link, R"({"Command":"KEEPALIVE"})");
  EXPECT_EQ("", console.Text());
  EXPECT_THAT(DueIn(0x8000002), IsEmpty());
  EXPECT_THAT(link.station.Messages(), IsEmpty());
}

TEST_F(DispatchTest, OtherCommandsLeaveTheAnswerTimerRunning) {
  Link link = LoggedIn("S1");
  app.SetApplicationSingleTimerInterval(10000, 0x8000002);
  Tell(link, R"({"Command":"ANY"})");
  EXPECT_THAT(DueIn(0x8000002), ElementsAre(10000));
}

// CONDITION

class ConditionTest : public DispatchTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    Offer("a", "unused");
    mLink = LoggedIn("S1");
    Tell(mLink, R"({"Command":"CHANGE","DialogName":"a"})");
    Calls().clear();
  }

  Link mLink;
};

TEST_F(ConditionTest, TouchesTheNamedObjectOfTheCommand) {
  VQJsonObject* touched = nullptr;
  std::string value;
  Dialog("a")->touch = [&](HookedDialog&, VQClientSocket* client, VQJsonObject* object, KZString) {
    touched = object;
    value = Str(object->GetValue("Value").GetString());
    EXPECT_EQ(Find(mLink), client);
  };
  Tell(mLink,
       R"({"Command":"CONDITION","ActionName":"b2","ActionType":"CLICK","Objects":[)"
       R"({"Name":"b1"},{"Name":"g","Type":"GROUP","Objects":[{"Name":"b2","Value":"ON"}]}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition a S1", "OnTouch a b2 CLICK"));
  EXPECT_NE(nullptr, touched);
  EXPECT_EQ("ON", value);
}

TEST_F(ConditionTest, WithoutTheNamedObjectOnlyTheConditionIsReported) {
  Tell(mLink, R"({"Command":"CONDITION","ActionName":"zz","Objects":[{"Name":"b1"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition a S1"));
}

TEST_F(ConditionTest, TheSearchBeginsAtTheCommandItself) {
  Tell(mLink, R"({"Command":"CONDITION","ActionName":"CONDITION","ActionType":"T"})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition a S1", "OnTouch a CONDITION T"));
  Calls().clear();
  Tell(mLink, R"({"Command":"CONDITION","Name":"me","ActionName":"me"})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition a S1", "OnTouch a me "));
}

TEST_F(ConditionTest, WithoutAnActionNameAnObjectWithoutNameIsMeant) {
  Tell(mLink, R"({"Command":"CONDITION","Objects":[{"Name":"b1"},{"Value":1}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition a S1", "OnTouch a  "));
}

TEST_F(ConditionTest, TheActionIsTheOneThatOnConditionLeaves) {
  Dialog("a")->condition = [](HookedDialog&, VQClientSocket*, VQJsonCommand* command) {
    command->SetValue("ActionName", VQValue("b2"), 0, "");
    command->SetValue("ActionType", VQValue("LONG"), 0, "");
  };
  Tell(mLink, R"({"Command":"CONDITION","ActionName":"b1","ActionType":"CLICK","Objects":[)"
              R"({"Name":"b1"},{"Name":"b2"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition a S1", "OnTouch a b2 LONG"));
}

TEST_F(ConditionTest, TheDialogThatHadTheConditionHasTheTouchToo) {
  Offer("b", "unused");
  app.CreateDialog("b");
  Calls().clear();
  Dialog("a")->condition = [](HookedDialog&, VQClientSocket* client, VQJsonCommand*) {
    client->mDialogName = "b";
  };
  Tell(mLink, R"({"Command":"CONDITION","ActionName":"b1","Objects":[{"Name":"b1"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition a S1", "OnTouch a b1 "));
}

TEST_F(ConditionTest, TheSessionIsExtendedBeforeTheHooksRun) {
  app.CreateSession("S5", 30000);
  Link link = LoggedIn("S5", "a");
  const unsigned int timer = app.SessionList()->Search("S5")->mTimerId;
  std::vector<long long> due;
  Dialog("a")->condition = [&](HookedDialog&, VQClientSocket*, VQJsonCommand*) {
    due = DueIn(timer);
  };
  Wait(20000);
  Tell(link, R"({"Command":"CONDITION"})");
  EXPECT_THAT(due, ElementsAre(30000));
}

TEST_F(ConditionTest, WithoutADialogItIsLogged) {
  Link fresh = LoggedIn("S2", "gone");
  CapturedStdout console;
  Tell(fresh, R"({"Command":"CONDITION"})");
  EXPECT_EQ(
      "Command=CONDITION json={\"Command\":\"CONDITION\"}\n"
      "ダイアログが見つかりませんでした。[gone]\n",
      console.Text());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ConditionTest, BeforeAnyDialogItIsLoggedWithAnEmptyName) {
  Link fresh = LoggedIn("S2");
  CapturedStdout console;
  Tell(fresh, R"({"Command":"CONDITION"})");
  EXPECT_THAT(console.Text(), testing::EndsWith("\nダイアログが見つかりませんでした。[]\n"));
}

// Several commands, and the trace

TEST_F(DispatchTest, AllCommandsOfAMessageAreExecutedInOrder) {
  Offer("a", "unused");
  Link link = Connect();
  Tell(link, R"({"Commands":[{"Command":"HELLO","Id":"u1","Pass":"p"},)"
             R"({"Command":"CHANGE","DialogName":"a"},{"Command":"CONDITION"},)"
             R"({"Command":"KEEPALIVE"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p", "OnStart  0 0", "CreateDialog a", "OnInit a",
                                   "OnChange a S-u1", "OnCondition a S-u1"));
}

TEST_F(DispatchTest, DoCommandReturnsOneWhateverTheText) {
  Link link = Connect();
  for (const char* text : {"", "nonsense", "{}", R"({"Command":"A"})", R"({"Commands":[]})"}) {
    EXPECT_EQ(1, Find(link)->DoCommand(text)) << text;
  }
}

TEST_F(DispatchTest, TheTraceNeverTakesStationTextForAFormat) {
  Link link = Connect();
  CapturedStdout console;
  Tell(link, R"({"Command":"%s%n%x"})");
  EXPECT_EQ("Command=%s%n%x json={\"Command\":\"%s%n%x\"}\n", console.Text());
}

TEST_F(DispatchTest, TheTraceShowsTheWholeCommandWithItsObjects) {
  Link link = Connect();
  CapturedStdout console;
  Tell(link, R"( { "Z":true, "Command":"A", "Objects":[{"Name":"n","V":[1,"x"]}] } )");
  EXPECT_EQ(
      "Command=A json={\"Command\":\"A\",\"Z\":true,\"Objects\":[{\"Name\":\"n\",\"V\":[1,\"x\"]}]}\n",
      console.Text());
}

}  // namespace
