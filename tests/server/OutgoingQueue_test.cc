// What a connection sends when its station reads slowly or not at all.
#include <fcntl.h>
#include <malloc.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <vector>

#include "dorn/server/Connection.h"
#include "dorn/server/OutgoingDrainer.h"
#include "dorn/server/OutgoingQueue.h"
#include "tests/server/ServerTest.h"
#include "tests/support/Deadline.h"
#include "tests/support/RecordingStream.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t kMiB = 1 << 20;

std::string Frame(const std::string& text) { return "\x02" + text + "\x03"; }

std::string Text(size_t length, char first) {
  std::string text(length, '.');
  for (size_t i = 0; i < length; ++i) text[i] = static_cast<char>(first + i % 20);
  return text;
}

class OutgoingQueueTest : public ServerTest {
 protected:
  // Trace lines of megabytes only disturb here.
  int Send(Link& link, const std::string& text) {
    const CapturedStdout console;
    return Find(link)->SendData(KZString(text));
  }

  static std::string Received(Link& link, size_t length) {
    EXPECT_TRUE(RunUntil([&] { return link.station.Bytes().size() >= length; }))
        << link.station.Bytes().size() << " of " << length;
    return link.station.Take(link.station.Bytes().size());
  }
};

TEST_F(OutgoingQueueTest, AMessageThatDoesNotFitIsAcceptedWholeAndArrivesWhole) {
  Link link = LoggedIn("S1");
  const std::string text = Text(4 * kMiB, 'a');
  EXPECT_EQ(static_cast<int>(text.size()) + 2, Send(link, text));
  EXPECT_TRUE(Frame(text) == Received(link, text.size() + 2));
}

TEST_F(OutgoingQueueTest, ATcpStationGetsEveryMessageWholeAndInOrder) {
  Link link = ConnectTcp(4096);
  std::string expected;
  for (int i = 0; i < 60; ++i) {
    const std::string text = Text(100000 + static_cast<size_t>(i), static_cast<char>('A' + i % 20));
    EXPECT_EQ(static_cast<int>(text.size()) + 2, Send(link, text)) << i;
    expected += Frame(text);
  }
  EXPECT_TRUE(expected == Received(link, expected.size()));
}

TEST_F(OutgoingQueueTest, ShortMessagesStayBehindTheLongOne) {
  Link link = LoggedIn("S1");
  const std::string text = Text(2 * kMiB, 'a');
  Send(link, text);
  EXPECT_EQ(5, Send(link, "one"));
  EXPECT_EQ(3, Find(link)->Send("raw", 3));
  EXPECT_EQ(5, Send(link, "two"));
  const std::string expected = Frame(text) + Frame("one") + "raw" + Frame("two");
  EXPECT_TRUE(expected == Received(link, expected.size()));
}

// A host may close all descriptors, to run in the background.
TEST_F(OutgoingQueueTest, WhatWaitsOutlivesTheEndOfTheDescriptorThatWatchesIt) {
  Link early = LoggedIn("S1"), late = LoggedIn("S2");
  const std::string text = Text(4 * kMiB, 'a');
  Send(early, text);
  KZFdDataList& list = *app.GetFdDataList();
  Pass();
  const auto drainer = std::find_if(list.begin(), list.end(), [](const KZFdData* record) {
    return record->GetId() == dorn::OutgoingDrainer::kId;
  });
  ASSERT_NE(list.end(), drainer);
  ASSERT_EQ(0, close((*drainer)->GetFD()));
  Pass(3);
  Send(late, text);
  EXPECT_TRUE(Frame(text) == Received(late, text.size() + 2));
  EXPECT_TRUE(Frame(text) == Received(early, text.size() + 2));
}

TEST(OutgoingQueueBudgetTest, IsUsedUpToItsLastByteAndNotExceeded) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  Station station(pair[1]);
  dorn::OutgoingQueue queue;
  queue.Append("0123456789", 10);
  using Result = dorn::OutgoingQueue::Result;
  EXPECT_EQ(Result::kMore, queue.Write(pair[0], 8));
  EXPECT_EQ("01234567", station.Take(station.Bytes().size()));
  EXPECT_EQ(Result::kMore, queue.Write(pair[0], 1));
  EXPECT_EQ("8", station.Take(station.Bytes().size()));
  EXPECT_EQ(Result::kEmpty, queue.Write(pair[0], 1));
  EXPECT_EQ("9", station.Bytes());
  close(pair[0]);
}

TEST_F(OutgoingQueueTest, OneTextMayBeLargerThanTheCap) {
  Link link = LoggedIn("S1");
  const std::string text = Text(20 * kMiB, 'a');
  EXPECT_EQ(static_cast<int>(text.size()) + 2, Send(link, text));
  EXPECT_TRUE(Frame(text) == Received(link, text.size() + 2));
}

TEST_F(OutgoingQueueTest, AStationThatDoesNotReadIsClosedWithOneLineWhenTooMuchIsQueued) {
  Link link = LoggedIn("S1"), other = LoggedIn("S2");
  const std::string text = Text(kMiB, 'a');
  std::string accepted, lines;
  int result = 0;
  for (int i = 0; i < 40 && Find(link) != nullptr; ++i) {
    CapturedStdout console;
    result = Find(link)->SendData(KZString(text));
    lines = console.Text();
    if (Find(link) != nullptr) accepted += Frame(text);
  }
  EXPECT_EQ(nullptr, Find(link));
  EXPECT_EQ(-1, result);
  EXPECT_GE(accepted.size(), 8 * kMiB);
  EXPECT_LE(accepted.size(), 10 * kMiB);
  EXPECT_EQ(2, std::count(lines.begin(), lines.end(), '\n'));  // The trace, and the reason.
  Pass();
  ASSERT_TRUE(RunUntil([&] { return link.station.IsClosed(); }));
  const std::string got = link.station.Bytes();
  EXPECT_TRUE(got == accepted.substr(0, got.size()));
  Tell(other, R"({"Command":"HELLO","Type":"T"})");
  EXPECT_EQ(1U, other.station.Messages().size());
}

TEST_F(OutgoingQueueTest, FloodingCommandsAreBoundedByTheSameCap) {
  Link link = Connect();
  app.auth = [](const KZString&, const KZString&, VQClientSocket*) {};
  const std::string command = R"({"Command":"HELLO","Id":"x"})";
  std::string commands = command;
  while (commands.size() < 500000) commands += "," + command;
  const CapturedStdout console;
  for (int i = 0; i < 20 && Find(link) != nullptr; ++i)
    Tell(link, "{\"Commands\":[" + commands + "]}");
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(OutgoingQueueTest, AllBacklogsTogetherNeedOneDescriptor) {
  Link a = LoggedIn("S1"), b = LoggedIn("S2"), c = LoggedIn("S3");
  const int before = OpenDescriptors();
  for (Link* link : {&a, &b, &c}) Send(*link, Text(2 * kMiB, 'a'));
  Pass();
  EXPECT_LE(OpenDescriptors(), before);
  for (Link* link : {&a, &b, &c}) {
    EXPECT_TRUE(Frame(Text(2 * kMiB, 'a')) == Received(*link, 2 * kMiB + 2));
  }
}

TEST_F(OutgoingQueueTest, DrainingTakesNoIdFromTheHosts) {
  const int before = app.GetFdDataList()->CreateUniqueId();
  Link link = LoggedIn("S1");
  Send(link, Text(2 * kMiB, 'a'));
  Pass(2);
  EXPECT_EQ(before + 1, app.GetFdDataList()->CreateUniqueId());
}

TEST_F(OutgoingQueueTest, AWaitingBacklogDoesNotKeepTheLoopBusy) {
  Link link = LoggedIn("S1");
  Send(link, Text(2 * kMiB, 'a'));
  Pass(3);
  app.ResetTimer();
  app.SetApplicationTimerInterval(20, 42);
  Pass();
  int passes = 0;
  for (const auto start = std::chrono::steady_clock::now();
       std::chrono::steady_clock::now() - start < std::chrono::milliseconds(100); ++passes) {
    app.RunPass();
    mClock.AdvanceMs(20);
  }
  EXPECT_LE(passes, 20);
}

TEST_F(OutgoingQueueTest, ABacklogThatWasReadLeavesTheLoopQuiet) {
  Link link = LoggedIn("S1");
  Send(link, Text(2 * kMiB, 'a'));
  Received(link, 2 * kMiB + 2);
  Pass(3);
  app.ResetTimer();
  app.SetApplicationTimerInterval(20, 42);
  Pass();
  int passes = 0;
  for (const auto start = std::chrono::steady_clock::now();
       std::chrono::steady_clock::now() - start < std::chrono::milliseconds(100); ++passes) {
    app.RunPass();
    mClock.AdvanceMs(20);
  }
  EXPECT_LE(passes, 20);
}

TEST_F(OutgoingQueueTest, AStationThatLeavesWithABacklogIsForgotten) {
  Link link = LoggedIn("S1"), other = LoggedIn("S2");
  Send(link, Text(2 * kMiB, 'a'));
  Pass();
  link.station.Close();
  ASSERT_TRUE(RunUntil([&] { return Connections() == 1; }));
  Send(other, Text(2 * kMiB, 'b'));
  EXPECT_TRUE(Frame(Text(2 * kMiB, 'b')) == Received(other, 2 * kMiB + 2));
}

TEST_F(OutgoingQueueTest, TheBacklogsOfTheOthersAreSentWhenOneStationLeaves) {
  Link leaving = LoggedIn("S1"), staying = LoggedIn("S2");
  for (Link* link : {&leaving, &staying}) Send(*link, Text(2 * kMiB, 'a'));
  Pass();
  Find(leaving)->Close();
  Pass();
  EXPECT_TRUE(Frame(Text(2 * kMiB, 'a')) == Received(staying, 2 * kMiB + 2));
}

TEST_F(OutgoingQueueTest, ClosingWritesWhatTheSocketStillTakes) {
  Link link = LoggedIn("S1");
  const std::string text = Text(2 * kMiB, 'a');
  Send(link, text);
  const std::string before = link.station.Bytes();
  EXPECT_EQ(0, Find(link)->Close());
  ASSERT_TRUE(RunUntil([&] { return link.station.IsClosed(); }));
  const std::string got = link.station.Bytes();
  EXPECT_GT(got.size(), before.size());
  EXPECT_TRUE(got == Frame(text).substr(0, got.size()));
}

TEST_F(OutgoingQueueTest, ADescriptorThatIsUsedAgainGetsNothingOfTheOldBacklog) {
  Link old = LoggedIn("S1");
  const int fd = Find(old)->GetFD();
  Send(old, Text(2 * kMiB, 'a'));
  Find(old)->Close();
  Pass();
  Link fresh = LoggedIn("S2");
  EXPECT_EQ(fd, Find(fresh)->GetFD());
  Send(fresh, "hello");
  Pass(3);
  EXPECT_EQ(Frame("hello"), fresh.station.Bytes());
}

// The end of its stream says that a station sends no more, not that it reads no more.
TEST_F(OutgoingQueueTest, AStationThatFinishedSendingStillGetsWhatIsQueued) {
  Link link = ConnectTcp();
  const std::string text = Text(6 * kMiB, 'a');
  Send(link, text);
  link.station.ShutdownWrite();
  Pass(5);
  EXPECT_TRUE(Frame(text) == Received(link, text.size() + 2));
  EXPECT_TRUE(RunUntil([&] { return link.station.IsClosed(); }));
  EXPECT_TRUE(RunUntil([] { return Connections() == 0; }));
}

TEST_F(OutgoingQueueTest, WhatAStationSentBeforeItFinishedSendingIsExecuted) {
  Shared("top", kTree);
  Link link = LoggedIn("S1", "top");
  Send(link, Text(2 * kMiB, 'a'));
  link.station.Send(R"({"Command":"CONDITION"})");
  link.station.ShutdownWrite();
  Pass(3);
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S1"));
  EXPECT_TRUE(Frame(Text(2 * kMiB, 'a')) == Received(link, 2 * kMiB + 2));
}

TEST_F(OutgoingQueueTest, AStationThatFinishedSendingAndDoesNotReadIsTimedOut) {
  Link link = ConnectTcp();
  Send(link, Text(6 * kMiB, 'a'));
  link.station.ShutdownWrite();
  Pass(5);
  EXPECT_EQ(1U, Connections());
  Wait(10000);
  EXPECT_EQ(0U, Connections());
}

// The KEEPALIVE waits behind what is queued: the station cannot answer what it has not seen.
TEST_F(OutgoingQueueTest, AStationThatIsStillReadingIsNotClosedForAMissingAnswer) {
  Link link = LoggedIn("S1");
  const std::string text = Text(4 * kMiB, 'a');
  Send(link, text);
  app.ApplicationTimer(timeval{}, static_cast<unsigned int>(link.id) + 1);
  mClock.AdvanceMs(9000);
  link.station.Bytes();
  Pass(3);
  Wait(1000);
  ASSERT_NE(nullptr, Find(link));
  const std::string expected = Frame(text) + Frame(R"({"Command":"KEEPALIVE"})");
  ASSERT_TRUE(RunUntil([&] { return link.station.Bytes().size() >= expected.size(); }));
  EXPECT_TRUE(expected == link.station.Bytes());
  Tell(link, R"({"Command":"KEEPALIVE"})");
  Wait(20000);
  EXPECT_NE(nullptr, Find(link));
}

TEST_F(OutgoingQueueTest, AStationThatHasStoppedReadingIsClosedForAMissingAnswer) {
  Link link = LoggedIn("S1");
  Send(link, Text(4 * kMiB, 'a'));
  Pass(3);
  app.ApplicationTimer(timeval{}, static_cast<unsigned int>(link.id) + 1);
  Wait(10000);
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(OutgoingQueueTest, ASlowStationGetsItsUpdatesWholeWhileTheOthersAreNotDelayed) {
  HookedDialog* dialog = Shared("top", kTree);
  Link slow = ConnectTcp(4096), quick = LoggedIn("S2", "top");
  Find(slow)->Authentication("S1");
  Find(slow)->mDialogName = "top";
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    const std::string value = Text(5000, static_cast<char>('a' + i % 5));
    dialog->GetResourceShare()->SearchName("b1")->SetValue("Value", VQValue(value), 1, "");
    {
      const CapturedStdout console;
      dialog->SendUpdateShare(false);
    }
    const std::string message =
        "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"" + value + "\",\"Name\":\"b1\"}]}\n";
    expected += Frame(message);
    ASSERT_THAT(quick.station.Messages(), ElementsAre(message)) << i;
    Pass();
  }
  EXPECT_TRUE(expected == Received(slow, expected.size()));
}

// Bytes of the heap in use; 0 where a sanitizer has replaced it.
size_t HeapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST_F(OutgoingQueueTest, WhatAQueueAllocatesIsBoundedWhateverTheLengthOfItsTexts) {
  for (const size_t length : {1U, 100U, 700U, 5000U, 33000U, 70000U, 1500000U}) {
    Link link = LoggedIn("S" + std::to_string(length));
    VQClientSocket* client = Find(link);
    const KZString text(Text(length, 'a'));
    const CapturedStdout console;
    const size_t before = HeapInUse();
    size_t most = before;
    while (client->SendData(text) > 0) most = std::max(most, HeapInUse());
    EXPECT_LE(most - before, 10000000U) << length;
    EXPECT_EQ(nullptr, Find(link));
    Pass();
  }
}

// How much may wait before what is sent next, to the byte.
class BacklogLimitTest : public OutgoingQueueTest {
 protected:
  static constexpr size_t kChunk = 64 << 10;

  static size_t Queued(const Link& link) {
    return dorn::Connection::Of(*Find(link)).Out().QueuedBytes();
  }

  // A station whose socket takes nothing more.
  Link Blocked() {
    Link link = LoggedIn("S" + std::to_string(++mCount));
    const char byte = 'x';
    while (write(Find(link)->GetFD(), &byte, 1) == 1) {
    }
    return link;
  }

  // Lets as much wait for a station as has that many bytes, with what is kept for each chunk.
  void Fill(Link& link, size_t bytes) {
    const size_t chunks = (bytes + kChunk + mPerChunk - 1) / (kChunk + mPerChunk);
    Send(link, Text(bytes - chunks * mPerChunk - 2, 'a'));
    ASSERT_EQ(bytes, Queued(link));
  }

  void SetUp() override {
    OutgoingQueueTest::SetUp();
    Link link = Blocked();
    Send(link, Text(998, 'a'));
    mPerChunk = Queued(link) - 1000;
  }

  size_t mPerChunk = 0;
  int mCount = 0;
};

TEST_F(BacklogLimitTest, ClosesAStationThatIsMoreThanAMomentBehind) {
  const struct {
    size_t queued;
    size_t next;
    bool isClosed;
  } rows[] = {
      {65535, 20000000, false},        {65536, 20000000, true},    {65536, 10000000 - 65537, false},
      {65536, 10000000 - 65536, true}, {8 * kMiB - 1, 100, false}, {8 * kMiB, 100, true},
  };
  for (const auto& row : rows) {
    Link link = Blocked();
    Fill(link, row.queued);
    const int result = Send(link, Text(row.next - 2, 'b'));
    EXPECT_EQ(row.isClosed ? -1 : static_cast<int>(row.next), result) << row.queued;
    EXPECT_EQ(row.isClosed, Find(link) == nullptr) << row.queued << " " << row.next;
  }
}

// A connection that takes nothing, and whose sending was interrupted.
class InterruptedClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int Send(const void*, int) override {
    errno = EINTR;
    return 0;
  }
};

TEST_F(OutgoingQueueTest, AnInterruptionBeforeDoesNotMakeTheWaitForRoomEndless) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  const Station station(pair[1]);
  auto* client = new InterruptedClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  Pass();
  const char byte = 'x';
  while (write(pair[0], &byte, 1) == 1) {
  }
  const HangGuard guard;
  dorn::Outgoing& out = dorn::Connection::Of(*client).Out();
  EXPECT_TRUE(out.SendBlock(&byte, 1));
  EXPECT_TRUE(out.HasBacklog());
}

// A connection whose notices are seen.
class NoticingClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int OnNotice(int code, int value) override {
    mNotices.push_back(code);
    mNotices.push_back(value);
    return VQClientSocket::OnNotice(code, value);
  }
  void OnClose() override {
    VQClientSocket::OnClose();
    mLast = mNotices;
  }
  std::vector<int> mNotices;
  static std::vector<int> mLast;  // Outlives the object.
};
std::vector<int> NoticingClient::mLast;

class BrokenConnectionTest : public OutgoingQueueTest {
 protected:
  // A station of a NoticingClient with a backlog.
  void Connect() {
    TcpAcceptor acceptor;
    ASSERT_TRUE(mStation.Connect(acceptor.Port()));
    const int fd = dup(acceptor.Accept().Fd());
    fcntl(fd, F_SETFL, O_NONBLOCK);
    mClient = new NoticingClient(&mStream, app.GetFdDataList());
    mClient->Create(fd, 3000);
    Pass();
    const CapturedStdout console;
    mClient->SendData(KZString(Text(6 * kMiB, 'a')));
  }

  void ExpectReportOfReset() {
    NoticingClient::mLast.clear();
    ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
    EXPECT_THAT(NoticingClient::mLast, ElementsAre(1002, ECONNRESET));
    EXPECT_TRUE(mStream.Has("recvfrom (Connection reset by peer)\n"));
  }

  TcpPeer mStation;
  RecordingStream mStream;
  NoticingClient* mClient = nullptr;
};

TEST_F(BrokenConnectionTest, AResetWithABacklogIsReportedAsOneWithoutIs) {
  Connect();
  Pass(3);
  mStation.Reset();
  ExpectReportOfReset();
}

// The drainer, which is watched since the first backlog, comes before this connection.
TEST_F(BrokenConnectionTest, AResetThatTheDrainerMeetsFirstIsReportedToo) {
  Link earlier = LoggedIn("S1");
  Send(earlier, Text(6 * kMiB, 'a'));
  Pass(3);
  Find(earlier)->Close();
  Connect();
  Pass(3);
  mStation.Reset();
  ExpectReportOfReset();
}

// The end of its stream was all that there was to read.
TEST_F(BrokenConnectionTest, AResetOfAStationThatHadFinishedSendingEndsIt) {
  Connect();
  mStation.ShutdownWrite();
  Pass(5);
  ASSERT_EQ(1U, Connections());
  mStation.Reset();
  EXPECT_TRUE(RunUntil([] { return Connections() == 0; }));
}

TEST_F(OutgoingQueueTest, AnObjectThatIsUsedAgainDoesNotEndWithItsFirstBacklog) {
  Link link = ConnectTcp();
  VQClientSocket* client = Find(link);
  Send(link, Text(6 * kMiB, 'a'));
  link.station.ShutdownWrite();
  Pass(5);
  client->Close();
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  client->Create(pair[0], 3000);
  Link next;
  next.station = Station(pair[1]);
  next.id = link.id;
  Pass();
  const std::string text = Text(kMiB, 'b');
  Send(next, text);
  EXPECT_TRUE(Frame(text) == Received(next, text.size() + 2));
  Pass(3);
  EXPECT_EQ(client, Find(next));
}

// A connection whose own OnClose() does not call the library's.
class SilentClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  void OnClose() override {}
};

TEST_F(OutgoingQueueTest, AClosedConnectionTakesNothingBehindABacklogEither) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  const Station station(pair[1]);
  auto* client = new SilentClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  Pass();
  const CapturedStdout console;
  client->SendData(KZString(Text(2 * kMiB, 'a')));
  ASSERT_TRUE(dorn::Connection::Of(*client).Out().HasBacklog());
  client->Close();
  EXPECT_EQ(-1, client->SendData("more"));
  EXPECT_EQ(-1, client->Send("more", 4));
}

TEST_F(OutgoingQueueTest, TakingBytesPutsTheEndOffFiveTimesAndNotForEver) {
  Link link = LoggedIn("S1");
  Send(link, Text(7 * kMiB, 'a'));
  app.ApplicationTimer(timeval{}, static_cast<unsigned int>(link.id) + 1);
  const auto takeSomeAndWait = [&] {
    mClock.AdvanceMs(9000);
    link.station.Bytes();
    Pass(2);
    Wait(1000);
  };
  for (int i = 0; i < 5; ++i) {
    takeSomeAndWait();
    ASSERT_NE(nullptr, Find(link)) << i;
  }
  takeSomeAndWait();
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(OutgoingQueueTest, BytesThatWentOutBeforeAreNoReasonToMissATimer) {
  Link link = LoggedIn("S1");
  const std::string text = Text(kMiB, 'a');
  Send(link, text);
  Received(link, text.size() + 2);
  app.ApplicationTimer(timeval{}, static_cast<unsigned int>(link.id) + 2);
  EXPECT_EQ(nullptr, Find(link));
}

}  // namespace
