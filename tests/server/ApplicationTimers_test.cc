// Which timer reaches whom: dialogs, connections, sessions, the host.
#include "tests/server/LeavingClient.h"
#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ApplicationTimersTest : public ServerTest {};

TEST_F(ApplicationTimersTest, DialogTimersReachTheNamedDialog) {
  Offer("a", "unused");
  app.CreateDialog("a");
  Calls().clear();
  app.SetTimerData(50, 7, "a", 0);
  app.SetTimerData(60, 8, "unknown", 0);
  Wait(100);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer a 7"));
}

TEST_F(ApplicationTimersTest, TimersOutsideTheRangesAreTheHosts) {
  Link link = Connect();
  app.ResetTimer();
  for (const unsigned int id : {0U, 1U, 0x7FFFFFFU, 0x10000000U, 0xFFFFFFFFU}) {
    app.SetApplicationSingleTimerInterval(1, id);
    Wait(1);
  }
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app 0", "OnTimer app 1", "OnTimer app 134217727",
                                   "OnTimer app 268435456", "OnTimer app 4294967295"));
}

TEST_F(ApplicationTimersTest, TimersOfConnectionsThatAreGoneAreTheHosts) {
  app.ApplicationTimer(timeval{}, 0x8000001);
  app.ApplicationTimer(timeval{}, 0xCFFFFFF);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app 134217729", "OnTimer app 218103807"));
}

TEST_F(ApplicationTimersTest, ConnectionTimeoutClosesTheConnection) {
  Link link = Connect();
  Wait(9999);
  EXPECT_NE(nullptr, Find(link));
  CapturedStdout console;
  Wait(1);
  EXPECT_EQ("コネクションタイムアウト\nsocket delete\n", console.Text());
  EXPECT_EQ(0U, Connections());
  EXPECT_TRUE(link.station.IsClosed());
  EXPECT_THAT(Calls(), IsEmpty());
}

// A host may set it again, or have it fire by hand.
TEST_F(ApplicationTimersTest, ConnectionTimeoutClosesWhoeverIsLoggedInToo) {
  Link link = LoggedIn("S1");
  app.SetApplicationSingleTimerInterval(10, 0x8000000);
  Wait(10);
  EXPECT_EQ(nullptr, Find(link));
  Link stranger = Connect(), known = LoggedIn("S1");
  for (const Link* each : {&stranger, &known}) {
    app.ApplicationTimer(timeval{}, static_cast<unsigned int>(each->id));
    EXPECT_EQ(nullptr, Find(*each));
  }
}

TEST_F(ApplicationTimersTest, IdleConnectionIsAskedToAnswer) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"ANY"})");
  Wait(179999);
  EXPECT_THAT(link.station.Messages(), IsEmpty());
  CapturedStdout console;
  Wait(1);
  EXPECT_EQ(" sid=S1 dname= id=134217728 out={\"Command\":\"KEEPALIVE\"}\n", console.Text());
  EXPECT_THAT(link.station.Messages(), ElementsAre(R"({"Command":"KEEPALIVE"})"));
  EXPECT_THAT(DueIn(0x8000002), ElementsAre(10000));
  EXPECT_THAT(DueIn(0x8000001), IsEmpty());
}

TEST_F(ApplicationTimersTest, ASecondIdleTimeoutRearmsTheAnswerTimer) {
  Link link = LoggedIn("S1");
  app.ApplicationTimer(timeval{}, 0x8000001);
  mClock.AdvanceMs(4000);
  app.ApplicationTimer(timeval{}, 0x8000001);
  EXPECT_THAT(DueIn(0x8000002), ElementsAre(10000));
}

TEST_F(ApplicationTimersTest, ConnectionThatDoesNotAnswerIsClosed) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"ANY"})");
  Wait(180000);
  Wait(9999);
  EXPECT_NE(nullptr, Find(link));
  CapturedStdout console;
  Wait(1);
  EXPECT_EQ("KEEPALIVE応答タイムアウト\nsocket delete\n", console.Text());
  EXPECT_TRUE(link.station.IsClosed());
}

// Kept: the timer is set all the same, and the host hears of it.
TEST_F(ApplicationTimersTest, AConnectionThatEndsWithTheQuestionLeavesItsTimerToTheHost) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
  const Station station(pair[1]);
  auto* client = new LeavingClient(&app.mLog, app.GetFdDataList());
  const auto id = static_cast<unsigned int>(client->GetId());
  client->Create(pair[0], 3000);
  Pass();
  app.ApplicationTimer(timeval{}, id + 1);
  EXPECT_THAT(DueIn(id + 2), ElementsAre(10000));
  Pass();
  Wait(10000);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app " + std::to_string(id + 2)));
}

TEST_F(ApplicationTimersTest, WhoeverCameToTheConnectionMeanwhileOwesNoAnswer) {
  int pair[2], next[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, next));
  const Station stations[] = {Station(pair[1]), Station(next[1])};
  auto* client = new LeavingClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  client->mNext = next[0];
  Pass();
  app.ApplicationTimer(timeval{}, static_cast<unsigned int>(client->GetId()) + 1);
  Pass();
  Wait(10000);
  EXPECT_EQ(client, Find(client->GetId()));
}

TEST_F(ApplicationTimersTest, AnsweredConnectionLivesOn) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"ANY"})");
  for (int round = 0; round < 3; ++round) {
    Wait(180000);
    EXPECT_THAT(link.station.Messages(), ElementsAre(R"({"Command":"KEEPALIVE"})"));
    Wait(9999);
    Tell(link, R"({"Command":"KEEPALIVE"})");
  }
  Wait(10000);
  EXPECT_NE(nullptr, Find(link));
}

// Only the KEEPALIVE command is an answer.
TEST_F(ApplicationTimersTest, OtherCommandsDoNotAnswerTheKeepalive) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"ANY"})");
  Wait(180000);
  Tell(link, R"({"Command":"ANY"})");
  Wait(10000);
  EXPECT_EQ(nullptr, Find(link));
}

// Only while an answer is due. A host may set the timer without a question.
TEST_F(ApplicationTimersTest, QueuedBytesThatGoOutPutNothingOffForWhomNobodyWaits) {
  Link answered = LoggedIn("S1"), next = LoggedIn("S2");
  for (const Link* link : {&answered, &next}) {
    app.ApplicationTimer(timeval{}, static_cast<unsigned int>(link->id) + 1);
  }
  Tell(answered, R"({"Command":"KEEPALIVE"})");
  Reopen(next);  // Its former station was asked.
  const std::string text(2 << 20, 'x');
  for (Link* link : {&answered, &next}) {
    link->station.Take(link->station.Bytes().size());
    {
      const CapturedStdout console;
      Find(*link)->SendData(KZString(text));
    }
    ASSERT_TRUE(RunUntil([&] { return link->station.Bytes().size() >= text.size() + 2; }));
    app.ApplicationTimer(timeval{}, static_cast<unsigned int>(link->id) + 2);
    EXPECT_EQ(nullptr, Find(*link));
  }
}

TEST_F(ApplicationTimersTest, TimersThreeToNineOfAConnectionDoNothing) {
  Link link = Connect();
  CapturedStdout console;
  for (unsigned int id = 0x8000003; id <= 0x8000009; ++id) app.ApplicationTimer(timeval{}, id);
  EXPECT_EQ("", console.Text());
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_NE(nullptr, Find(link));
}

// The first callback of a pass may close a connection whose own timer is due in the same pass.
TEST_F(ApplicationTimersTest, AClosedConnectionSwallowsItsOwnLastTimer) {
  Link link = Connect();
  app.SetApplicationSingleTimerInterval(5000, 99);
  app.timer = [&](unsigned int) {
    if (VQClientSocket* client = Find(link)) client->Close();
  };
  Wait(10000);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app 99"));
  EXPECT_EQ(0U, Connections());
}

TEST_F(ApplicationTimersTest, SessionTimerPrintsAndExpires) {
  app.CreateSession("S1", 1000);
  CapturedStdout console;
  Wait(1000);
  EXPECT_EQ(
      "セッション有効期限タイマー発生\n"
      "セッションの有効期限が切れました SessionID:S1\n"
      "Remove sessionid=S1\n",
      console.Text());
  EXPECT_FALSE(app.SessionList()->Has("S1"));
}

TEST_F(ApplicationTimersTest, UnknownTimersOfTheSessionRangeAreReportedAndNotTheHosts) {
  CapturedStdout console;
  app.ApplicationTimer(timeval{}, 0xD000000);
  app.ApplicationTimer(timeval{}, 0xFFFFFFF);
  EXPECT_EQ(
      "セッション有効期限タイマー発生\n"
      "エラー [セッション有効期限切れ処理] TimerId:d000000\n"
      "セッション有効期限タイマー発生\n"
      "エラー [セッション有効期限切れ処理] TimerId:fffffff\n",
      console.Text());
  EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
