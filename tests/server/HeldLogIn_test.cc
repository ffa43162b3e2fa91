// Log-ins that the host answers later.
#include "dorn/server/HeldLogIn.h"

#include <sys/socket.h>

#include <utility>

#include "dorn/server/Observer.h"
#include "tests/server/LeavingClient.h"
#include "tests/server/ServerTest.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr char kHello[] = R"({"Command":"HELLO","Id":"u1","Pass":"p"})";
constexpr char kRefused[] = R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})";

class HeldLogInTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    app.auth = [this](const KZString&, const KZString&, VQClientSocket*) {
      mHeld.push_back(dorn::HoldLogIn());
    };
  }
  void TearDown() override {
    app.auth = nullptr;
    app.SetLoginGuard(false);
    ServerTest::TearDown();
  }

  unsigned int Last() const { return mHeld.empty() ? 0 : mHeld.back(); }

  // What a host does when the answer has come.
  static bool LetIn(unsigned int held) {
    app.CreateSession("S1", 60000);
    if (VQClientSocket* client = dorn::ConnectionOfHeldLogIn(held)) client->Authentication("S1");
    return dorn::FinishLogIn(held);
  }

  std::vector<unsigned int> mHeld;
};

TEST_F(HeldLogInTest, IsNotAnsweredWhenTheHookReturns) {
  Link link = Connect();
  Tell(link, kHello);
  EXPECT_NE(0U, Last());
  EXPECT_EQ(Find(link), dorn::ConnectionOfHeldLogIn(Last()));
  Wait(5000);
  EXPECT_THAT(link.station.Messages(), IsEmpty());
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p"));
}

TEST_F(HeldLogInTest, GoesOnToTheStartPageWhenItIsGood) {
  Link link = Connect();
  Tell(link, kHello);
  EXPECT_TRUE(LetIn(Last()));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p", "OnStart  0 0"));
  EXPECT_THAT(link.station.Messages(), ElementsAre(HasSubstr(R"("SessionId":"S1")")));
}

TEST_F(HeldLogInTest, GoesOnToTheDialogThatTheStationAskedFor) {
  Shared("top", kTree);
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"p","DialogName":"top"})");
  EXPECT_TRUE(LetIn(Last()));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p", "OnChange top S1"));
}

TEST_F(HeldLogInTest, IsRefusedWhenNobodyHasAuthenticatedIt) {
  Link link = Connect();
  Tell(link, kHello);
  EXPECT_TRUE(dorn::FinishLogIn(Last()));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kRefused));
  Tell(link, kHello);
  EXPECT_TRUE(LetIn(Last()));
  EXPECT_TRUE(Find(link)->mAuth);
}

TEST_F(HeldLogInTest, IsFinishedOnce) {
  Link link = Connect();
  Tell(link, kHello);
  EXPECT_TRUE(LetIn(Last()));
  EXPECT_FALSE(dorn::FinishLogIn(Last()));
  EXPECT_EQ(nullptr, dorn::ConnectionOfHeldLogIn(Last()));
  EXPECT_THAT(link.station.Messages(), SizeIs(1));
}

TEST_F(HeldLogInTest, NumbersAreNotUsedAgain) {
  Link one = Connect();
  Tell(one, kHello);
  dorn::FinishLogIn(Last());
  Link two = Connect();
  Tell(two, kHello);
  ASSERT_THAT(mHeld, SizeIs(2));
  EXPECT_NE(mHeld[0], mHeld[1]);
  EXPECT_FALSE(dorn::FinishLogIn(0));
  EXPECT_FALSE(dorn::FinishLogIn(mHeld[1] + 1));
  EXPECT_EQ(Find(two), dorn::ConnectionOfHeldLogIn(mHeld[1]));
}

TEST_F(HeldLogInTest, WhatTheStationSendsBehindItWaitsInOrder) {
  Shared("top", kTree);
  Link link = Connect();
  Tell(link,
       R"({"Commands":[)" + std::string(kHello) + R"(,{"Command":"CHANGE","DialogName":"top"}]})");
  Tell(link, R"({"Command":"CONDITION","ActionName":"b1"})");
  Wait(1000);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p"));
  LetIn(Last());
  Pass(2);
  EXPECT_THAT(Calls(),
              ElementsAre("OnAuth u1 p", "OnStart  0 0", "OnChange top S1", "OnCondition top S1"));
}

TEST_F(HeldLogInTest, OthersAreServedMeanwhile) {
  Shared("top", kTree);
  Link link = Connect();
  Tell(link, kHello);
  Link other = LoggedIn("S9", "top");
  Calls().clear();
  Tell(other, R"({"Command":"CONDITION"})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S9"));
}

TEST_F(HeldLogInTest, SeveralWaitAndAreFinishedInAnyOrder) {
  Link one = Connect();
  Link two = Connect();
  Tell(one, kHello);
  Tell(two, kHello);
  ASSERT_THAT(mHeld, SizeIs(2));
  EXPECT_TRUE(LetIn(mHeld[1]));
  EXPECT_TRUE(Find(two)->mAuth);
  EXPECT_FALSE(Find(one)->mAuth);
  EXPECT_TRUE(dorn::FinishLogIn(mHeld[0]));
  EXPECT_THAT(one.station.Messages(), ElementsAre(kRefused));
}

TEST_F(HeldLogInTest, ASecondCallGivesTheSameNumber) {
  app.auth = [this](const KZString&, const KZString&, VQClientSocket*) {
    mHeld.push_back(dorn::HoldLogIn());
    mHeld.push_back(dorn::HoldLogIn());
  };
  Link link = Connect();
  Tell(link, kHello);
  ASSERT_THAT(mHeld, SizeIs(2));
  EXPECT_EQ(mHeld[0], mHeld[1]);
}

TEST_F(HeldLogInTest, NothingIsHeldOutsideTheHook) {
  EXPECT_EQ(0U, dorn::HoldLogIn());
  Link link = Connect();
  Tell(link, kHello);
  EXPECT_EQ(0U, dorn::HoldLogIn());
}

TEST_F(HeldLogInTest, NothingIsHeldForAStationThatIsIn) {
  app.auth = [this](const KZString&, const KZString&, VQClientSocket* client) {
    client->Authentication("S1");
    mHeld.push_back(dorn::HoldLogIn());
  };
  Link link = Connect();
  Tell(link, kHello);
  EXPECT_THAT(mHeld, ElementsAre(0U));
  EXPECT_THAT(link.station.Messages(), SizeIs(1));
}

TEST_F(HeldLogInTest, NothingIsHeldForAConnectionThatTheHookHasClosed) {
  app.auth = [this](const KZString&, const KZString&, VQClientSocket* client) {
    client->Close();
    mHeld.push_back(dorn::HoldLogIn());
  };
  Link link = Connect();
  Tell(link, kHello);
  EXPECT_THAT(mHeld, ElementsAre(0U));
}

// The two ends of a line to the next station of a connection.
std::pair<int, Station> NextLine() {
  int pair[2];
  EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
  return {pair[0], Station(pair[1])};
}

// Whoever finished it would let in a station that has not asked.
TEST_F(HeldLogInTest, NothingIsHeldForAStationThatCameToTheConnectionInTheHook) {
  auto [fd, next] = NextLine();
  app.auth = [this, fd = fd](const KZString&, const KZString&, VQClientSocket* client) {
    client->Close();
    client->Create(fd, 3000);
    mHeld.push_back(dorn::HoldLogIn());
  };
  Link link = Connect();
  Tell(link, kHello);
  EXPECT_THAT(mHeld, ElementsAre(0U));
  Pass();
  EXPECT_NE(nullptr, Find(link));
  EXPECT_THAT(next.Messages(), IsEmpty()) << "the former one's log-in has failed, not its own";
}

TEST_F(HeldLogInTest, WhoeverCameToTheConnectionWhenTheTimeWasOverStays) {
  auto [fd, station] = NextLine();
  auto [nextFd, next] = NextLine();
  auto* client = new LeavingClient(&app.mLog, app.GetFdDataList());
  client->Create(fd, 3000);
  Pass();
  Link link;
  link.station = std::move(station);
  link.id = client->GetId();
  Tell(link, kHello);
  EXPECT_NE(0U, Last());
  client->mNext = nextFd;
  Wait(10000);
  Pass();
  EXPECT_EQ(client, Find(client->GetId()));
  EXPECT_FALSE(next.IsClosed());
}

TEST_F(HeldLogInTest, TheHookItselfMayFinishIt) {
  app.auth = [this](const KZString&, const KZString&, VQClientSocket*) {
    mHeld.push_back(dorn::HoldLogIn());
    EXPECT_TRUE(LetIn(Last()));
    EXPECT_EQ(1U, Calls().size()) << "the greeting goes on behind the hook";
  };
  const std::uint64_t unreadable = app.Statistics().unreadable;
  Link link = Connect();
  Tell(link, kHello);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p", "OnStart  0 0"));
  EXPECT_EQ(unreadable, app.Statistics().unreadable) << "there is no message to go on with yet";
  Wait(20000);
  EXPECT_NE(nullptr, Find(link)) << "it is logged in, so no limit counts";
}

TEST_F(HeldLogInTest, AConnectionThatIsClosedMeanwhileIsForgotten) {
  Link link = Connect();
  Tell(link, kHello);
  Find(link)->Close();
  EXPECT_FALSE(LetIn(Last()));
  EXPECT_EQ(nullptr, dorn::ConnectionOfHeldLogIn(Last()));
  Pass();
  EXPECT_FALSE(dorn::FinishLogIn(Last()));
}

TEST_F(HeldLogInTest, AStationThatLeavesMeanwhileIsForgotten) {
  Link link = Connect();
  Tell(link, kHello);
  link.station.Close();
  Pass(3);
  EXPECT_FALSE(LetIn(Last()));
}

TEST_F(HeldLogInTest, IsRefusedAndClosedWhenTheTimeForALogInIsOver) {
  Link link = Connect();
  Wait(4000);
  Tell(link, kHello);
  Wait(5999);
  EXPECT_NE(nullptr, Find(link));
  EXPECT_THAT(link.station.Messages(), IsEmpty());
  const std::uint64_t before = app.Statistics().closedNoLogin;
  Wait(1);
  EXPECT_EQ(nullptr, Find(link));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kRefused));
  EXPECT_EQ(before + 1, app.Statistics().closedNoLogin);
  EXPECT_FALSE(LetIn(Last()));
}

// Looks at itself when it sends.
class LookingClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int SendData(const KZString& text) override {
    mWasLoggedIn = mAuth;
    mCouldFinish = dorn::FinishLogIn(mHeld);
    return VQClientSocket::SendData(text);
  }
  unsigned int mHeld = 0;
  bool mWasLoggedIn = false;
  bool mCouldFinish = false;
};

TEST_F(HeldLogInTest, HasEndedWhenTheStationIsToldThatTheTimeIsOver) {
  auto [fd, station] = NextLine();
  auto* client = new LookingClient(&app.mLog, app.GetFdDataList());
  client->Create(fd, 3000);
  client->SetAutoDelete(0);
  Pass();
  Link link;
  link.station = std::move(station);
  link.id = client->GetId();
  Tell(link, kHello);
  client->mHeld = Last();
  client->Authentication("S1");
  client->mCouldFinish = client->mWasLoggedIn = true;
  Wait(10000);
  EXPECT_THAT(link.station.Messages(), ElementsAre(kRefused));
  EXPECT_FALSE(client->mWasLoggedIn);
  EXPECT_FALSE(client->mCouldFinish);
  delete client;
}

TEST_F(HeldLogInTest, TheTimeGoesOnThoughTheConnectionIsBoundToASession) {
  Link link = Connect();
  Tell(link, kHello);
  app.CreateSession("S1", 60000);
  Find(link)->Authentication("S1");
  Wait(10000);
  EXPECT_EQ(nullptr, Find(link));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kRefused));
}

TEST_F(HeldLogInTest, NoTimeCountsAnyMoreWhenItWasGood) {
  Link link = Connect();
  Tell(link, kHello);
  Wait(9999);
  EXPECT_TRUE(LetIn(Last()));
  Wait(10000);
  EXPECT_NE(nullptr, Find(link));
}

TEST_F(HeldLogInTest, TheTimeGoesOnWhenItWasNot) {
  Link link = Connect();
  Tell(link, kHello);
  Wait(9000);
  dorn::FinishLogIn(Last());
  Wait(999);
  EXPECT_NE(nullptr, Find(link));
  Wait(1);
  EXPECT_EQ(nullptr, Find(link));
}

// A connection whose session has ended has no limit left.
TEST_F(HeldLogInTest, TheTimeBeginsAnewWhereNoneWasLeft) {
  Link link = Connect();
  Wait(3000);
  Find(link)->Authentication("");
  Wait(3000);
  Tell(link, kHello);
  Wait(9999);
  EXPECT_NE(nullptr, Find(link));
  Wait(1);
  EXPECT_EQ(nullptr, Find(link));
}

// Both are due in one round of timers, the finish first since it was registered last.
TEST_F(HeldLogInTest, FinishedInTheRoundInWhichTheTimeIsOverItIsGood) {
  constexpr unsigned int kTimer = 77;
  app.timer = [this](unsigned int id) {
    if (id == kTimer) LetIn(Last());
  };
  Link link = Connect();
  app.SetApplicationSingleTimerInterval(10000, kTimer);
  Tell(link, kHello);
  Wait(10000);
  app.timer = nullptr;
  EXPECT_NE(nullptr, Find(link));
  EXPECT_THAT(Calls(), Contains("OnStart  0 0"));
}

TEST_F(HeldLogInTest, IsWrongForTheGuardOnlyWhenItIsAnswered) {
  app.SetLoginGuard(true);
  Link link = Connect();
  for (int i = 0; i < 5; ++i) {
    Tell(link, kHello);
    dorn::FinishLogIn(Last());
    Pass();
  }
  EXPECT_THAT(link.station.Messages(), SizeIs(5));
  Tell(link, kHello);
  EXPECT_THAT(mHeld, SizeIs(5)) << "the sixth waits before the host is asked";
  Wait(1000);
  ASSERT_THAT(mHeld, SizeIs(6));
  EXPECT_TRUE(LetIn(Last()));
  Link next = Connect();
  Tell(next, kHello);
  EXPECT_THAT(mHeld, SizeIs(7)) << "the right one has made the id start anew";
}

TEST_F(HeldLogInTest, TheCommandIsPrintedOnce) {
  Link link = Connect();
  CapturedStdout console;
  Tell(link, kHello);
  LetIn(Last());
  const std::string text = console.Text();
  EXPECT_NE(std::string::npos, text.find("Command=HELLO"));
  EXPECT_EQ(text.find("Command=HELLO"), text.rfind("Command=HELLO"));
}

// Writes who a station is when a session ends.
class FinishingObserver : public dorn::Observer {
 public:
  void OnSessionEnd(const KZString& sid) override {
    if (sid == "third") mFinished = dorn::FinishLogIn(mHeld);
  }
  unsigned int mHeld = 0;
  bool mFinished = false;
};

// The start page may write a member; no call tells of it.
TEST_F(HeldLogInTest, AConnectionThatItsStartPageBindsToAnExpiringSessionIsClosed) {
  Link link = Connect();
  Tell(link, kHello);
  app.CreateSession("own", 0);
  Find(link)->Authentication("own");
  FinishingObserver observer;
  observer.mHeld = Last();
  dorn::SetObserver(&observer);
  app.start = [&link] { Find(link)->mSessionId = "last"; };
  // Of timers that are due together, the last registered one fires first.
  for (const char* sid : {"last", "third", "second", "first"}) app.CreateSession(sid, 1000);
  Wait(1000);
  dorn::SetObserver(nullptr);
  app.start = nullptr;
  EXPECT_TRUE(observer.mFinished);
  EXPECT_EQ(nullptr, Find(link));
}

// The number must not reach a station that has the same object now.
TEST_F(HeldLogInTest, AStationThatComesToTheSameObjectIsNotLetIn) {
  Link link = Connect();
  Tell(link, kHello);
  VQClientSocket* client = Find(link);
  ASSERT_NE(nullptr, client);
  client->OnClose();
  EXPECT_FALSE(LetIn(Last()));
  EXPECT_FALSE(client->mAuth);
  EXPECT_THAT(Calls(), Not(Contains("OnStart  0 0")));
}

TEST_F(HeldLogInTest, OfAMessageThatOnAuthHasExecutedIsTheOneThatGoesOn) {
  app.auth = [this](const KZString& id, const KZString&, VQClientSocket* client) {
    if (id == "card") {
      client->DoCommand(R"({"Command":"HELLO","Id":"u1","Pass":"p","Type":"inner"})");
    } else {
      mHeld.push_back(dorn::HoldLogIn());
    }
  };
  Link link = Connect();
  Tell(link, R"({"Commands":[{"Command":"HELLO","Id":"card","Type":"outer"},)"
             R"({"Command":"HELLO","Type":"behind"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth card ", "OnAuth u1 p"));
  EXPECT_TRUE(LetIn(Last()));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth card ", "OnAuth u1 p", "OnStart inner 0 0",
                                   "OnStart behind 0 0"));
}

TEST_F(HeldLogInTest, StaysHeldWhateverTheHostExecutesMeanwhile) {
  app.auth = [this](const KZString& id, const KZString&, VQClientSocket* client) {
    mHeld.push_back(dorn::HoldLogIn());
    if (id == "u1") client->DoCommand(R"({"Command":"HELLO","Id":"other"})");
  };
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Id":"u1","Type":"own"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 ", "OnAuth other "));
  ASSERT_EQ(2U, mHeld.size());
  EXPECT_EQ(0U, mHeld[1]);
  EXPECT_TRUE(LetIn(mHeld[0]));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 ", "OnAuth other ", "OnStart own 0 0"));
}

}  // namespace
