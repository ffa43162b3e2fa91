#include "dorn/server/VQClientSocket.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <new>
#include <utility>

#include "dorn/server/Connections.h"
#include "tests/server/ServerTest.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/VirtualSlot.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VQClientSocketTest : public ServerTest {};

// Such an id is one of the host's own, or a session's timer.
TEST_F(VQClientSocketTest, IsNoStationsWithAnIdOutsideTheirRange) {
  Link link = LoggedIn("S1");
  VQClientSocket* client = Find(link);
  for (const int id : {42, 0x7FFFFFF, 0xD000000}) {
    client->SetId(id);
    EXPECT_EQ(nullptr, dorn::FindConnectionOf("S1")) << id;
  }
  for (const int id : {0x8000000, 0xCFFFFFF}) {
    client->SetId(id);
    EXPECT_EQ(client, dorn::FindConnectionOf("S1")) << id;
  }
}

// Layout

TEST_F(VQClientSocketTest, KeepsTheSlotOrderThatHostsDeriveFrom) {
  EXPECT_EQ(2, VirtualSlot<void (VQClientSocket::*)()>(&VQClientSocket::ReadyToRead));
  EXPECT_EQ(3, VirtualSlot<void (VQClientSocket::*)()>(&VQClientSocket::ReadyToWrite));
  EXPECT_EQ(4, VirtualSlot<int (VQClientSocket::*)()>(&VQClientSocket::OnReceive));
  EXPECT_EQ(5, VirtualSlot<int (VQClientSocket::*)(int, int)>(&VQClientSocket::OnNotice));
  EXPECT_EQ(6, VirtualSlot<int (VQClientSocket::*)(const void*, int)>(&VQClientSocket::Send));
  EXPECT_EQ(7, VirtualSlot<void (VQClientSocket::*)()>(&VQClientSocket::OnOpen));
  EXPECT_EQ(8, VirtualSlot<void (VQClientSocket::*)()>(&VQClientSocket::OnClose));
  EXPECT_EQ(9, VirtualSlot<void (VQClientSocket::*)()>(&VQClientSocket::OnListen));
  EXPECT_EQ(10, VirtualSlot<void (VQClientSocket::*)()>(&VQClientSocket::OnConnect));
  EXPECT_EQ(11, VirtualSlot<void (VQClientSocket::*)(int, sockaddr*, unsigned int*)>(
                    &VQClientSocket::OnAccept));
  EXPECT_EQ(12, VirtualSlot<int (VQClientSocket::*)(sockaddr*, unsigned int)>(
                    &VQClientSocket::OnReceive));
  EXPECT_EQ(13, VirtualSlot<void (VQClientSocket::*)(timeval)>(&VQClientSocket::OnTimeout));
  EXPECT_EQ(14, VirtualSlot<int (VQClientSocket::*)(const KZString&)>(&VQClientSocket::SendData));
}

TEST_F(VQClientSocketTest, HasNoOtherVirtualOperations) {
  EXPECT_EQ(-1, VirtualSlot(&VQClientSocket::GetSessionId));
  EXPECT_EQ(-1, VirtualSlot(&VQClientSocket::CompareSessionId));
  EXPECT_EQ(-1, VirtualSlot(&VQClientSocket::CompareDialogName));
  EXPECT_EQ(-1, VirtualSlot(&VQClientSocket::Authentication));
  EXPECT_EQ(-1, VirtualSlot(&VQClientSocket::DoCommand));
  EXPECT_EQ(-1, VirtualSlot(&VQClientSocket::OnGetfile));
  EXPECT_EQ(-1, VirtualSlot<int (VQClientSocket::*)()>(&VQClientSocket::Close));
}

TEST_F(VQClientSocketTest, KeepsItsMembersInOrderBehindThoseOfItsBase) {
  Link link = Connect();
  const VQClientSocket& client = *Find(link);
  EXPECT_EQ(MemberAddress(client) + sizeof(KZClientSocket), MemberAddress(client.mDialogName));
  EXPECT_TRUE(AreInOrder({MemberAddress(client.mDialogName), MemberAddress(client.mSessionId),
                          MemberAddress(client.mAuth), MemberAddress(client.mStream)}));
}

// As hosts have them compiled in.
TEST_F(VQClientSocketTest, KeepsItsMembersWhereTheyAre) {
  Link link = Connect();
  const VQClientSocket& client = *Find(link);
  const auto offset = [&](const auto& member) {
    return MemberAddress(member) - MemberAddress(client);
  };
  EXPECT_EQ(208, offset(client.mDialogName));
  EXPECT_EQ(248, offset(client.mSessionId));
  EXPECT_EQ(288, offset(client.mAuth));
  EXPECT_EQ(296, offset(client.mStream));
  EXPECT_EQ(360U, sizeof(VQClientSocket));
}

// Construction and destruction

TEST_F(VQClientSocketTest, StartsUnauthenticatedWithEmptyTextsAndTheNextSocketId) {
  KZStream stream;
  app.mSocketId = 0x8000046;
  CapturedStdout console;
  VQClientSocket client(&stream, app.GetFdDataList());
  EXPECT_EQ("VQApplication::MakeSocketId = 8000046\n", console.Text());
  EXPECT_EQ(0x8000046, client.GetId());
  EXPECT_EQ(0x8000050U, app.mSocketId);
  EXPECT_EQ("", Str(client.mDialogName));
  EXPECT_EQ("", Str(client.mSessionId));
  EXPECT_FALSE(client.mAuth);
  EXPECT_EQ(&stream, client.mStream);
  EXPECT_EQ(3, client.GetType());
  EXPECT_EQ(0, client.GetFDStatus());
  EXPECT_EQ(app.GetFdDataList(), client.KZFdData::GetFdDataList());
  EXPECT_EQ(1024, client.Log().GetSize());
  EXPECT_EQ(&stream, client.Log().GetStream());
}

TEST_F(VQClientSocketTest, SaysOnTheConsoleThatItIsDeleted) {
  auto* client = new VQClientSocket(&app.mLog, app.GetFdDataList());
  CapturedStdout console;
  delete client;
  EXPECT_EQ("socket delete\n", console.Text());
}

TEST_F(VQClientSocketTest, ARecordThatLiesWhereOneLayIsNone) {
  static_assert(sizeof(KZFdData) <= sizeof(VQClientSocket));
  alignas(VQClientSocket) unsigned char place[sizeof(VQClientSocket)];
  auto* client = new (place) VQClientSocket(&app.mLog, app.GetFdDataList());
  const int id = client->GetId();
  EXPECT_EQ(client, dorn::AsConnection(client));
  client->~VQClientSocket();
  auto* record = new (place) KZFdData(2, -1, id, app.GetFdDataList());
  EXPECT_EQ(nullptr, dorn::AsConnection(record));
  record->~KZFdData();
}

TEST_F(VQClientSocketTest, ClosingLogsToTheSinkAndDestroysTheRecordInTheNextPass) {
  Link link = Connect();
  VQClientSocket* client = Find(link);
  {
    CapturedStdout console;
    EXPECT_EQ(0, client->Close());
    EXPECT_EQ("", console.Text());
  }
  EXPECT_EQ(-1, client->GetFD());
  EXPECT_EQ(4, client->GetFDStatus());
  EXPECT_EQ(-1, client->Close());
  CapturedStdout console;
  Pass();
  EXPECT_EQ("socket delete\n", console.Text());
  EXPECT_EQ(0U, Connections());
  EXPECT_TRUE(link.station.IsClosed());
}

TEST_F(VQClientSocketTest, ClosingEndsNeitherTheSessionNorTellsTheDialog) {
  Offer("d", "unused");
  app.CreateDialog("d");
  Link link = LoggedIn("S1", "d");
  Calls().clear();
  link.station.Close();
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_TRUE(app.SessionList()->Has("S1"));
  EXPECT_NE(nullptr, Dialog("d"));
}

// Comparisons and authentication

TEST_F(VQClientSocketTest, SharedSessionIdMatchesEveryConnection) {
  Link link = Connect();
  EXPECT_TRUE(Find(link)->CompareSessionId("SessionIdShared"));
  Find(link)->mSessionId = "S1";
  EXPECT_TRUE(Find(link)->CompareSessionId("SessionIdShared"));
  EXPECT_TRUE(Find(link)->CompareSessionId("S1"));
  EXPECT_FALSE(Find(link)->CompareSessionId("S2"));
  EXPECT_FALSE(Find(link)->CompareSessionId(""));
  EXPECT_FALSE(Find(link)->CompareSessionId("s1"));
}

TEST_F(VQClientSocketTest, EmptySessionIdMatchesAConnectionWithoutSession) {
  Link link = Connect();
  EXPECT_TRUE(Find(link)->CompareSessionId(""));
  EXPECT_FALSE(Find(link)->CompareSessionId("S1"));
}

TEST_F(VQClientSocketTest, EmptyDialogNameMatchesEveryConnection) {
  Link link = Connect();
  EXPECT_TRUE(Find(link)->CompareDialogName(""));
  EXPECT_FALSE(Find(link)->CompareDialogName("top"));
  Find(link)->mDialogName = "top";
  EXPECT_TRUE(Find(link)->CompareDialogName(""));
  EXPECT_TRUE(Find(link)->CompareDialogName("top"));
  EXPECT_FALSE(Find(link)->CompareDialogName("Top"));
}

TEST_F(VQClientSocketTest, AuthenticationStoresTheSessionAndCancelsTheConnectionTimeout) {
  Link link = Connect();
  const auto timer = static_cast<unsigned int>(link.id);
  ASSERT_THAT(DueIn(timer), ElementsAre(10000));
  Find(link)->Authentication("S1");
  EXPECT_TRUE(Find(link)->mAuth);
  EXPECT_EQ("S1", Str(Find(link)->GetSessionId()));
  EXPECT_THAT(DueIn(timer), IsEmpty());
}

TEST_F(VQClientSocketTest, AuthenticationAgainChangesTheSession) {
  Link link = LoggedIn("S1");
  Find(link)->Authentication("S2");
  EXPECT_TRUE(Find(link)->mAuth);
  EXPECT_EQ("S2", Str(Find(link)->GetSessionId()));
}

TEST_F(VQClientSocketTest, AuthenticationWithAnEmptyIdRevokesAndStillCancelsTheTimeout) {
  Link link = Connect();
  Find(link)->Authentication("");
  EXPECT_FALSE(Find(link)->mAuth);
  EXPECT_THAT(DueIn(static_cast<unsigned int>(link.id)), IsEmpty());
  Find(link)->Authentication("S1");
  Find(link)->Authentication("");
  EXPECT_FALSE(Find(link)->mAuth);
  EXPECT_EQ("", Str(Find(link)->GetSessionId()));
}

TEST_F(VQClientSocketTest, SessionIdIsReachableByReference) {
  Link link = Connect();
  EXPECT_EQ(&Find(link)->mSessionId, &Find(link)->GetSessionId());
}

// SendData

TEST_F(VQClientSocketTest, SendDataFramesTheTextAndTracesIt) {
  Link link = LoggedIn("S1", "top");
  CapturedStdout console;
  EXPECT_EQ(7, Find(link)->SendData("hello"));
  EXPECT_EQ(" sid=S1 dname=top id=134217728 out=hello\n", console.Text());
  EXPECT_EQ("\x02hello\x03", link.station.Bytes());
}

TEST_F(VQClientSocketTest, SendDataTracesAnUnauthenticatedConnectionWithEmptyNames) {
  app.mSocketId = 0x8000064;
  Link link = Connect();
  CapturedStdout console;
  EXPECT_EQ(2, Find(link)->SendData(""));
  EXPECT_EQ(" sid= dname= id=134217828 out=\n", console.Text());
  EXPECT_EQ("\x02\x03", link.station.Bytes());
}

TEST_F(VQClientSocketTest, SendDataNeverTakesTheTextForAFormat) {
  Link link = Connect();
  CapturedStdout console;
  EXPECT_EQ(10, Find(link)->SendData("%s%n%d%%"));
  EXPECT_EQ(" sid= dname= id=134217728 out=%s%n%d%%\n", console.Text());
  EXPECT_EQ("\x02%s%n%d%%\x03", link.station.Bytes());
}

TEST_F(VQClientSocketTest, SendDataReportsAWriteThatFails) {
  Link link = Connect();
  VQClientSocket* client = Find(link);
  link.station.Close();
  CapturedStdout console;
  EXPECT_EQ(-1, client->SendData("lost"));
  EXPECT_EQ(" sid= dname= id=134217728 out=lost\n", console.Text());
}

TEST_F(VQClientSocketTest, SendDataOnAClosedConnectionReturnsMinusOne) {
  Link link = Connect();
  VQClientSocket* client = Find(link);
  client->Close();
  EXPECT_EQ(-1, client->SendData("lost"));
  EXPECT_EQ("", link.station.Bytes());
}

// A station that puts a frame byte into a value must not be able to forge a message to another.
TEST_F(VQClientSocketTest, SendDataReplacesFrameBytesAndZeroInsideTheText) {
  Link link = Connect();
  const std::string forged("a\x03\x02{}\x03z\0y", 9);
  EXPECT_EQ(11, Find(link)->SendData(KZString(forged)));
  EXPECT_EQ(
      "\x02"
      "a  {} z y"
      "\x03",
      link.station.Bytes());
}

TEST_F(VQClientSocketTest, AForgedFrameIsFoundAnywhereInAText) {
  Link link = Connect();
  for (const char forged : {'\0', '\x02', '\x03'}) {
    for (std::size_t at = 0; at < 70; ++at) {
      std::string text(70, '\x7f');
      text[at] = forged;
      std::string sent = text;
      sent[at] = ' ';
      text[69 - at] = sent[69 - at] = '\x01';
      Find(link)->SendData(KZString(text));
      EXPECT_EQ("\x02" + sent + "\x03", link.station.Take(72));
    }
  }
}

// Send, as the library and hosts call it for bytes without a frame

TEST_F(VQClientSocketTest, ASingleByteLinesUpBehindWhatIsQueued) {
  Link link = LoggedIn("S1");
  const std::string text(3000000, 'x');
  Find(link)->SendData(KZString(text));
  EXPECT_EQ(1, Find(link)->Send("y", 1));
  const std::string expected = "\x02" + text + "\x03y";
  EXPECT_TRUE(RunUntil([&] { return link.station.Bytes().size() >= expected.size(); }));
  EXPECT_TRUE(expected == link.station.Bytes());
}

TEST_F(VQClientSocketTest, BytesThatCannotBeQueuedAnyMoreCloseTheConnection) {
  Link link = LoggedIn("S1");
  VQClientSocket* client = Find(link);
  const std::string bytes(1 << 20, 'x');
  const int length = static_cast<int>(bytes.size());
  client->SendData(KZString(bytes));
  int result = length;
  for (int i = 0; i < 20 && result == length; ++i) result = client->Send(bytes.data(), length);
  EXPECT_EQ(-1, result);
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(VQClientSocketTest, WhatReceivingAndCommandsReturnIsAlwaysTheSame) {
  Link link = LoggedIn("S1");
  EXPECT_EQ(0, Find(link)->OnReceive(nullptr, 0));
  EXPECT_EQ(1, Find(link)->DoCommand("{}"));
  EXPECT_EQ(1, Find(link)->DoCommand("nonsense"));
}

// Opened by the host

TEST_F(VQClientSocketTest, OneThatTheHostOpensIsActiveOnceItIsConnected) {
  TcpAcceptor acceptor;
  auto* client = new VQClientSocket(&app.mLog, app.GetFdDataList());
  const int fd = client->Open("127.0.0.1", acceptor.Port(), 3000);
  EXPECT_EQ(fd, client->GetFD());
  const TcpPeer server = acceptor.Accept();
  EXPECT_TRUE(RunUntil([client] { return client->GetFDStatus() == KZFdData::kStatusActive; }));
  EXPECT_EQ(client, Find(client->GetId()));
}

// The end of what a station sends

TEST_F(VQClientSocketTest, OneThatFinishedSendingIsWrittenToWhenItIsReady) {
  Link link = LoggedIn("S1");
  Find(link)->SendData(KZString(std::string(3000000, 'x')));
  ASSERT_EQ(0, shutdown(link.station.Fd(), SHUT_WR));
  ASSERT_TRUE(RunUntil([&] { return Find(link)->GetFDStatus() == KZFdData::kStatusOpen; }));
  const std::size_t before = link.station.Bytes().size();
  Find(link)->ReadyToWrite();
  EXPECT_GT(link.station.Bytes().size(), before);
  EXPECT_NE(nullptr, Find(link));
}

TEST_F(VQClientSocketTest, AMessageAfterTheBufferWasClearedIsRead) {
  Link link = Connect();
  Feed(link, "\x02" + std::string(500, 'x'));
  Find(link)->ClearData();
  // As many bytes as before, which are not searched behind them alone.
  std::string bytes = "\x02{\"Command\":\"HELLO\",\"Id\":\"a\"}\x03\x02";
  bytes.resize(501, 'x');
  EXPECT_TRUE(Find(link)->SetDataToBuffer(bytes.data(), static_cast<int>(bytes.size())));
  Pass();
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a "));
}

// Timers

TEST_F(VQClientSocketTest, IdleTimerStartsWithTheFirstBytesAndNotBefore) {
  Link link = Connect();
  EXPECT_THAT(DueIn(static_cast<unsigned int>(link.id) + 1), IsEmpty());
  link.station.SendRaw("x");
  Pass(2);
  EXPECT_THAT(DueIn(static_cast<unsigned int>(link.id) + 1), ElementsAre(180000));
}

TEST_F(VQClientSocketTest, EveryReceiveRearmsTheIdleTimerWhateverTheBytes) {
  Link link = Connect();
  const auto timer = static_cast<unsigned int>(link.id) + 1;
  for (const char* bytes : {"x", "\x02{\"Comm", "and\":\"A\"}\x03", "\x03", "\x02"}) {
    mClock.AdvanceMs(1000);
    link.station.SendRaw(bytes);
    Pass(2);
    EXPECT_THAT(DueIn(timer), ElementsAre(180000)) << bytes;
  }
}

// The 10 ms poll of a partial message is no sign of life of the station: otherwise a line that dies
// in mid-message would never be asked for a KEEPALIVE.
TEST_F(VQClientSocketTest, RepeatedDispatchOfAPartialMessageDoesNotRearmTheIdleTimer) {
  Link link = Connect();
  const auto timer = static_cast<unsigned int>(link.id) + 1;
  link.station.SendRaw("\x02{");
  Pass(2);
  mClock.AdvanceMs(1000);
  Pass(20);
  EXPECT_THAT(DueIn(timer), ElementsAre(179000));
  link.station.SendRaw("\"");
  Pass(2);
  EXPECT_THAT(DueIn(timer), ElementsAre(180000));
}

TEST_F(VQClientSocketTest, APartialMessageIsPolledEveryTenMillisecondsAndNotMoreOften) {
  Link link = Connect();
  app.ResetTimer();
  link.station.SendRaw("\x02{");
  Pass(3);
  const auto start = std::chrono::steady_clock::now();
  int passes = 0;
  while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(100)) {
    app.RunPass();
    ++passes;
  }
  EXPECT_GE(passes, 1);
  EXPECT_LE(passes, 15);  // A spinning loop makes tens of thousands.
}

TEST_F(VQClientSocketTest, IdleTimerOutlivesItsConnection) {
  Link link = Connect();
  link.station.SendRaw("x");
  Pass(2);
  link.station.Close();
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_THAT(DueIn(0x8000001), ElementsAre(180000));
  Calls().clear();
  Wait(180000);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app 134217728", "OnTimer app 134217729"));
}

// An object that is used again

class UsedAgainTest : public VQClientSocketTest {
 protected:
  // The object of a logged-in station, which has just been closed, with another station.
  void UseAgain() {
    mOld = LoggedIn("S1", "top");
    mClient = Find(mOld);
    Tell(mOld, "{}");
    mClient->Close();
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
    mClient->Create(pair[0], 3000);
    mNew.station = Station(pair[1]);
    mNew.id = mOld.id;
    Pass();
    ASSERT_EQ(mClient, Find(mNew));
  }

  Link mOld;
  Link mNew;
  VQClientSocket* mClient = nullptr;
};

TEST_F(UsedAgainTest, ItsNextStationIsNotLoggedIn) {
  UseAgain();
  EXPECT_FALSE(mClient->mAuth);
  EXPECT_EQ("", Str(mClient->mSessionId));
  EXPECT_EQ("", Str(mClient->mDialogName));
}

TEST_F(UsedAgainTest, TheTimersOfItsLastStationAreCancelled) {
  UseAgain();
  for (unsigned int kind = 0; kind < 3; ++kind) {
    EXPECT_TRUE(DueIn(static_cast<unsigned int>(mNew.id) + kind).empty()) << kind;
  }
}

TEST_F(UsedAgainTest, OpenedByTheHostItIsANewOneToo) {
  const TcpAcceptor acceptor;
  mOld = LoggedIn("S1", "top");
  mClient = Find(mOld);
  Tell(mOld, "{}");
  mClient->Close();
  const int fd = mClient->Open("127.0.0.1", acceptor.Port(), 3000);
  EXPECT_GE(fd, 0);
  EXPECT_EQ(fd, mClient->GetFD());
  EXPECT_FALSE(mClient->mAuth);
  EXPECT_EQ("", Str(mClient->mSessionId));
  EXPECT_EQ("", Str(mClient->mDialogName));
  for (unsigned int kind = 0; kind < 3; ++kind) {
    EXPECT_TRUE(DueIn(static_cast<unsigned int>(mOld.id) + kind).empty()) << kind;
  }
  Pass();
}

TEST_F(UsedAgainTest, AClosedOneStillKnowsWhatItWas) {
  Link link = LoggedIn("S1", "top");
  VQClientSocket* client = Find(link);
  client->Close();
  EXPECT_TRUE(client->mAuth);
  EXPECT_EQ("S1", Str(client->mSessionId));
  EXPECT_EQ("top", Str(client->mDialogName));
}

TEST_F(UsedAgainTest, AFreshOneKeepsWhatItWasGiven) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  const Station station(pair[1]);
  auto* client = new VQClientSocket(&app.mLog, app.GetFdDataList());
  client->Authentication("S1");
  client->mDialogName = "top";
  client->Create(pair[0], 3000);
  Pass();
  EXPECT_TRUE(client->mAuth);
  EXPECT_EQ("S1", Str(client->mSessionId));
  EXPECT_EQ("top", Str(client->mDialogName));
}

class ReopeningClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  void OnClose() override {
    VQClientSocket::OnClose();
    if (mNext >= 0) Create(std::exchange(mNext, -1), 3000);
  }
  int mNext = -1;
};

// A connection that another class made is known by its address alone.
TEST_F(UsedAgainTest, ARecordThatLiesWhereOneLayIsNone) {
  void* const place = operator new(std::max(sizeof(VQStationSocket), sizeof(ReopeningClient)));
  auto* client = new (place) ReopeningClient(&app.mLog, app.GetFdDataList());
  const int id = client->GetId();
  EXPECT_EQ(client, dorn::AsConnection(client));
  client->~ReopeningClient();
  auto* record = new (place) VQStationSocket(&app.mLog, app.GetFdDataList());
  record->SetId(id);
  EXPECT_EQ(nullptr, dorn::AsConnection(record));
  record->~VQStationSocket();
  operator delete(place);
}

// A host's OnClose() need not call the library's.
class KeepingClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  void OnClose() override {}
};

TEST_F(UsedAgainTest, ItsNextStationGetsNothingOfWhatItsLastOneDidNotTake) {
  int first[2], second[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, first));
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, second));
  const Station old(first[1]);
  Station next(second[1]);
  auto* client = new KeepingClient(&app.mLog, app.GetFdDataList());
  client->Create(first[0], 3000);
  Pass();
  {
    const CapturedStdout console;
    client->SendData(KZString(std::string(2 << 20, 'x')));
  }
  client->Close();
  client->Create(second[0], 3000);
  Pass(2);
  EXPECT_EQ(3, client->SendData("y"));
  Pass(2);
  EXPECT_EQ("\x02y\x03", next.Bytes());
}

// As a host may that has nothing to wait for.
class PlainlyReadingClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  void ReadyToRead() override { KZClientSocket::ReadyToRead(); }
};

// What was searched was its last station's.
TEST_F(UsedAgainTest, AMessageOfItsNextStationIsFoundHoweverShortItIs) {
  int first[2], second[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, first));
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, second));
  Station old(first[1]), next(second[1]);
  auto* client = new PlainlyReadingClient(&app.mLog, app.GetFdDataList());
  client->Create(first[0], 3000);
  Pass();
  old.SendRaw("\x02" + std::string(100, ' '));
  Pass(2);
  ASSERT_EQ(101, client->GetDataLength());
  client->Close();
  client->Create(second[0], 3000);
  Pass();
  next.Send(R"({"Command":"HELLO","Id":"a"})");
  Pass(2);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a "));
}

// What its last station has sent is not executed for the next one.
TEST_F(UsedAgainTest, CommandsBehindTheOneThatClosedAreNotExecutedForTheNextStation) {
  int first[2], second[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, first));
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, second));
  auto* client = new ReopeningClient(&app.mLog, app.GetFdDataList());
  client->Create(first[0], 3000);
  client->mNext = second[0];
  Station old(first[1]), next(second[1]);
  Pass();
  app.auth = [](const KZString&, const KZString&, VQClientSocket* station) { station->Close(); };
  old.SendRaw(
      "\x02{\"Commands\":[{\"Command\":\"HELLO\",\"Id\":\"a\"},"
      "{\"Command\":\"HELLO\",\"Id\":\"b\"}]}\x03"
      "\x02{\"Command\":\"HELLO\",\"Id\":\"c\"}\x03");
  Pass(3);
  EXPECT_THAT(Calls(), testing::ElementsAre("OnAuth a "));
  app.auth = nullptr;
}

}  // namespace
