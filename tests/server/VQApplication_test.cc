#include "dorn/server/VQApplication.h"

#include <libgen.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <optional>
#include <type_traits>

#include "dorn/server/App.h"
#include "dorn/server/ApplicationState.h"
#include "tests/server/ServerTest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/VirtualSlot.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VQApplicationTest : public ServerTest {};

// Layout

TEST_F(VQApplicationTest, KeepsTheSlotOrderThatHostsDeriveFrom) {
  EXPECT_EQ(2, VirtualSlot(&VQApplication::AppMain));
  EXPECT_EQ(3, VirtualSlot(&VQApplication::ApplicationTimer));
  EXPECT_EQ(4, VirtualSlot(&VQApplication::DialogTimer));
  EXPECT_EQ(5, VirtualSlot(&VQApplication::GetFdDataList));
  EXPECT_EQ(6, VirtualSlot(&VQApplication::OnInit));
  EXPECT_EQ(7, VirtualSlot(&VQApplication::OnAuth));
  EXPECT_EQ(8, VirtualSlot(&VQApplication::OnAuthCheck));
  EXPECT_EQ(9, VirtualSlot(&VQApplication::OnStart));
  EXPECT_EQ(10, VirtualSlot(&VQApplication::OnTimer));
}

TEST_F(VQApplicationTest, HasNoOtherVirtualOperations) {
  EXPECT_EQ(-1, VirtualSlot(&VQApplication::Initialize));
  EXPECT_EQ(-1, VirtualSlot(&VQApplication::MakeSocketId));
  EXPECT_EQ(-1, VirtualSlot(&VQApplication::MakeSessionTimerId));
  EXPECT_EQ(-1, VirtualSlot(&VQApplication::CreateDialog));
  EXPECT_EQ(-1, VirtualSlot(&VQApplication::CreateSession));
  EXPECT_EQ(-1, VirtualSlot(&VQApplication::SendDataList));
  EXPECT_EQ(-1, VirtualSlot(&VQApplication::GetSocket));
  EXPECT_EQ(-1, VirtualSlot(&VQApplication::IsListening));
  EXPECT_EQ(-1, VirtualSlot(&VQApplication::SetLogStream));
}

TEST_F(VQApplicationTest, HooksReturnWhatHostsOverrideThemWith) {
  static_assert(std::is_abstract_v<VQApplication>);
  static_assert(std::is_same_v<decltype(&VQApplication::OnInit), int (VQApplication::*)()>);
  static_assert(
      std::is_same_v<decltype(&VQApplication::OnAuth),
                     void (VQApplication::*)(const KZString&, const KZString&, VQClientSocket*)>);
  static_assert(std::is_same_v<decltype(&VQApplication::OnAuthCheck),
                               bool (VQApplication::*)(const KZString&, VQClientSocket*)>);
  static_assert(std::is_same_v<decltype(&VQApplication::OnStart),
                               void (VQApplication::*)(VQClientSocket*, KZString&, int, int)>);
  static_assert(std::is_same_v<decltype(&VQApplication::OnTimer),
                               void (VQApplication::*)(timeval, unsigned int)>);
}

TEST_F(VQApplicationTest, KeepsItsMembersInOrderBehindThoseOfItsBase) {
  // The first member is the reference to the maker, which has no address of its own.
  EXPECT_GE(MemberAddress(app.mStationSocket), MemberAddress(static_cast<KZApplication&>(app)) +
                                                   sizeof(KZApplication) + sizeof(void*));
  EXPECT_TRUE(AreInOrder({MemberAddress(app.mStationSocket), MemberAddress(app.mDialogList),
                          MemberAddress(app.mSessionList), MemberAddress(app.mLog),
                          MemberAddress(app.mSocketId), MemberAddress(app.mSessionTimerId)}));
  EXPECT_EQ(static_cast<const VQDialogMaker*>(&maker), &app.mDialogMaker);
}

TEST_F(VQApplicationTest, StartsWithEmptyRegistriesAndTheFirstIds) {
  TestMaker otherMaker;
  TestApp other(otherMaker);
  EXPECT_EQ(0x8000000U, other.mSocketId);
  EXPECT_EQ(0xD000000U, other.mSessionTimerId);
  EXPECT_EQ(&otherMaker, &other.mDialogMaker);
  EXPECT_TRUE(other.DialogList()->mDialogList.empty());
  EXPECT_TRUE(other.SessionList()->mSessionList.empty());
  EXPECT_EQ(&other.mDialogList, other.DialogList());
  EXPECT_EQ(&other.mSessionList, other.SessionList());
  EXPECT_EQ(&other.mLog, other.mStationSocket.mStream);
  EXPECT_EQ(&other.mFdList, other.mStationSocket.KZFdData::GetFdDataList());
  EXPECT_FALSE(other.IsListening());
}

// The library asks the application that was constructed first, which is the global one.
TEST_F(VQApplicationTest, ASecondApplicationObjectDoesNotReplaceTheGlobalOne) {
  TestMaker otherMaker;
  TestApp other(otherMaker);
  app.CreateSession("S1", 60000);
  EXPECT_EQ(0xD000001U, app.mSessionTimerId);
  EXPECT_EQ(0xD000000U, other.mSessionTimerId);
  EXPECT_TRUE(other.CreateSession("S2", 60000));  // Its session still takes `app`'s number.
  EXPECT_EQ(0xD000002U, app.mSessionTimerId);
  EXPECT_EQ(0xD000000U, other.mSessionTimerId);
  other.SessionList()->Remove("S2");
}

TEST_F(VQApplicationTest, TheGlobalOneIsStillAskedAfterASecondOneIsGone) {
  {
    TestMaker otherMaker;
    TestApp other(otherMaker);
  }
  app.CreateSession("S1", 60000);
  EXPECT_EQ(0xD000001U, app.mSessionTimerId);
}

TEST_F(VQApplicationTest, NothingIsRememberedOfOneThatIsGone) {
  std::optional<TestApp> other;
  other.emplace(maker);
  const VQApplication& place = *other;
  EXPECT_NE(nullptr, dorn::FindState(place));
  other.reset();
  EXPECT_EQ(nullptr, dorn::FindState(place));
}

// What was printed until then is not lost.
TEST_F(VQApplicationTest, WithoutAnyTheLibrarySaysSoAndEndsTheProcess) {
  const ChildResult child = RunChild([] {
    dup2(STDOUT_FILENO, STDERR_FILENO);
    app.~TestApp();
    std::fputs("printed before", stdout);
    static_cast<void>(dorn::App());
    return 0;
  });
  EXPECT_EQ(SIGABRT, child.mSignal);
  EXPECT_EQ(
      "dorn: there is no application object; define one before using the library\n"
      "printed before",
      child.mOutput);
}

// Ids

TEST_F(VQApplicationTest, SocketIdsAdvanceByTenAndArePrinted) {
  CapturedStdout console;
  EXPECT_EQ(0x8000000U, app.MakeSocketId());
  EXPECT_EQ(0x800000AU, app.MakeSocketId());
  EXPECT_EQ(0x8000014U, app.MakeSocketId());
  EXPECT_EQ(
      "VQApplication::MakeSocketId = 8000000\n"
      "VQApplication::MakeSocketId = 800000a\n"
      "VQApplication::MakeSocketId = 8000014\n",
      console.Text());
}

TEST_F(VQApplicationTest, SessionTimerIdsAdvanceByOneAndArePrinted) {
  CapturedStdout console;
  EXPECT_EQ(0xD000000U, app.MakeSessionTimerId());
  EXPECT_EQ(0xD000001U, app.MakeSessionTimerId());
  EXPECT_EQ(
      "VQApplication::MakeSessionTimerId = d000000\n"
      "VQApplication::MakeSessionTimerId = d000001\n",
      console.Text());
}

TEST_F(VQApplicationTest, ConnectionsTakeTheirIdsInTheOrderOfAcceptance) {
  EXPECT_EQ(0x8000000, Connect().id);
  EXPECT_EQ(0x800000A, Connect().id);
}

// Past its range a connection would not be found any more, and its time-out would be taken for
// somebody's session.
TEST_F(VQApplicationTest, SocketIdsStartAgainBeforeTheyLeaveTheirRange) {
  app.mSocketId = 0xCFFFFF6;
  Link last = Connect();
  Link wrapped = Connect();
  ASSERT_NE(nullptr, Find(0xCFFFFF6));
  EXPECT_THAT(DueIn(0xCFFFFF6), ElementsAre(10000));
  EXPECT_NE(nullptr, Find(0x8000000));
  EXPECT_THAT(DueIn(0x8000000), ElementsAre(10000));
  EXPECT_EQ(2U, Connections());
}

TEST_F(VQApplicationTest, AWrappedSocketIdSkipsThoseInUse) {
  Link first = Connect();
  app.mSocketId = 0xD000000;
  Link second = Connect();
  EXPECT_NE(nullptr, Find(0x8000000));
  EXPECT_NE(nullptr, Find(0x800000A));
}

TEST_F(VQApplicationTest, AWrappedSocketIdSkipsThatOfAConnectionWithoutTimers) {
  Link first = LoggedIn("S1");
  app.ResetTimer();
  app.mSocketId = 0xD000000;
  Link second = Connect();
  EXPECT_NE(nullptr, Find(0x800000A));
  EXPECT_EQ(2U, Connections());
}

TEST_F(VQApplicationTest, AWrappedSocketIdSkipsThoseWithPendingTimers) {
  app.SetApplicationSingleTimerInterval(1000, 0x8000001);  // A dead connection's idle timer.
  app.mSocketId = 0xD000000;
  Link link = Connect();
  EXPECT_EQ(nullptr, Find(0x8000000));
  EXPECT_NE(nullptr, Find(0x800000A));
}

TEST_F(VQApplicationTest, AWrappedSocketIdTakesOneBelowATimerOfTheNext) {
  app.SetApplicationSingleTimerInterval(1000, 0x800000A);
  app.mSocketId = 0xD000000;
  Link link = Connect();
  EXPECT_NE(nullptr, Find(0x8000000));
}

TEST_F(VQApplicationTest, SessionTimerIdsStartAgainBeforeTheyLeaveTheirRange) {
  app.mSessionTimerId = 0xFFFFFFF;
  app.CreateSession("S1", 1000);
  app.CreateSession("S2", 1000);
  EXPECT_EQ(0xFFFFFFFU, app.SessionList()->Search("S1")->mTimerId);
  EXPECT_EQ(0xD000000U, app.SessionList()->Search("S2")->mTimerId);
}

TEST_F(VQApplicationTest, AWrappedSessionTimerIdSkipsThoseInUse) {
  app.CreateSession("S1", 1000);
  app.mSessionTimerId = 0x10000000;
  app.CreateSession("S2", 1000);
  EXPECT_EQ(0xD000001U, app.SessionList()->Search("S2")->mTimerId);
}

TEST_F(VQApplicationTest, AWrappedSessionTimerIdSkipsThatOfASessionWithoutATimer) {
  auto& sessions = app.SessionList()->mSessionList;
  sessions[KZString("A")] = nullptr;  // As a host may leave it.
  app.CreateSession("S1", 0);
  app.mSessionTimerId = 0x10000000;
  app.CreateSession("S2", 0);
  EXPECT_EQ(0xD000001U, app.SessionList()->Search("S2")->mTimerId);
  sessions.erase(KZString("A"));
}

// Dialogs and sessions

TEST_F(VQApplicationTest, CreateDialogAsksTheMakerAndKeepsTheResult) {
  Offer("a", "unused");
  VQDialog* dialog = app.CreateDialog("a");
  ASSERT_NE(nullptr, dialog);
  EXPECT_EQ(dialog, app.DialogList()->Search("a"));
  EXPECT_THAT(Calls(), ElementsAre("CreateDialog a", "OnInit a"));
}

TEST_F(VQApplicationTest, CreateDialogDoesNotKeepANullResult) {
  EXPECT_EQ(nullptr, app.CreateDialog("zz"));
  EXPECT_FALSE(app.DialogList()->Has("zz"));
}

TEST_F(VQApplicationTest, CreateSessionTwiceLeavesTheFirstOneUntouched) {
  EXPECT_TRUE(app.CreateSession("S1", 30000));
  const VQSession* first = app.SessionList()->Search("S1");
  mClock.AdvanceMs(1000);
  CapturedStdout console;
  EXPECT_FALSE(app.CreateSession("S1", 5000));
  EXPECT_EQ("", console.Text());
  EXPECT_EQ(first, app.SessionList()->Search("S1"));
  EXPECT_EQ(30000, first->mInterval);
  EXPECT_THAT(DueIn(0xD000000), ElementsAre(29000));
}

TEST_F(VQApplicationTest, AuthCheckOfAKnownSessionAuthenticates) {
  app.CreateSession("S1", 0);
  Link link = Connect();
  EXPECT_TRUE(app.VQApplication::OnAuthCheck("S1", Find(link)));
  EXPECT_TRUE(Find(link)->mAuth);
  EXPECT_EQ("S1", Str(Find(link)->mSessionId));
  EXPECT_THAT(DueIn(0x8000000), IsEmpty());
}

TEST_F(VQApplicationTest, AuthCheckOfAnUnknownSessionRevokes) {
  Link link = LoggedIn("S1");
  EXPECT_FALSE(app.VQApplication::OnAuthCheck("zz", Find(link)));
  EXPECT_FALSE(Find(link)->mAuth);
  EXPECT_EQ("", Str(Find(link)->mSessionId));
}

TEST_F(VQApplicationTest, DefaultStartGreetsAndOpensTheTopDialog) {
  Link link = LoggedIn("S1");
  KZString type("PC");
  CapturedStdout console;
  app.VQApplication::OnStart(Find(link), type, 7, 8);
  EXPECT_EQ(
      "HELLO PC,7,8\n"
      " sid=S1 dname= id=134217728 out={\"Command\":\"OPEN\",\"File\":\"Top.json\","
      "\"FileSource\":\"STATION\",\"SessionId\":\"S1\"}\n",
      console.Text());
}

// Walks

struct SocketLookup {
  unsigned int id;
  int kind;
  int connection;  // Id of the record that is found; 0 for none.
};

TEST_F(VQApplicationTest, GetSocketMapsTimerIdsToConnections) {
  Link a = Connect(), b = Connect();
  const SocketLookup table[] = {
      {0x8000000, 0, 0x8000000}, {0x8000001, 1, 0x8000000}, {0x8000002, 2, 0x8000000},
      {0x8000009, 9, 0x8000000}, {0x800000A, 0, 0x800000A}, {0x8000013, 9, 0x800000A},
      {0x8000014, 0, 0},         {0x8000015, 0, 0},         {0x7FFFFFF, 0, 0},
      {0xCFFFFFF, 0, 0},         {0xD000000, 0, 0},         {0, 0, 0},
      {0xFFFFFFFF, 0, 0},
  };
  for (const SocketLookup& row : table) {
    VQClientSocket* client = Find(a);
    EXPECT_EQ(row.kind, app.GetSocket(row.id, &client)) << std::hex << row.id;
    EXPECT_EQ(row.connection, client == nullptr ? 0 : client->GetId()) << std::hex << row.id;
  }
}

TEST_F(VQApplicationTest, SendDataListSendsToTheMatchingConnections) {
  Link a = LoggedIn("S1", "top"), b = LoggedIn("S2", "top"), c = LoggedIn("S1", "sub");
  CapturedStdout console;
  app.SendDataList("S1", "top", "x");
  EXPECT_EQ(
      "SendDataList loop S1,top\n"
      " sid=S1 dname=top id=134217728 out=x\n"
      "SendDataList loop S2,top\n"
      "SendDataList loop S1,sub\n",
      console.Text());
  EXPECT_EQ("\x02x\x03", a.station.Bytes());
  EXPECT_EQ("", b.station.Bytes());
  EXPECT_EQ("", c.station.Bytes());
}

TEST_F(VQApplicationTest, SendDataListToTheSharedSessionReachesEverySession) {
  Link a = LoggedIn("S1", "top"), b = LoggedIn("S2", "top"), c = LoggedIn("S1", "sub");
  app.SendDataList("SessionIdShared", "top", "x");
  EXPECT_THAT(a.station.Messages(), ElementsAre("x"));
  EXPECT_THAT(b.station.Messages(), ElementsAre("x"));
  EXPECT_THAT(c.station.Messages(), IsEmpty());
}

TEST_F(VQApplicationTest, SendDataListToTheEmptySessionReachesConnectionsWithoutOne) {
  Link a = LoggedIn("S1", "top"), b = Connect();
  app.SendDataList("", "", "x");
  EXPECT_THAT(a.station.Messages(), IsEmpty());
  EXPECT_THAT(b.station.Messages(), ElementsAre("x"));
}

TEST_F(VQApplicationTest, SendDataListToEverybodyReachesUnauthenticatedConnectionsToo) {
  Link a = LoggedIn("S1", "top"), b = Connect();
  app.SendDataList("SessionIdShared", "", "x");
  EXPECT_THAT(a.station.Messages(), ElementsAre("x"));
  EXPECT_THAT(b.station.Messages(), ElementsAre("x"));
}

TEST_F(VQApplicationTest, SendDataListSkipsConnectionsThatAreClosed) {
  Link a = LoggedIn("S1"), b = LoggedIn("S2");
  Find(a)->Close();
  CapturedStdout console;
  app.SendDataList("SessionIdShared", "", "x");
  EXPECT_EQ("SendDataList loop S2,\n sid=S2 dname= id=134217738 out=x\n", console.Text());
}

// A host's own record may carry any id.
TEST_F(VQApplicationTest, WalksSkipForeignRecordsInTheConnectionRange) {
  KZFdData foreign(2, -1, 0x8001000, app.GetFdDataList());
  foreign.AddEvent();
  Pass();
  Link a = LoggedIn("S1");
  app.SendDataList("SessionIdShared", "", "x");
  app.RemoveSocketBySession("S9");
  VQClientSocket* client = nullptr;
  EXPECT_EQ(0, app.GetSocket(0x8001000, &client));
  EXPECT_EQ(nullptr, client);
  EXPECT_THAT(a.station.Messages(), ElementsAre("x"));
  foreign.RemoveEvent();
  Pass();
}

TEST_F(VQApplicationTest, RemoveSocketBySessionClosesTheFirstConnectionOfTheSession) {
  Link a = LoggedIn("S1"), b = LoggedIn("S2"), c = LoggedIn("S2");
  VQClientSocket* closed = Find(b);
  app.RemoveSocketBySession("S2");
  EXPECT_EQ(nullptr, Find(b));
  EXPECT_FALSE(closed->mAuth);
  EXPECT_EQ("", Str(closed->mSessionId));
  EXPECT_NE(nullptr, Find(a));
  EXPECT_NE(nullptr, Find(c));
  app.RemoveSocketBySession("S2");
  EXPECT_EQ(nullptr, Find(c));
  app.RemoveSocketBySession("S2");
  EXPECT_NE(nullptr, Find(a));
}

TEST_F(VQApplicationTest, RemoveSocketBySessionMeansExactlyThatId) {
  Link a = LoggedIn("S1");
  app.RemoveSocketBySession("SessionIdShared");
  EXPECT_NE(nullptr, Find(a));
}

TEST_F(VQApplicationTest, RemoveSocketBySessionTakesAConnectionWithoutSessionForTheEmptyId) {
  Link a = LoggedIn("S1"), b = Connect(), c = Connect();
  app.RemoveSocketBySession("");
  EXPECT_NE(nullptr, Find(a));
  EXPECT_EQ(nullptr, Find(b));
  EXPECT_NE(nullptr, Find(c));
}

TEST_F(VQApplicationTest, RemoveSocketBySessionTakesTheSessionBeforeItCloses) {
  struct Sink : KZStream {
    int Output(char* text) override {
      if (std::string(text) == "切断しました\n") atClose = client->GetSessionId();
      return 0;
    }
    VQClientSocket* client = nullptr;
    std::string atClose = "not closed";
  } sink;
  app.SetLogStream(&sink);
  Link link = LoggedIn("S1");
  sink.client = Find(link);
  app.RemoveSocketBySession("S1");
  EXPECT_EQ("", sink.atClose);
  Pass();
  app.SetLogStream(&app.mLog);
}

// Module directory

TEST_F(VQApplicationTest, ModuleDirectoryIsThatOfTheExecutable) {
  char path[PATH_MAX] = "";
  ASSERT_GT(readlink("/proc/self/exe", path, sizeof path - 1), 0);
  EXPECT_STREQ(dirname(path), app.GetModuleDirectory());
}

TEST_F(VQApplicationTest, ModuleDirectoryIsTheSameTextOnEveryCall) {
  const char* first = app.GetModuleDirectory();
  const std::string text = first;
  EXPECT_EQ(first, app.GetModuleDirectory());
  EXPECT_EQ(text, app.GetModuleDirectory());
}

// Names that stay below the folder of resources

struct InsideCase {
  std::string name;
  bool inside;
};

TEST_F(VQApplicationTest, NamesThatClimbAboveTheResourcesAreOutside) {
  const InsideCase table[] = {
      {"top.json", true},
      {"sub/top.json", true},
      {"a/../b", true},
      {"a/b/../../c", true},
      {"./a", true},
      {"a//b", true},
      {"..a", true},
      {"a../b", true},
      {"...", true},
      {"/etc/passwd", true},
      {"..", false},
      {"../a", false},
      {"a/../../b", false},
      {"./../a", false},
      {"a//../../b", false},
      {"/..", false},
      {"/../a", false},
      {"a/b/../../..", false},
      {std::string("a\0b", 3), false},
      {std::string(400000, 'a'), true},
  };
  for (const InsideCase& row : table) {
    EXPECT_EQ(row.inside, VQApplication::IsInsideResources(KZString(row.name)))
        << row.name.substr(0, 50);
  }
}

TEST_F(VQApplicationTest, DialogFileNamesAreJudgedAfterTheirSignsAreReplaced) {
  const InsideCase table[] = {
      {"top.json", true},     {"sub@top.json", true}, {"a@..@b", true},
      {"..@top.json", false}, {"@..", false},         {"a@..@..@b", false},
      {"../b", false},        {".@.@b", true},        {std::string("a\0b", 3), false},
  };
  for (const InsideCase& row : table) {
    EXPECT_EQ(row.inside, VQDialog::IsInsideResources(KZString(row.name))) << row.name;
  }
}

}  // namespace
