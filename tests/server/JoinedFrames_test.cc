// What back-to-back commands send: the same bytes and lines as one command after the other.
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string Frame(const std::string& text) { return "\x02" + text + "\x03"; }

// A command that the dialog's hook answers.
std::string Ask(const std::string& what) {
  return Frame(R"({"Command":"CONDITION","What":")" + what + R"("})");
}

class JoinedFramesTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    mAsking = LoggedIn("S1", "top");
    mOther = LoggedIn("S2", "top");
    Shared("top", kTree)->condition = [this](HookedDialog&, VQClientSocket* client,
                                             VQJsonCommand* command) {
      Act(client, command->GetValue("What").GetString());
    };
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
    } else if (what == "other thread") {
      int fd = -1;
      std::thread([&] { fd = other->GetFD(); }).join();
      EXPECT_GE(fd, 0);
      mSeenMeanwhile += mOther.station.Bytes();
    } else if (what == "close") {
      other->Close();
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
      mSeenMeanwhile += mAsking.station.Bytes();
      if (other != nullptr) other->SendData(what);
    }
  }

  Link mAsking;
  Link mOther;
  std::vector<int> mResults;
  std::string mSeenMeanwhile;
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
  EXPECT_EQ("", mSeenMeanwhile);
}

TEST_F(JoinedFramesTest, AMessageAloneIsAnsweredAtOnce) {
  Feed(mAsking, Ask("a"));
  EXPECT_EQ(Frame("a"), mSeenMeanwhile);
}

TEST_F(JoinedFramesTest, AnIncompleteMessageBehindKeepsNothingBack) {
  Feed(mAsking, Ask("a") + "\x02{\"Comm");
  EXPECT_EQ(Frame("a"), mSeenMeanwhile);
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

TEST_F(JoinedFramesTest, AnotherThreadGetsTheDescriptorAndSendsNothing) {
  Feed(mAsking, Ask("a") + Ask("other thread") + Ask("b"));
  EXPECT_EQ("", mSeenMeanwhile);
  EXPECT_THAT(mOther.station.Messages(), ElementsAre("a", "b"));
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

TEST_F(JoinedFramesTest, MoreThanIsKeptBackStaysInOrder) {
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
