// Guessing passwords: who has to wait for an answer, and who has not.
#include "tests/server/ServerTest.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr char kRefused[] = R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})";

std::string Hello(const std::string& id, const std::string& pass) {
  return R"({"Command":"HELLO","Id":")" + id + R"(","Pass":")" + pass + R"("})";
}

class DelayedLogInTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    app.SetLoginGuard(true);
  }
  void TearDown() override {
    app.SetLoginGuard(false);
    ServerTest::TearDown();
  }

  void Guess(Link& link, const std::string& id, int times) {
    for (int i = 0; i < times; ++i) Tell(link, Hello(id, "wrong"));
  }

  // Wrong passwords for `id` that are answered at once, from a connection that is gone then.
  void UseUp(const std::string& id) {
    Link link = Connect();
    Guess(link, id, 5);
    EXPECT_THAT(link.station.Messages(), SizeIs(5));
    Find(link)->Close();
    Pass();
    Calls().clear();
  }
};

TEST_F(DelayedLogInTest, NobodyWaitsUnlessTheHostAsksForIt) {
  app.SetLoginGuard(false);
  Link link = Connect();
  Guess(link, "u1", 20);
  EXPECT_THAT(link.station.Messages(), SizeIs(20));
}

TEST_F(DelayedLogInTest, FiveWrongPasswordsAreAnsweredAtOnce) {
  Link link = Connect();
  Guess(link, "u1", 6);
  EXPECT_THAT(link.station.Messages(),
              ElementsAre(kRefused, kRefused, kRefused, kRefused, kRefused));
  EXPECT_THAT(Calls(), SizeIs(5));
}

TEST_F(DelayedLogInTest, TheSixthWaitsASecondBeforeTheHostIsAsked) {
  UseUp("u1");
  Link link = Connect();
  Guess(link, "u1", 1);
  Wait(999);
  EXPECT_THAT(link.station.Messages(), IsEmpty());
  EXPECT_THAT(Calls(), IsEmpty());
  Wait(1);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 wrong"));
  EXPECT_THAT(link.station.Messages(), ElementsAre(kRefused));
}

TEST_F(DelayedLogInTest, EachFurtherOneWaitsTwiceAsLongUpToEightSeconds) {
  UseUp("u1");
  for (const int ms : {1000, 2000, 4000, 8000, 8000}) {
    Link link = Connect();
    Guess(link, "u1", 1);
    Wait(ms - 1);
    EXPECT_THAT(link.station.Messages(), IsEmpty()) << ms;
    Wait(1);
    EXPECT_THAT(link.station.Messages(), ElementsAre(kRefused)) << ms;
  }
}

TEST_F(DelayedLogInTest, AConnectionWaitsWhateverIdsItTries) {
  Link link = Connect();
  for (const char* id : {"u1", "u2", "u3", "u4", "u5", "u6"}) Guess(link, id, 1);
  EXPECT_THAT(link.station.Messages(), SizeIs(5));
}

TEST_F(DelayedLogInTest, TheRightPasswordOfAnotherIdDoesNotWait) {
  UseUp("u1");
  Link guesser = Connect();
  Guess(guesser, "u1", 1);
  Link other = Connect();
  Tell(other, Hello("u2", "p"));
  EXPECT_TRUE(Find(other)->mAuth);
}

TEST_F(DelayedLogInTest, TheRightPasswordWaitsToo) {
  UseUp("u1");
  Link link = Connect();
  Tell(link, Hello("u1", "p"));
  EXPECT_FALSE(Find(link)->mAuth);
  Wait(1000);
  EXPECT_TRUE(Find(link)->mAuth);
  EXPECT_THAT(link.station.Messages(), SizeIs(1));  // OPEN.
}

TEST_F(DelayedLogInTest, TheRightPasswordStartsAnew) {
  UseUp("u1");
  Link link = Connect();
  Tell(link, Hello("u1", "p"));
  Wait(1000);
  Link next = Connect();
  Guess(next, "u1", 5);
  EXPECT_THAT(next.station.Messages(), SizeIs(5));
}

TEST_F(DelayedLogInTest, AttemptsForOneIdWaitSideBySide) {
  UseUp("u1");
  std::vector<Link> links;
  for (int i = 0; i < 5; ++i) {
    links.push_back(Connect());
    Guess(links.back(), "u1", 1);
  }
  Wait(1000);
  for (Link& link : links) EXPECT_THAT(link.station.Messages(), ElementsAre(kRefused));
}

TEST_F(DelayedLogInTest, TheTimeForTheLogInGoesOn) {
  UseUp("u1");
  Link link = Connect();
  Wait(9500);
  Guess(link, "u1", 1);
  Wait(500);
  EXPECT_EQ(nullptr, Find(link));
  Wait(10000);
  EXPECT_THAT(Calls(), Not(Contains(HasSubstr("OnAuth"))));
}

// Both are due in one round of timers, the log-in first.
TEST_F(DelayedLogInTest, ALogInThatIsDueWithTheTimeForItIsGood) {
  UseUp("u1");
  for (const int ms : {1000, 2000, 4000}) {
    Link guess = Connect();
    Guess(guess, "u1", 1);
    Wait(ms);
  }
  Link link = Connect();
  Wait(2000);
  Tell(link, Hello("u1", "p"));
  Wait(7999);
  EXPECT_THAT(Calls(), Not(Contains("OnAuth u1 p")));
  Wait(1);
  EXPECT_THAT(Calls(), Contains("OnAuth u1 p"));
  ASSERT_NE(nullptr, Find(link));
  EXPECT_GE(Find(link)->GetFD(), 0);
}

// That it went on in a round of its own is no reason to stay for ever.
TEST_F(DelayedLogInTest, WhoeverIsLetInIsClosedByALaterLimitOfTheHost) {
  UseUp("u1");
  Link link = Connect();
  Tell(link, Hello("u1", "p"));
  Wait(1000);
  ASSERT_TRUE(Find(link)->mAuth);
  app.SetApplicationSingleTimerInterval(10, static_cast<unsigned int>(link.id));
  Wait(10);
  EXPECT_EQ(nullptr, Find(link));
}

// Each message that is taken moves those behind it.
TEST_F(DelayedLogInTest, APileBehindItIsExecutedInManyPasses) {
  constexpr std::uint64_t kMessages = 50000;
  UseUp("u1");
  Link link = Connect();
  Tell(link, Hello("u1", "p"));
  std::string pile;
  for (std::uint64_t i = 0; i < kMessages; ++i) pile += "\x02\x03";
  Feed(link, pile);
  const CapturedStdout console;  // A line for each of them.
  const std::uint64_t before = app.Statistics().messagesIn;
  Wait(1000);
  std::uint64_t executed = 0;
  int passes = 0;
  for (; executed < kMessages && passes < 10000; ++passes) {
    const std::uint64_t sofar = executed;
    Pass();
    executed = app.Statistics().messagesIn - before;
    const std::uint64_t bytesBehind = 2 * (kMessages - executed);
    EXPECT_LE((executed - sofar) * bytesBehind, 10U << 20);
  }
  EXPECT_EQ(kMessages, executed);
  EXPECT_GT(passes, 100);
}

// Eight messages move 3,733,856 bytes, and nine 4,195,980.
TEST_F(DelayedLogInTest, APassEndsWithTheMessageThatMovesMoreThanFourMiB) {
  UseUp("u1");
  Link link = Connect();
  Tell(link, Hello("u1", "p"));
  std::string pile;
  for (int i = 0; i < 460; ++i) pile += "\x02" + std::string(1022, ' ') + "\x03";
  Feed(link, pile + "\x02" + std::string(298, ' ') + "\x03");
  const CapturedStdout console;
  const std::uint64_t before = app.Statistics().messagesIn;
  Wait(1000);
  EXPECT_EQ(9U, app.Statistics().messagesIn - before);
}

// Sixteen messages move 4 MiB to the byte.
TEST_F(DelayedLogInTest, APassGoesOnBehindTheMessageThatMovesFourMiB) {
  UseUp("u1");
  Link link = Connect();
  Tell(link, Hello("u1", "p"));
  std::string pile;
  for (int i = 0; i < 139; ++i) pile += "\x02" + std::string(1998, ' ') + "\x03";
  Feed(link, pile + "\x02" + std::string(1142, ' ') + "\x03");
  const CapturedStdout console;
  const std::uint64_t before = app.Statistics().messagesIn;
  Wait(1000);
  EXPECT_EQ(17U, app.Statistics().messagesIn - before);
}

TEST_F(DelayedLogInTest, WhatTheStationSendsBehindItWaitsInOrder) {
  UseUp("u1");
  Shared("top", kTree);
  Link link = Connect();
  Tell(link,
       R"({"Commands":[)" + Hello("u1", "p") + R"(,{"Command":"CHANGE","DialogName":"top"}]})");
  Tell(link, R"({"Command":"CONDITION","ActionName":"b1"})");
  Tell(link, R"({"Command":"CONDITION","ActionName":"b1"})");
  EXPECT_THAT(Calls(), IsEmpty());
  Wait(1000);
  Pass(2);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p", "OnStart  0 0", "OnChange top S-u1",
                                   "OnCondition top S-u1", "OnCondition top S-u1"));
}

TEST_F(DelayedLogInTest, WhatCameBeforeItInTheSameMessageIsNotDoneAgain) {
  UseUp("u1");
  Link link = Connect();
  Tell(link, R"({"Commands":[)" + Hello("u2", "x") + "," + Hello("u1", "x") + "," +
                 Hello("u3", "x") + "]}");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u2 x"));
  Wait(1000);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u2 x", "OnAuth u1 x", "OnAuth u3 x"));
}

TEST_F(DelayedLogInTest, AMessageFullOfGuessesWaitsForEach) {
  Link link = Connect();
  std::string message = R"({"Commands":[)";
  for (int i = 0; i < 1000; ++i) message += (i > 0 ? "," : "") + Hello("u1", "x");
  Tell(link, message + "]}");
  EXPECT_THAT(Calls(), SizeIs(5));
  Wait(1000);
  EXPECT_THAT(Calls(), SizeIs(6));
  Wait(2000);
  EXPECT_THAT(Calls(), SizeIs(7));
}

// Such as a host that takes a card's number for a log-in of its own.
TEST_F(DelayedLogInTest, OneThatOnAuthHasExecutedIsTheOneThatWaits) {
  UseUp("u1");
  app.auth = [](const KZString& id, const KZString&, VQClientSocket* client) {
    if (id == "card") {
      client->DoCommand(KZString(Hello("u1", "p")));
    } else {
      client->Authentication("S1");
    }
  };
  app.CreateSession("S1", 0);
  Link link = Connect();
  Tell(link, R"({"Commands":[)" + Hello("card", "1") + R"(,{"Command":"HELLO","Type":"same"}]})");
  Tell(link, R"({"Command":"HELLO","Type":"behind"})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth card 1"));
  Wait(1000);
  Pass(2);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth card 1", "OnAuth u1 p", "OnStart  0 0",
                                   "OnStart same 0 0", "OnStart behind 0 0"));
  EXPECT_TRUE(Find(link)->mAuth);
}

TEST_F(DelayedLogInTest, OneThatAHostExecutesMeanwhileIsLookedAtBehindTheStations) {
  UseUp("u1");
  Link link = Connect();
  Tell(link, R"({"Commands":[)" + Hello("u1", "x") + "," + Hello("u1", "y") + "]}");
  Wait(600);
  Find(link)->DoCommand(KZString(Hello("u1", "host")));
  EXPECT_THAT(Calls(), IsEmpty());
  Wait(400);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 x"));
  Wait(2000);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 x", "OnAuth u1 y"));
  Wait(4000);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 x", "OnAuth u1 y", "OnAuth u1 host"));
  Wait(2000);
  EXPECT_THAT(Calls(), SizeIs(3));
}

TEST_F(DelayedLogInTest, TheNextStationOfAnObjectDoesNotWaitForTheFormerOnesGuesses) {
  Link link = Connect();
  for (const char* id : {"a", "b", "c", "d", "e"}) Guess(link, id, 1);
  Reopen(link);
  Tell(link, Hello("u1", "p"));
  EXPECT_TRUE(Find(link)->mAuth);
}

TEST_F(DelayedLogInTest, TheNextStationOfAnObjectIsNotTakenForWhatWaitedForTheFormerOne) {
  UseUp("u1");
  Link link = Connect();
  Guess(link, "u1", 1);
  Find(link)->DoCommand(KZString(Hello("u1", "host")));  // Waits behind the guess.
  Reopen(link);
  Tell(link, Hello("u1", "p"));
  Wait(4000);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 p", "OnStart  0 0"));
}

TEST_F(DelayedLogInTest, TheNextStationOfAnObjectHasAllOfItsFirstMessageExecuted) {
  Link link = Connect();
  Reopen(link);
  Tell(link, R"({"Commands":[)" + Hello("u2", "x") + "," + Hello("u1", "p") + "]}");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u2 x", "OnAuth u1 p", "OnStart  0 0"));
}

TEST_F(DelayedLogInTest, TheCommandIsPrintedOnce) {
  UseUp("u1");
  Link link = Connect();
  CapturedStdout console;
  Guess(link, "u1", 1);
  Wait(1000);
  const std::string text = console.Text();
  EXPECT_EQ(text.find("Command=HELLO"), text.rfind("Command=HELLO"));
}

TEST_F(DelayedLogInTest, AStationThatLeavesMeanwhileIsForgotten) {
  UseUp("u1");
  Link link = Connect();
  Guess(link, "u1", 1);
  link.station.Close();
  Pass(3);
  EXPECT_EQ(nullptr, Find(link));
  Wait(20000);
  EXPECT_THAT(Calls(), Not(Contains(HasSubstr("OnAuth"))));
}

TEST_F(DelayedLogInTest, AConnectionThatTheHostClosesMeanwhileIsForgotten) {
  UseUp("u1");
  Link link = Connect();
  Guess(link, "u1", 1);
  const unsigned int timer = static_cast<unsigned int>(link.id) + 3;
  EXPECT_TRUE(app.HasTimer(timer));
  Find(link)->Close();
  EXPECT_FALSE(app.HasTimer(timer));
  Wait(20000);
  EXPECT_THAT(Calls(), Not(Contains(HasSubstr("OnAuth"))));
}

TEST_F(DelayedLogInTest, OthersAreServedMeanwhile) {
  UseUp("u1");
  Shared("top", kTree);
  Link guesser = Connect();
  Guess(guesser, "u1", 3);
  Link other = LoggedIn("S1", "top");
  Tell(other, R"({"Command":"CONDITION"})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S1"));
}

TEST_F(DelayedLogInTest, AStationThatFloodsMeanwhileIsClosed) {
  UseUp("u1");
  Link link = Connect();
  Guess(link, "u1", 1);
  Feed(link, std::string(0x80000, ' '));
  EXPECT_TRUE(RunUntil([&link] { return Find(link) == nullptr; }));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(DelayedLogInTest, TurnedOffMeanwhileItLooksAtWhatWaitsWhenItsTimeComes) {
  UseUp("u1");
  Link link = Connect();
  Tell(link, Hello("u1", "p"));
  app.SetLoginGuard(false);
  Wait(1000);
  EXPECT_TRUE(Find(link)->mAuth);
}

TEST_F(DelayedLogInTest, TheTimerOfAConnectionThatDoesNotWaitMeansNothing) {
  Link link = Connect();
  app.ApplicationTimer(timeval{}, static_cast<unsigned int>(link.id) + 3);
  EXPECT_NE(nullptr, Find(link));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(DelayedLogInTest, AnIdThatIsAsLongAsAMessageCostsLittle) {
  for (int i = 0; i < 30; ++i) {
    Link link = Connect();
    Guess(link, std::to_string(i) + std::string(400000, 'x'), 1);
    Find(link)->Close();
    Pass();
  }
  Link link = Connect();
  Guess(link, "u1", 1);
  EXPECT_THAT(link.station.Messages(), ElementsAre(kRefused));
}

}  // namespace
