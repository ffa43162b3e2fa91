// What back-to-back commands send: the same bytes and lines as one command after the other.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/server/ServerTest.h"

namespace {

int gPushes = 0;

}  // namespace

// In place of the C library's, to count how often kept frames are pushed.
extern "C" int setsockopt(int fd, int level, int name, const void* option,
                          socklen_t length) noexcept {
  if (level == IPPROTO_TCP && name == TCP_NODELAY) ++gPushes;
  return static_cast<int>(syscall(SYS_setsockopt, fd, level, name, option, length));
}

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string Frame(const std::string& text) { return "\x02" + text + "\x03"; }

// A command that the dialog's hook answers.
std::string Ask(const std::string& what) {
  return Frame(R"({"Command":"CONDITION","What":")" + what + R"("})");
}

// What nobody pushes waits 200 ms and more.
constexpr long long kKeptBackMs = 180;

class JoinedFramesTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    mAsking = LoggedInByTcp("S1");
    mOther = LoggedInByTcp("S2");
    mOtherFd = Find(mOther)->GetFD();
    Shared("top", kTree)->condition = [this](HookedDialog&, VQClientSocket* client,
                                             VQJsonCommand* command) {
      Act(client, command->GetValue("What").GetString());
    };
  }

  // Only a TCP connection has a kernel that keeps something back.
  Link LoggedInByTcp(const std::string& sid) {
    Link link = ConnectTcp();
    EXPECT_TRUE(app.CreateSession(KZString(sid), 0));
    Find(link)->Authentication(KZString(sid));
    Find(link)->mDialogName = KZString("top");
    return link;
  }

  // Delivers the bytes as one readiness, without a second pass behind it.
  static void FeedOnce(Link& link, const std::string& bytes) {
    link.station.SendRaw(bytes);
    Pass();
  }

  // Milliseconds until the station has got so many bytes.
  static long long WaitMs(Link& link, size_t count) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(link.station.WaitFor(count));
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start)
        .count();
  }

  void Act(VQClientSocket* client, const KZString& what) {
    VQClientSocket* other = Find(mOther);
    if (what == "raw") {
      const std::string bytes = "raw bytes";
      EXPECT_EQ(static_cast<int>(bytes.size()),
                other->Send(bytes.data(), static_cast<int>(bytes.size())));
    } else if (what == "raw of the base") {
      EXPECT_EQ(3, other->KZSocket::Send("raw", 3));
    } else if (what == "raw by hand") {
      EXPECT_EQ(3, send(other->GetFD(), "raw", 3, 0));
    } else if (what == "raw by number") {
      EXPECT_EQ(3, write(mOtherFd, "raw", 3));
    } else if (what == "reset") {
      mOther.station.Reset();
    } else if (what == "end the process") {
      _exit(0);
    } else if (what == "fork") {
      ForkAndWait();
    } else if (what == "throw") {
      throw std::runtime_error("thrown by a hook");
    } else if (what == "slow") {
      mClock.AdvanceMs(21);
    } else if (what == "quick") {
      mClock.AdvanceMs(20);
    } else if (what == "look") {
      mSeenMeanwhile += mOther.station.Bytes();
    } else if (what == "close") {
      other->Close();
    } else if (what == "open again") {
      other->Close();
      int pair[2];
      ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
      other->Create(pair[0], 3000);
      mOther.station = Station(pair[1]);
    } else if (what == "close the base") {
      static_cast<KZSocket*>(other)->Close();
    } else if (what == "take the descriptor") {
      close(other->SetFD(-1));
      other->RemoveEvent();
    } else if (what == "destroy") {
      other->Close();
      delete other;
    } else if (what == "long") {
      other->SendData(std::string(100000, 'x'));
    } else {
      mResults.push_back(client->SendData(what));
      mSeenByAsker.push_back(mAsking.station.Bytes());
      if (other != nullptr) other->SendData(what);
    }
  }

  // A child that ends as programs end, with all that is done at exit.
  static void ForkAndWait() {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) std::exit(0);
    ASSERT_EQ(child, waitpid(child, nullptr, 0));
  }

  Link mAsking;
  Link mOther;
  std::vector<int> mResults;
  std::string mSeenMeanwhile;
  std::vector<std::string> mSeenByAsker;
  int mOtherFd = -1;
};

TEST_F(JoinedFramesTest, EveryStationGetsEveryMessageInOrder) {
  Feed(mAsking, Ask("a") + Ask("b") + Ask("c"));
  EXPECT_THAT(mAsking.station.Messages(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(mOther.station.Messages(), ElementsAre("a", "b", "c"));
}

TEST_F(JoinedFramesTest, SendingReturnsTheFramedLength) {
  Feed(mAsking, Ask("a") + Ask("four") + Ask("b"));
  EXPECT_THAT(mResults, ElementsAre(3, 6, 3));
}

TEST_F(JoinedFramesTest, NothingLeavesWhileAnotherMessageWaits) {
  Feed(mAsking, Ask("a") + Ask("b"));
  EXPECT_THAT(mSeenByAsker, ElementsAre("", Frame("a") + Frame("b")));
}

TEST_F(JoinedFramesTest, AMessageAloneIsAnsweredAtOnce) {
  Feed(mAsking, Ask("a"));
  EXPECT_THAT(mSeenByAsker, ElementsAre(Frame("a")));
}

// A thread that no message was ever served on.
TEST_F(JoinedFramesTest, WhatAnotherThreadSendsLeavesAtOnce) {
  std::thread([&] { Find(mOther)->SendData("a"); }).join();
  EXPECT_LT(WaitMs(mOther, 3), kKeptBackMs);
}

// It ends a message without a text.
TEST_F(JoinedFramesTest, NothingLeavesWhileALoneEndWaits) {
  Feed(mAsking, Ask("a") + "\x03");
  EXPECT_THAT(mSeenByAsker, ElementsAre(""));
  EXPECT_THAT(mAsking.station.Messages(), ElementsAre("a"));
}

TEST_F(JoinedFramesTest, AnIncompleteMessageBehindKeepsNothingBack) {
  Feed(mAsking, Ask("a") + "\x02{\"Comm");
  EXPECT_THAT(mSeenByAsker, ElementsAre(Frame("a")));
}

TEST_F(JoinedFramesTest, TheConsoleShowsEachMessageWhenItIsSent) {
  CapturedStdout captured;
  Feed(mAsking, Ask("a") + Ask("b"));
  const std::string out = captured.Text();
  const std::size_t secondCommand = out.find("What\":\"b\"");
  const std::size_t firstAnswer = out.find(" out=a\n");
  ASSERT_NE(std::string::npos, firstAnswer);
  EXPECT_LT(firstAnswer, secondCommand);
  EXPECT_THAT(out, HasSubstr(" sid=S1 dname=top id=" + std::to_string(mAsking.id) + " out=b\n"));
}

TEST_F(JoinedFramesTest, RawBytesStayBehindTheMessagesBefore) {
  Feed(mAsking, Ask("a") + Ask("raw") + Ask("b"));
  EXPECT_EQ(Frame("a") + "raw bytes" + Frame("b"), mOther.station.Bytes());
}

TEST_F(JoinedFramesTest, WhatIsSentWithoutTheConnectionsOwnOperationsStaysBehindToo) {
  std::string expected;
  for (const char* const way : {"raw of the base", "raw by hand"}) {
    Feed(mAsking, Ask("a") + Ask(way) + Ask("b"));
    expected += Frame("a") + "raw" + Frame("b");
    EXPECT_EQ(expected, mOther.station.Bytes()) << way;
  }
}

TEST_F(JoinedFramesTest, WhatIsWrittenToARememberedDescriptorStaysBehindToo) {
  Feed(mAsking, Ask("a") + Ask("raw by number") + Ask("b"));
  EXPECT_EQ(Frame("a") + "raw" + Frame("b"), mOther.station.Bytes());
}

TEST_F(JoinedFramesTest, SendingToAStationThatHasResetReportsTheFailure) {
  VQClientSocket* other = Find(mOther);
  Dialog("top")->condition = [&](HookedDialog&, VQClientSocket*, VQJsonCommand*) {
    mOther.station.Reset();
    mResults.push_back(other->SendData("a"));
  };
  Feed(mAsking, Ask("a") + Ask("b"));
  EXPECT_THAT(mResults, ElementsAre(-1, -1));
}

TEST_F(JoinedFramesTest, WhatWasSentArrivesThoughAHookEndsTheProcess) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    Feed(mAsking, Ask("a") + Ask("end the process") + Ask("b"));
    _exit(1);
  }
  int status = -1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  EXPECT_TRUE(mOther.station.WaitFor(3));
  EXPECT_THAT(mOther.station.Messages(), ElementsAre("a"));
}

TEST_F(JoinedFramesTest, AChildOfAHookThatEndsSendsNothingASecondTime) {
  FeedOnce(mAsking, Ask("a") + Ask("fork") + Ask("b"));
  Feed(mAsking, Ask("c"));
  EXPECT_THAT(mOther.station.Messages(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(mAsking.station.Messages(), ElementsAre("a", "b", "c"));
}

TEST_F(JoinedFramesTest, AnAnswerLeavesBeforeALateHook) {
  Feed(mAsking, Ask("a") + Ask("slow") + Ask("look") + Ask("b"));
  EXPECT_EQ(Frame("a"), mSeenMeanwhile);
}

TEST_F(JoinedFramesTest, AnAnswerLeavesBeforeADialogIsMadeLate) {
  maker.factories["late"] = [this]() -> VQDialog* {
    mSeenMeanwhile += mOther.station.Bytes();
    return nullptr;
  };
  Dialog("top")->changeBefore = [this](HookedDialog&, VQClientSocket*, VQJsonCommand*) {
    mClock.AdvanceMs(21);
  };
  const std::string change = Frame(R"({"Command":"CHANGE","DialogName":"late"})");
  Feed(mAsking, Ask("a") + change + Ask("b"));
  EXPECT_EQ(Frame("a"), mSeenMeanwhile);
}

// Its first wrong password takes long, and whatever it sends behind that is looked at late.
TEST_F(JoinedFramesTest, AnAnswerLeavesBeforeAPasswordOrASessionIsLookedAtLate) {
  const std::string hello = Frame(R"({"Command":"HELLO","Id":"x","Pass":"y"})");
  const std::string change = Frame(R"({"Command":"CHANGE","SessionId":"none"})");
  for (const std::string& late : {hello, change}) {
    Link guest = ConnectTcp();
    mOther.station.Take(mOther.station.Bytes().size());
    mSeenMeanwhile.clear();
    app.auth = [this](const KZString&, const KZString&, VQClientSocket*) {
      Find(mOther)->SendData("a");
      mClock.AdvanceMs(21);
      app.auth = [this](const KZString&, const KZString&, VQClientSocket*) {
        mSeenMeanwhile = mOther.station.Bytes();
      };
    };
    app.authCheck = [this] { mSeenMeanwhile = mOther.station.Bytes(); };
    Feed(guest, hello + late);
    EXPECT_EQ(Frame("a"), mSeenMeanwhile) << late;
  }
  app.auth = nullptr;
  app.authCheck = nullptr;
}

TEST_F(JoinedFramesTest, AnAnswerLeavesBeforeAStartPageIsLate) {
  app.start = [this] { mSeenMeanwhile = mOther.station.Bytes(); };
  Feed(mAsking, Ask("a") + Ask("slow") + Frame(R"({"Command":"HELLO"})"));
  EXPECT_EQ(Frame("a"), mSeenMeanwhile);
  app.start = nullptr;
}

TEST_F(JoinedFramesTest, AnAnswerWaitsForHooksThatFollowQuickly) {
  Feed(mAsking, Ask("a") + Ask("quick") + Ask("look") + Ask("b"));
  EXPECT_EQ("", mSeenMeanwhile);
}

TEST_F(JoinedFramesTest, AnAnswerWaitsForHooksThatFollowQuicklyInTheNextSecond) {
  mClock.AdvanceMs(990);
  Feed(mAsking, Ask("a") + Ask("quick") + Ask("look") + Ask("b"));
  EXPECT_EQ("", mSeenMeanwhile);
}

// What was kept back before has left, and so has its time.
TEST_F(JoinedFramesTest, TheTimeOfAnAnswerBeginsWithTheHookThatGivesIt) {
  Feed(mAsking, Ask("a") + Ask("b"));
  mOther.station.Take(mOther.station.Bytes().size());
  mClock.AdvanceMs(15);
  Feed(mAsking, Ask("c") + Ask("quick") + Ask("look") + Ask("d"));
  EXPECT_EQ("", mSeenMeanwhile);
}

// Unasked, the kernel sends what it keeps back after 200 ms.
TEST_F(JoinedFramesTest, WhatTheLastMessageDoesNotAnswerLeavesAtOnce) {
  FeedOnce(mAsking, Ask("a") + Ask("look"));
  EXPECT_LT(WaitMs(mOther, 3), kKeptBackMs);
}

// The frame of the last message took the others along.
TEST_F(JoinedFramesTest, WhatTheLastMessageAnswersIsNotPushedAgain) {
  Feed(mAsking, Ask("a") + Ask("b"));
  gPushes = 0;
  Feed(mAsking, Ask("c") + Ask("d"));
  EXPECT_EQ(0, gPushes);
  EXPECT_THAT(mOther.station.Messages(), ElementsAre("a", "b", "c", "d"));
}

TEST_F(JoinedFramesTest, WhatTheLastMessageDoesNotAnswerIsPushedEachTime) {
  Feed(mAsking, Ask("a") + Ask("b"));
  gPushes = 0;
  Feed(mAsking, Ask("c") + Ask("d") + Ask("quick"));
  FeedOnce(mAsking, Ask("e") + Ask("f") + Ask("quick"));
  EXPECT_EQ(4, gPushes);
  EXPECT_GT(100, WaitMs(mOther, 6 * Frame("a").size()));
}

// Another socket in the place of the one that was pushed may delay what it gets.
TEST_F(JoinedFramesTest, ADescriptorThatWasNotPushedYetIsPushed) {
  Feed(mAsking, Ask("a") + Ask("b"));
  const int copy = dup(mOtherFd);
  close(Find(mOther)->SetFD(copy));
  gPushes = 0;
  Feed(mAsking, Ask("c") + Ask("d"));
  EXPECT_EQ(1, gPushes);
  EXPECT_THAT(mOther.station.Messages(), ElementsAre("a", "b", "c", "d"));
}

TEST_F(JoinedFramesTest, WhatWasSentLeavesAtOnceWhenAHookThrows) {
  mAsking.station.SendRaw(Ask("a") + Ask("throw") + Ask("b"));
  EXPECT_THROW(Pass(), std::runtime_error);
  EXPECT_LT(WaitMs(mOther, 3), kKeptBackMs);
}

TEST_F(JoinedFramesTest, AClosedStationGetsTheRestAtOnce) {
  for (const char* const way : {"close", "close the base"}) {
    FeedOnce(mAsking, Ask("a") + Ask(way) + Ask("b"));
    EXPECT_LT(WaitMs(mOther, 3), kKeptBackMs) << way;
    mOther = LoggedInByTcp(std::string("S") + way);
  }
}

TEST_F(JoinedFramesTest, AConnectionThatIsOpenedAgainIsPushedAgain) {
  FeedOnce(mAsking, Ask("a") + Ask("open again") + Ask("quick"));
  Pass();
  gPushes = 0;
  FeedOnce(mAsking, Ask("c") + Ask("quick"));
  EXPECT_EQ(2, gPushes) << "of the one that asks, and of the other";
  EXPECT_THAT(mOther.station.Messages(), ElementsAre("c"));
}

// What is no socket has neither flags nor packets.
TEST_F(JoinedFramesTest, AConnectionOnAPipeGetsItsFrames) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  VQClientSocket* other = Find(mOther);
  const int socketFd = other->SetFD(ends[1]);
  Feed(mAsking, Ask("a") + Ask("b"));
  char bytes[10] = "";
  EXPECT_EQ(6, read(ends[0], bytes, sizeof bytes));
  EXPECT_EQ(Frame("a") + Frame("b"), bytes);
  other->SetFD(socketFd);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(JoinedFramesTest, AStationThatIsClosedByTheBaseHasGotWhatWasSentBefore) {
  Feed(mAsking, Ask("a") + Ask("close the base") + Ask("b"));
  EXPECT_THAT(mOther.station.Messages(), ElementsAre("a"));
  EXPECT_TRUE(mOther.station.WaitForClose());
}

TEST_F(JoinedFramesTest, AStationWhoseDescriptorIsTakenHasGotWhatWasSentBefore) {
  Feed(mAsking, Ask("a") + Ask("take the descriptor") + Ask("b"));
  EXPECT_THAT(mOther.station.Messages(), ElementsAre("a"));
}

TEST_F(JoinedFramesTest, ALongMessageStaysInOrder) {
  Feed(mAsking, Ask("a") + Ask("long") + Ask("b"));
  const std::string expected = Frame("a") + Frame(std::string(100000, 'x')) + Frame("b");
  EXPECT_TRUE(RunUntil([&] { return mOther.station.Bytes().size() >= expected.size(); }));
  EXPECT_EQ(expected, mOther.station.Bytes());
}

TEST_F(JoinedFramesTest, ManyMessagesStayInOrder) {
  std::string expected;
  std::string commands;
  const std::string text(1200, 'y');
  for (int i = 0; i < 20; ++i) {
    commands += Ask(std::to_string(i) + text);
    expected += Frame(std::to_string(i) + text);
  }
  Feed(mAsking, commands);
  EXPECT_TRUE(RunUntil([&] { return mOther.station.Bytes().size() >= expected.size(); }));
  EXPECT_EQ(expected, mOther.station.Bytes());
}

TEST_F(JoinedFramesTest, AClosedStationHasGotWhatWasSentBefore) {
  Feed(mAsking, Ask("a") + Ask("close") + Ask("b"));
  EXPECT_EQ(Frame("a"), mOther.station.Bytes());
  EXPECT_TRUE(mOther.station.WaitForClose());
  EXPECT_THAT(mAsking.station.Messages(), ElementsAre("a", "b"));
}

// A sanitizer sees what happens when it is not forgotten.
TEST_F(JoinedFramesTest, ADestroyedStationIsForgotten) {
  Feed(mAsking, Ask("a") + Ask("destroy") + Ask("b"));
  EXPECT_EQ(Frame("a"), mOther.station.Bytes());
  EXPECT_TRUE(mOther.station.WaitForClose());
  EXPECT_THAT(mAsking.station.Messages(), ElementsAre("a", "b"));
}

}  // namespace
