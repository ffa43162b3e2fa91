// What one connection sends: to the byte, and what is done when it cannot be sent.
#include "dorn/server/Outgoing.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "dorn/server/Connection.h"
#include "tests/server/CallSpy.h"
#include "tests/server/ServerTest.h"
#include "tests/support/Deadline.h"
#include "tests/support/HeapBytes.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class OutgoingTest : public ServerTest {
 protected:
  static dorn::Outgoing& Out(VQClientSocket* client) { return dorn::Connection::Of(*client).Out(); }

  static std::string Framed(const std::string& text) { return "\x02" + text + "\x03"; }

  // Trace lines of megabytes only disturb here.
  static int SendQuietly(VQClientSocket* client, const std::string& text) {
    const CapturedStdout console;
    return client->SendData(KZString(text));
  }

  static void FillSocket(int fd) {
    const std::string bytes(4096, 'x');
    for (const size_t length : {bytes.size(), size_t{1}}) {
      while (write(fd, bytes.data(), length) > 0) {
      }
    }
  }

  // Puts another file in the place of a connection's socket.
  static void Replace(VQClientSocket* client, int other) {
    ASSERT_EQ(client->GetFD(), dup2(other, client->GetFD()));
  }

  // A file in memory takes whatever is written.
  static int MemoryFile() { return memfd_create("sent", MFD_CLOEXEC); }

  static long long LengthOf(int file) {
    struct stat status {};
    EXPECT_EQ(0, fstat(file, &status));
    return status.st_size;
  }
};

TEST_F(OutgoingTest, NothingWaitsForAStationThatHasTakenEverything) {
  Link link = LoggedIn("S1");
  dorn::Outgoing& out = Out(Find(link));
  EXPECT_EQ(3, SendQuietly(Find(link), "a"));
  EXPECT_EQ(0U, out.QueuedBytes());
  EXPECT_FALSE(out.HasBacklog());
  EXPECT_FALSE(out.TakesBytes());
  EXPECT_FALSE(out.AwaitsRoom());
  EXPECT_FALSE(out.TakeProgress());
  out.Drain();
  out.WriteLast();
  EXPECT_EQ(Framed("a"), link.station.Bytes());
  EXPECT_NE(nullptr, Find(link));
}

TEST_F(OutgoingTest, TextsThatNearlyAgreeAreNotTakenForEachOther) {
  Link link = LoggedIn("S1");
  for (const char* text : {"b", "a", "b", "bb", "ba", "ab", "aba", "abb"}) {
    SendQuietly(Find(link), text);
    EXPECT_THAT(link.station.Messages(), ElementsAre(text));
  }
  SendQuietly(Find(link), "a");
  SendQuietly(Find(link), "\x03");
  EXPECT_THAT(link.station.Messages(), ElementsAre("a", " "));
}

TEST_F(OutgoingTest, WhatMayNotBeInATextBecomesABlankWhereverItIs) {
  Link link = LoggedIn("S1");
  SendQuietly(Find(link), std::string("\x02"
                                      "a\x03"
                                      "b\0",
                                      5));
  EXPECT_EQ(Framed(" a b "), link.station.Take(100));
  SendQuietly(Find(link), "\x03");
  EXPECT_EQ(Framed(" "), link.station.Take(100));
  SendQuietly(Find(link), "\x01\x04");
  EXPECT_EQ(Framed("\x01\x04"), link.station.Take(100));
}

TEST_F(OutgoingTest, ATextThatFindsNoRoomAtAllArrivesWhole) {
  Link link = LoggedIn("S1");
  FillSocket(Find(link)->GetFD());
  EXPECT_EQ(7, SendQuietly(Find(link), "hello"));
  CallSpy::sLongestPollMs = 0;
  CallSpy::sMostPolled = 0;
  EXPECT_TRUE(Out(Find(link)).AwaitsRoom());
  EXPECT_EQ(0, CallSpy::sLongestPollMs);
  EXPECT_EQ(1, CallSpy::sMostPolled);
  ASSERT_TRUE(RunUntil([&] {
    link.station.Bytes();
    return !Out(Find(link)).HasBacklog();
  }));
  const std::string got = link.station.Bytes();
  EXPECT_EQ("x" + Framed("hello"), got.substr(got.size() - 8));
}

TEST_F(OutgoingTest, ATextWhoseWriteIsInterruptedArrivesWhole) {
  Link link = LoggedIn("S1");
  CallSpy::sInterruptedFd = Find(link)->GetFD();
  EXPECT_EQ(7, SendQuietly(Find(link), "hello"));
  EXPECT_EQ(-1, CallSpy::sInterruptedFd);
  EXPECT_TRUE(Out(Find(link)).HasBacklog());
  EXPECT_TRUE(RunUntil([&] { return link.station.Bytes() == Framed("hello"); }));
}

TEST_F(OutgoingTest, ATextOfWhichASingleByteIsTakenArrivesWhole) {
  Link link = LoggedIn("S1");
  const int fd = Find(link)->GetFD();
  CallSpy::sNarrowFd = fd;
  EXPECT_EQ(7, SendQuietly(Find(link), "hello"));
  EXPECT_EQ("\x02", link.station.Bytes());
  CallSpy::sNarrowFd = fd;
  Out(Find(link)).Drain();
  EXPECT_EQ(-1, CallSpy::sNarrowFd);
  EXPECT_EQ(Framed("hello"), link.station.Bytes());
}

TEST_F(OutgoingTest, ABacklogWhoseWriteIsInterruptedIsWrittenAllTheSame) {
  Link link = LoggedIn("S1");
  dorn::Outgoing& out = Out(Find(link));
  EXPECT_TRUE(out.Enqueue("hello", 5));
  CallSpy::sInterruptedFd = Find(link)->GetFD();
  out.Drain();
  EXPECT_EQ(-1, CallSpy::sInterruptedFd);
  EXPECT_EQ("hello", link.station.Bytes());
  EXPECT_FALSE(out.HasBacklog());
}

// A connection of no loop: nobody would send the rest.
class LooplessTest : public OutgoingTest {
 protected:
  void SetUp() override {
    OutgoingTest::SetUp();
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
    mClient.SetFD(pair[0]);
    mStation = Station(pair[1]);
  }
  void TearDown() override {
    close(mClient.SetFD(-1));
    OutgoingTest::TearDown();
  }

  VQClientSocket mClient{&app.mLog, nullptr};
  Station mStation;
};

TEST_F(LooplessTest, SendingReturnsWhatTheSocketTook) {
  const std::string text(4000000, 'a');
  const auto before = app.Statistics();
  const int result = SendQuietly(&mClient, text);
  EXPECT_GT(result, 0);
  EXPECT_LT(result, 4000000);
  EXPECT_EQ(static_cast<size_t>(result), mStation.Bytes().size());
  EXPECT_EQ(before.messagesOut + 1, app.Statistics().messagesOut);
}

TEST_F(LooplessTest, ATextOfWhichASingleByteIsTakenCountsAsSent) {
  const auto before = app.Statistics();
  CallSpy::sNarrowFd = mClient.GetFD();
  EXPECT_EQ(1, SendQuietly(&mClient, "a"));
  EXPECT_EQ(before.messagesOut + 1, app.Statistics().messagesOut);
}

TEST_F(LooplessTest, SendingWithoutRoomFails) {
  FillSocket(mClient.GetFD());
  const auto before = app.Statistics();
  errno = 0;
  EXPECT_EQ(-1, SendQuietly(&mClient, "a"));
  EXPECT_EQ(EAGAIN, errno);
  EXPECT_EQ(before.messagesOut, app.Statistics().messagesOut);
}

// The list of a loop that is no application's.
TEST_F(OutgoingTest, WhatNobodyCanWatchClosesTheConnection) {
  KZFdDataList list;
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
  Station station(pair[1]);
  VQClientSocket client(&app.mLog, &list);
  client.SetFD(pair[0]);
  FillSocket(pair[0]);
  CapturedStdout console;
  EXPECT_EQ(-1, client.SendData("a"));
  EXPECT_EQ(ENOBUFS, errno);
  EXPECT_THAT(console.Text(), HasSubstr(" closed: the rest of a message cannot be queued: "));
  EXPECT_EQ(-1, client.GetFD());
  station.Bytes();
  EXPECT_TRUE(station.IsClosed());
}

TEST_F(OutgoingTest, AFileBehindTooMuchClosesTheConnectionAndIsClosed) {
  Link link = LoggedIn("S1");
  const std::string name = WriteResource("a.bin", "xyz");
  const std::string path = FolderPath() + "/a.bin";
  FillSocket(Find(link)->GetFD());
  dorn::Outgoing& out = Out(Find(link));
  const std::string bytes(9 << 20, 'a');
  EXPECT_TRUE(out.Enqueue(bytes.data(), bytes.size()));
  const int before = OpenDescriptors();
  {
    CapturedStdout console;
    out.EnqueueFile(KZString(path), open(path.c_str(), O_RDONLY | O_CLOEXEC), 0, 3);
    EXPECT_THAT(console.Text(), HasSubstr(" closed: it does not read, "));
  }
  EXPECT_EQ(nullptr, Find(link));
  EXPECT_EQ(before - 1, OpenDescriptors());  // That of the connection.
}

TEST_F(OutgoingTest, OneTurnOfABacklogIsAQuarterOfAMebibyte) {
  Link link = LoggedIn("S1");
  VQClientSocket* client = Find(link);
  FillSocket(client->GetFD());
  const std::string bytes(600000, 'a');
  EXPECT_TRUE(Out(client).Enqueue(bytes.data(), bytes.size()));
  int ends[2];
  ASSERT_EQ(0, pipe2(ends, O_NONBLOCK | O_CLOEXEC));
  ASSERT_LE(600000, fcntl(ends[1], F_SETPIPE_SZ, 1 << 20));
  Replace(client, ends[1]);
  close(ends[1]);
  for (const int expected : {256 << 10, 512 << 10, 600000}) {
    Out(client).Drain();
    int written = 0;
    ASSERT_EQ(0, ioctl(ends[0], FIONREAD, &written));
    EXPECT_EQ(expected, written);
  }
  client->Close();
  close(ends[0]);
}

TEST_F(OutgoingTest, WhatAConnectionWritesBeforeItsEndIsFourMebibytesAtMost) {
  Link link = LoggedIn("S1");
  VQClientSocket* client = Find(link);
  FillSocket(client->GetFD());
  const std::string bytes(6 << 20, 'a');
  EXPECT_TRUE(Out(client).Enqueue(bytes.data(), bytes.size()));
  const int file = MemoryFile();
  Replace(client, file);
  client->Close();
  EXPECT_EQ(4 << 20, LengthOf(file));
  close(file);
}

TEST_F(OutgoingTest, ABacklogOfADescriptorThatIsGoneClosesTheConnection) {
  Link link = LoggedIn("S1");
  VQClientSocket* client = Find(link);
  EXPECT_TRUE(Out(client).Enqueue("abc", 3));
  const auto before = app.Statistics();
  CapturedStdout console;
  ASSERT_EQ(0, close(client->GetFD()));
  Out(client).Drain();
  EXPECT_EQ("Connection " + std::to_string(link.id) +
                " closed: the rest of a message cannot be sent: Bad file descriptor\n",
            console.Text());
  EXPECT_EQ(nullptr, Find(link));
  EXPECT_EQ(before.closedByStation + 1, app.Statistics().closedByStation);
}

// A connection whose own OnClose() does not call the library's.
class MuteClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  void OnClose() override { ++mClosed; }
  int mClosed = 0;
};

TEST_F(OutgoingTest, AClosedConnectionWritesNothingOfItsBacklogAndIsNotClosedAgain) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
  Station station(pair[1]);
  MuteClient client(&app.mLog, app.GetFdDataList());
  client.SetFD(pair[0]);
  FillSocket(pair[0]);
  EXPECT_EQ(3, SendQuietly(&client, "a"));
  client.Close();
  ASSERT_TRUE(Out(&client).HasBacklog());
  EXPECT_FALSE(Out(&client).TakesBytes());
  CapturedStdout console;
  Out(&client).Drain();
  Out(&client).WriteLast();
  EXPECT_EQ("", console.Text());
  EXPECT_EQ(1, client.mClosed);
  EXPECT_EQ(-1, SendQuietly(&client, "b"));
  Pass(2);
}

// A sanitizer sees what happens when it is not forgotten. A child of the host may keep the socket.
TEST_F(OutgoingTest, AConnectionThatIsGoneIsNotToldOfRoom) {
  Link link = LoggedIn("S1");
  const int copy = dup(Find(link)->GetFD());
  FillSocket(copy);
  EXPECT_EQ(3, SendQuietly(Find(link), "a"));
  Find(link)->Close();
  Pass(2);
  EXPECT_EQ(0U, Connections());
  link.station.Bytes();
  Pass(2);
  EXPECT_EQ(std::string::npos, link.station.Bytes().find('a'));
  close(copy);
}

// Blocks

// A connection that sends a block in its own way.
class BlockClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int Send(const void* data, int length) override {
    mSent.emplace_back(static_cast<const char*>(data), static_cast<size_t>(length));
    errno = mError;
    if (mRefused > 0) {
      --mRefused;
      return 0;
    }
    return std::min(mTaken, length);
  }
  std::vector<std::string> mSent;
  int mRefused = 0;  // How often nothing is taken.
  int mTaken = 1000;
  int mError = 0;
};

class BlockTest : public OutgoingTest {
 protected:
  void SetUp() override {
    OutgoingTest::SetUp();
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
    mStation = Station(pair[1]);
    mClient = new BlockClient(&app.mLog, app.GetFdDataList());
    mClient->Create(pair[0], 3000);
    Pass();
    CallSpy::sPolls = 0;
    CallSpy::sLongestPollMs = 0;
    CallSpy::sMostPolled = 0;
  }

  // A wait that does not end ends the test by a signal.
  HangGuard mGuard;
  BlockClient* mClient = nullptr;
  Station mStation;
};

TEST_F(BlockTest, IsSentWithOneCallThatTakesIt) {
  EXPECT_TRUE(Out(mClient).SendBlock("a", 1));
  EXPECT_THAT(mClient->mSent, ElementsAre("a"));
  EXPECT_EQ(0, CallSpy::sPolls) << "nobody waits for room that is not needed";
}

TEST_F(BlockTest, OfWhichAByteIsTakenAtATimeIsSentByteByByte) {
  mClient->mTaken = 1;
  EXPECT_TRUE(Out(mClient).SendBlock("abc", 3));
  EXPECT_THAT(mClient->mSent, ElementsAre("abc", "bc", "c"));
  EXPECT_FALSE(Out(mClient).HasBacklog());
}

TEST_F(BlockTest, WaitsHalfASecondAtMostForRoom) {
  FillSocket(mClient->GetFD());
  mClient->mRefused = 1;
  EXPECT_TRUE(Out(mClient).SendBlock("abc", 3));
  EXPECT_EQ(500, CallSpy::sLongestPollMs);
  EXPECT_EQ(1, CallSpy::sMostPolled);
  EXPECT_THAT(mClient->mSent, ElementsAre("abc"));
  EXPECT_TRUE(Out(mClient).HasBacklog());
}

TEST_F(BlockTest, GoesOnWaitingForRoomAfterAnInterruption) {
  for (const int error : {0, EINTR}) {
    mClient->mSent.clear();
    mClient->mRefused = 1;
    mClient->mError = error;
    CallSpy::sPolls = 0;
    CallSpy::sInterruptedPolls = 2;
    EXPECT_TRUE(Out(mClient).SendBlock("abc", 3));
    EXPECT_EQ(3, CallSpy::sPolls);
    EXPECT_THAT(mClient->mSent, ElementsAre("abc", "abc"));
    EXPECT_FALSE(Out(mClient).HasBacklog());
  }
}

// It may have been interrupted long ago.
TEST_F(BlockTest, DoesNotWaitAgainWhenThereIsRoom) {
  mClient->mRefused = 1;
  mClient->mError = EINTR;
  EXPECT_TRUE(Out(mClient).SendBlock("abc", 3));
  EXPECT_EQ(1, CallSpy::sPolls);
  EXPECT_THAT(mClient->mSent, ElementsAre("abc", "abc"));
}

TEST_F(BlockTest, LinesUpBehindABacklogWithoutACall) {
  FillSocket(mClient->GetFD());
  SendQuietly(mClient, "a");
  const size_t queued = Out(mClient).QueuedBytes();
  EXPECT_TRUE(Out(mClient).SendBlock("", 0));
  EXPECT_EQ(queued, Out(mClient).QueuedBytes());
  EXPECT_TRUE(Out(mClient).SendBlock("raw", 3));
  EXPECT_THAT(mClient->mSent, ElementsAre());
  ASSERT_TRUE(RunUntil([&] {
    mStation.Bytes();
    return !Out(mClient).HasBacklog();
  }));
  const std::string got = mStation.Bytes();
  EXPECT_EQ("x" + Framed("a") + "raw", got.substr(got.size() - 7));
}

// Memory

// One text usually goes to many stations in a row.
TEST_F(OutgoingTest, TheFrameOfATextIsKeptUpToAMebibyte) {
  Link link = LoggedIn("S1");
  const int file = MemoryFile();
  Replace(Find(link), file);
  const KZString large(std::string(2 << 20, 'a'));
  const KZString most(std::string((1 << 20) - 2, 'b'));
  const KZString more(std::string((1 << 20) - 1, 'c'));
  const CapturedStdout console;
  Find(link)->SendData(large);
  const size_t before = HeapBytes();
  Find(link)->SendData(most);
  EXPECT_GE(HeapBytes(), before + (1 << 20));
  EXPECT_LE(HeapBytes(), before + (1 << 20) + (64 << 10));
  Find(link)->SendData(large);
  EXPECT_LE(HeapBytes(), before + (64 << 10));
  Find(link)->SendData(more);
  EXPECT_LE(HeapBytes(), before + (64 << 10));
  EXPECT_EQ(2 * ((2 << 20) + 2) + (1 << 20) + (1 << 20) + 1, LengthOf(file));
  close(file);
}

}  // namespace
