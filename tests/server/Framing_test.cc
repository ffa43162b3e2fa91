// How a connection cuts the received bytes into messages: STX text ETX.
#include <sys/socket.h>

#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kStx[] = "\x02";
constexpr char kEtx[] = "\x03";
constexpr size_t kBuffer = 0x80000;

// A command whose execution shows as the call "OnAuth <id> no".
std::string Probe(const std::string& id) {
  return R"({"Command":"HELLO","Id":")" + id + R"(","Pass":"no"})";
}

std::string Frame(const std::string& text) { return kStx + text + kEtx; }

class FramingTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    mLink = Connect();
  }

  void Receive(const std::string& bytes) { Feed(mLink, bytes); }

  Link mLink;
};

TEST_F(FramingTest, TwoMessagesInOneReadAreBothExecutedInOrder) {
  Receive(Frame(Probe("a")) + Frame(Probe("b")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no", "OnAuth b no"));
}

TEST_F(FramingTest, ManyMessagesInOneReadNeedOneDispatchOnly) {
  std::string bytes;
  for (int i = 0; i < 20; ++i) bytes += Frame(R"({"Command":"HELLO","Id":"x"})");
  ASSERT_LT(bytes.size(), 1500U);
  mLink.station.SendRaw(bytes);
  Pass();
  EXPECT_EQ(20U, Calls().size());
}

TEST_F(FramingTest, AMessageSplitAtAnyByteIsExecutedWhenItsEndArrives) {
  const std::string bytes = Frame(Probe("a"));
  for (size_t split = 1; split < bytes.size(); ++split) {
    Calls().clear();
    Receive(bytes.substr(0, split));
    EXPECT_THAT(Calls(), IsEmpty()) << split;
    Receive(bytes.substr(split));
    EXPECT_THAT(Calls(), ElementsAre("OnAuth a no")) << split;
  }
}

TEST_F(FramingTest, JoinedMessagesSplitAtAnyByteAreExecutedInOrder) {
  const std::string bytes = Frame(Probe("a")) + Frame(Probe("b"));
  for (size_t split = 1; split < bytes.size(); ++split) {
    Calls().clear();
    Receive(bytes.substr(0, split));
    Receive(bytes.substr(split));
    EXPECT_THAT(Calls(), ElementsAre("OnAuth a no", "OnAuth b no")) << split;
  }
}

TEST_F(FramingTest, MessagesThatArriveByteByByteAreExecutedOnce) {
  for (const char byte : Frame(Probe("a")) + Frame(Probe("b"))) {
    mLink.station.SendRaw(std::string(1, byte));
    Pass();
  }
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no", "OnAuth b no"));
}

// Or a long message in a thousand pieces would be searched from its beginning for each of them. An
// end that somebody puts there without a word shows it.
TEST_F(FramingTest, WhatWasSearchedIsNotSearchedAgainWhenMoreArrives) {
  Receive(
      "\x02"
      "abcd");
  Find(mLink)->mDataBuffer[3] = kEtx[0];
  Receive("e");
  EXPECT_EQ(6, Find(mLink)->mBufferPos);
  Receive(kEtx + Frame(Probe("b")));
  EXPECT_EQ(0, Find(mLink)->mBufferPos);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth b no"));
}

TEST_F(FramingTest, GarbageBeforeTheFirstStxIsDropped) {
  Receive("garbage" + Frame(Probe("a")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no"));
}

TEST_F(FramingTest, OneByteOfGarbageIsDroppedToo) {
  Receive("x" + Frame(Probe("a")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no"));
}

// What is left behind it begins where nothing was searched yet.
TEST_F(FramingTest, AMessageThatIsShorterThanTheGarbageBeforeItIsFound) {
  Receive(std::string(100, 'x'));
  Receive(Frame(Probe("a")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no"));
  EXPECT_EQ(0, Find(mLink)->GetDataLength());
}

TEST_F(FramingTest, GarbageWithEndsBeforeTheFirstStxIsDroppedWhole) {
  CapturedStdout console;
  Receive(std::string("gar\x03"
                      "bage\x03") +
          Frame(Probe("a")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no"));
  EXPECT_THAT(console.Text(), StartsWith("Command=HELLO json="));
}

TEST_F(FramingTest, GarbageWithoutAnyStxStaysUntilOneArrives) {
  Receive("garbage");
  EXPECT_EQ(7, Find(mLink)->GetDataLength());
  Receive(Frame(Probe("a")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no"));
  EXPECT_EQ(0, Find(mLink)->GetDataLength());
}

TEST_F(FramingTest, WithoutAnyStxTheFirstByteIsDroppedUnexamined) {
  Receive("x" + Probe("a") + kEtx);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no"));
}

TEST_F(FramingTest, GarbageBetweenTwoMessagesBecomesPartOfTheSecondText) {
  CapturedStdout console;
  Receive(Frame(Probe("a")) + "junk" + Frame(Probe("b")) + Frame(Probe("c")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no", "OnAuth c no"));
  EXPECT_THAT(console.Text(),
              HasSubstr("Parse error:syntax error at line 1 near: "
                        "unk{\"Command\":\"HELLO\",\"Id\":\"b\",\"Pass\":\"no\"}\n"));
}

TEST_F(FramingTest, GarbageThatStartsALaterReceiveIsDroppedAgain) {
  Receive(Frame(Probe("a")));
  Receive("junk" + Frame(Probe("b")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no", "OnAuth b no"));
}

TEST_F(FramingTest, StxAndEtxAloneAreAnEmptyText) {
  CapturedStdout console;
  Receive(Frame(""));
  EXPECT_EQ("Parse error:syntax error at line 1 near: \n", console.Text());
  EXPECT_NE(nullptr, Find(mLink));
}

// One byte from anybody: there is no text between the two ends of this message.
TEST_F(FramingTest, ALoneEtxIsAnEmptyText) {
  CapturedStdout console;
  Receive(kEtx);
  EXPECT_EQ("Parse error:syntax error at line 1 near: \n", console.Text());
  EXPECT_EQ(0, Find(mLink)->GetDataLength());
}

TEST_F(FramingTest, ASecondEtxIsAnEmptyText) {
  CapturedStdout console;
  Receive(Frame(Probe("a")) + kEtx + Frame(Probe("b")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no", "OnAuth b no"));
  EXPECT_THAT(console.Text(), HasSubstr("\nParse error:syntax error at line 1 near: \n"));
}

TEST_F(FramingTest, AZeroByteEndsTheTextThatTheReaderSees) {
  Receive(kStx + Probe("a") + std::string("\0}}}", 4) + kEtx);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no"));
}

TEST_F(FramingTest, AMessageThatFillsTheBufferExactlyIsExecuted) {
  const std::string probe = Probe("a");
  Receive(kStx + probe + std::string(kBuffer - 2 - probe.size(), ' ') + kEtx);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no"));
  ASSERT_NE(nullptr, Find(mLink));
  EXPECT_EQ(0, Find(mLink)->GetDataLength());
}

TEST_F(FramingTest, AFullBufferWithoutAnEndClosesTheConnectionWithOneLine) {
  Receive(kStx + std::string(kBuffer - 2, ' '));
  ASSERT_NE(nullptr, Find(mLink));
  EXPECT_EQ(static_cast<int>(kBuffer) - 1, Find(mLink)->GetDataLength());
  CapturedStdout console;
  mLink.station.SendRaw(" ");
  ASSERT_TRUE(RunUntil([&] { return Find(mLink) == nullptr; }));
  const std::string line = console.Text();
  EXPECT_GT(line.find('\n'), 0U);
  EXPECT_THAT(line.substr(line.find('\n') + 1), testing::AnyOf("", "socket delete\n"));
  ASSERT_TRUE(RunUntil([&] { return mLink.station.IsClosed(); }));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FramingTest, AFullBufferOfGarbageClosesTheConnection) {
  Receive(std::string(kBuffer, 'x'));
  EXPECT_TRUE(RunUntil([&] { return Find(mLink) == nullptr; }));
}

TEST_F(FramingTest, TheOtherStationsAreServedWhileOneSendsAMessageThatNeverEnds) {
  Link other = Connect();
  mLink.station.SendRaw(kStx + std::string(100000, ' '));
  Tell(other, Probe("b"));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth b no"));
}

// Hosts may read from the buffer and write into it.

TEST_F(FramingTest, AMessageBehindWhatAHookHasTakenIsFoundHoweverShortItIs) {
  const std::string unfinished = kStx + std::string(100, ' ');
  app.auth = [&](const KZString&, const KZString&, VQClientSocket* client) {
    char taken[200];
    EXPECT_EQ(static_cast<int>(unfinished.size()), client->GetData(taken, sizeof taken));
    app.auth = nullptr;
  };
  Receive(Frame(Probe("a")) + unfinished);
  Receive(Frame(Probe("b")));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth a no", "OnAuth b no"));
}

TEST_F(FramingTest, BytesThatAHostPutsThereAreASignOfLife) {
  const auto timer = static_cast<unsigned int>(mLink.id) + 1;
  Receive(kStx);
  mClock.AdvanceMs(1000);
  char bytes[] = "{";
  Find(mLink)->SetDataToBuffer(bytes, 1);
  Pass();
  EXPECT_THAT(DueIn(timer), ElementsAre(180000));
}

TEST_F(FramingTest, AsManyBytesAsAHostHasTakenAreASignOfLifeToo) {
  const auto timer = static_cast<unsigned int>(mLink.id) + 1;
  Receive(std::string(kStx) + "{");
  char taken[2];
  ASSERT_EQ(2, Find(mLink)->GetData(taken, 2));
  mClock.AdvanceMs(1000);
  Receive(std::string(kStx) + "{");
  EXPECT_THAT(DueIn(timer), ElementsAre(180000));
}

// The host reads by itself then.
TEST_F(FramingTest, AConnectionWithoutABufferIsNeverFull) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
  Station station(pair[1]);
  auto* client = new VQClientSocket(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 0);
  Pass();
  station.SendRaw("x");
  Pass(2);
  EXPECT_EQ(client, Find(client->GetId()));
}

TEST_F(FramingTest, OneByteFillsTheSmallestBuffer) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
  Station station(pair[1]);
  auto* client = new VQClientSocket(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 1);
  Pass();
  station.SendRaw(kStx);
  EXPECT_TRUE(RunUntil([&] { return station.IsClosed(); }));
}

TEST_F(FramingTest, ReturnsZeroToTheLoop) {
  EXPECT_EQ(0, Find(mLink)->OnReceive(nullptr, 0));
  char bytes[] = "\x02{}\x03";
  Find(mLink)->SetDataToBuffer(bytes, 4);
  EXPECT_EQ(0, Find(mLink)->OnReceive(nullptr, 0));
  EXPECT_EQ(0, Find(mLink)->GetDataLength());
}

}  // namespace
