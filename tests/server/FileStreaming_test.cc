// GETFILE of big files: slow readers, many requests, files that change meanwhile.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <vector>

#include "dorn/server/OutgoingQueue.h"
#include "tests/server/FileTransferTest.h"
#include "tests/support/Deadline.h"

namespace {

// While it is not 0, what every read of a part of a file fails with.
int gReadError = 0;

// Of how many of the next ones that is so; less than 0: of all.
int gFailingReads = -1;

int gReads = 0;
size_t gLongestRead = 0;

}  // namespace

// In place of the C library's: no file of a test fails by itself.
extern "C" ssize_t pread(int file, void* bytes, size_t length, off_t offset) {
  using Pread = ssize_t (*)(int, void*, size_t, off_t);
  static const auto real = reinterpret_cast<Pread>(dlsym(RTLD_NEXT, "pread"));
  ++gReads;
  gLongestRead = std::max(gLongestRead, length);
  if (gReadError == 0 || gFailingReads == 0) return real(file, bytes, length, offset);
  if (gFailingReads > 0) --gFailingReads;
  errno = gReadError;
  return -1;
}

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

using FileStreamingTest = FileTransferTest;

TEST_F(FileStreamingTest, AFiveMegabyteFileArrivesWholeAndInOrder) {
  const std::string text = Pattern(5 << 20);
  const std::string name = File("big.bin", text);
  Get(name);
  SendMarker();
  const std::string expected = Frame(Follows(name, text.size())) + text + Frame("marker");
  EXPECT_TRUE(expected == Received(expected.size()));
}

TEST_F(FileStreamingTest, AStationThatDoesNotReadDelaysNobody) {
  const std::string name = File("big.bin", Pattern(5 << 20));
  Link other = LoggedIn("S2");
  const int before = OpenDescriptors();
  Get(name);
  Tell(other, R"({"Command":"HELLO","Type":"T"})");
  EXPECT_EQ(1U, other.station.Messages().size());
  app.SetApplicationSingleTimerInterval(1, 42);
  Calls().clear();
  Wait(1);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app 42"));
  EXPECT_LE(OpenDescriptors(), before + 1);  // The file.
}

TEST_F(FileStreamingTest, AWaitingTransferDoesNotKeepTheLoopBusy) {
  const std::string name = File("big.bin", Pattern(5 << 20));
  Get(name);
  Pass(5);
  app.ResetTimer();
  app.SetApplicationTimerInterval(20, 42);
  int passes = 0;
  for (const auto start = std::chrono::steady_clock::now();
       std::chrono::steady_clock::now() - start < std::chrono::milliseconds(100); ++passes) {
    app.RunPass();
    mClock.AdvanceMs(20);
  }
  EXPECT_LE(passes, 20);
}

TEST_F(FileStreamingTest, ManyRequestsAreAnsweredInOrder) {
  const std::string a = Pattern(700000), b = Pattern(300001);
  const std::string nameA = File("a.bin", a), nameB = File("b.bin", b);
  Tell(mLink, R"({"Commands":[{"Command":"GETFILE","File":")" + nameA +
                  R"("},{"Command":"GETFILE","File":"zz"},{"Command":"GETFILE","File":")" + nameB +
                  R"("},{"Command":"GETFILE","File":")" + nameA + R"("}]})");
  const std::string expected =
      Frame(Follows(nameA, a.size())) + a + Frame(Error("zz", "FILE NOT FOUND")) +
      Frame(Follows(nameB, b.size())) + b + Frame(Follows(nameA, a.size())) + a;
  EXPECT_TRUE(expected == Received(expected.size()));
}

TEST_F(FileStreamingTest, ManyRequestsForAFileHoldFewDescriptors) {
  const std::string name = File("a.bin", Pattern(1 << 20));
  const int before = OpenDescriptors();
  std::string commands;
  for (int i = 0; i < 50; ++i) {
    commands += (i == 0 ? "" : ",") + (R"({"Command":"GETFILE","File":")" + name + R"("})");
  }
  Tell(mLink, R"({"Commands":[)" + commands + "]}");
  EXPECT_LE(OpenDescriptors(), before + 4);
}

TEST_F(FileStreamingTest, AFileThatGrowsIsSentToItsAnnouncedLength) {
  const std::string text = Pattern(3 << 20);
  const std::string name = File("grow.bin", text);
  Get(name);
  std::ofstream(Path(name), std::ios::binary | std::ios::app) << std::string(100000, 'g');
  SendMarker();
  const std::string expected = Frame(Follows(name, text.size())) + text + Frame("marker");
  EXPECT_TRUE(expected == Received(expected.size()));
}

// It counts the bytes: what came behind them would be taken for the rest of the file.
TEST_F(FileStreamingTest, AFileThatShrinksClosesTheConnection) {
  const std::string text = Pattern(3 << 20);
  const std::string name = File("shrink.bin", text);
  Get(name);
  SendMarker();
  ASSERT_EQ(0, truncate(Path(name).c_str(), 1000));
  const auto before = app.Statistics().closedByHost;
  CapturedStdout console;
  ASSERT_TRUE(RunUntil([&] {
    mLink.station.Bytes();
    return mLink.station.IsClosed();
  }));
  EXPECT_THAT(console.Text(),
              HasSubstr("Connection 134217728 closed: a file that was being sent to it is shorter "
                        "now, or not the same\n"));
  const std::string got = mLink.station.Bytes();
  const std::string announced = Frame(Follows(name, text.size()));
  EXPECT_EQ(announced, got.substr(0, announced.size()));
  EXPECT_TRUE(got.substr(announced.size()) == text.substr(0, got.size() - announced.size()));
  EXPECT_LT(got.size(), text.size());
  EXPECT_EQ(before + 1, app.Statistics().closedByHost);
}

TEST_F(FileStreamingTest, AFileThatCannotBeReadClosesTheConnection) {
  const HangGuard guard;
  const std::string name = File("broken.bin", Pattern(3 << 20));
  CapturedStdout console;
  gReadError = EIO;
  Get(name);
  EXPECT_TRUE(RunUntil([&] {
    mLink.station.Bytes();
    return mLink.station.IsClosed();
  }));
  gReadError = 0;
  EXPECT_THAT(console.Text(), HasSubstr(" closed: a file that was being sent to it is shorter "));
  EXPECT_EQ(Frame(Follows(name, 3 << 20)), mLink.station.Bytes());
}

// What errno says is of no interest where nothing has failed.
TEST_F(FileStreamingTest, AnInterruptionBeforeDoesNotMakeTheEndOfAShorterFileEndless) {
  const std::string name = File("short.bin", "bytes");
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  Station station(pair[1]);
  dorn::OutgoingQueue queue;
  queue.AppendFile(Path(name), open(Path(name).c_str(), O_RDONLY | O_CLOEXEC), 0, 10);
  const HangGuard guard;
  errno = EINTR;
  EXPECT_EQ(dorn::OutgoingQueue::Result::kCutShort, queue.Write(pair[0], 100));
  close(pair[0]);
  EXPECT_EQ("bytes", station.Bytes());
}

TEST_F(FileStreamingTest, AFileThatIsReplacedBehindManyOthersClosesTheConnection) {
  const std::string first = File("first.bin", Pattern(3 << 20));
  const std::string second = File("second.bin", "old");
  for (int i = 0; i < 5; ++i) Get(first);
  Get(second);
  SendMarker();
  File("new.bin", "new");
  std::filesystem::rename(FolderPath() + "/new.bin", FolderPath() + "/second.bin");
  std::string got;
  ASSERT_TRUE(RunUntil([&] {
    got += mLink.station.Take(mLink.station.Bytes().size());
    return mLink.station.IsClosed();
  }));
  const std::string announced = Frame(Follows(second, 3));
  ASSERT_GT(got.size(), 15U << 20);
  EXPECT_EQ(announced, got.substr(got.size() - announced.size()));
}

TEST_F(FileStreamingTest, AStationThatLeavesInTheMiddleLeavesNothingBehind) {
  const std::string name = File("big.bin", Pattern(5 << 20));
  Get(name);
  const int before = OpenDescriptors();
  mLink.station.Close();
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_LT(OpenDescriptors(), before);
}

// The raw bytes go through the connection's own Send, block by block.
class RecordingClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int Send(const void* data, int length) override {
    mBlocks.push_back(length);
    if (static_cast<int>(mBlocks.size()) == mFailing) {
      errno = mError;
      return mFailure;
    }
    return VQClientSocket::Send(data, length);
  }
  std::vector<int> mBlocks;
  int mFailing = 0;  // Which call fails; 0: none.
  int mFailure = -1;
  int mError = 0;
};

TEST_F(FileStreamingTest, BlocksOfOneKibibyteGoThroughSend) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  auto* client = new RecordingClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  Station station(pair[1]);
  Pass();
  const struct {
    size_t length;
    std::vector<int> blocks;
  } rows[] = {{0, {}}, {1, {1}}, {1024, {1024}}, {1025, {1024, 1}}, {2500, {1024, 1024, 452}}};
  for (const auto& row : rows) {
    client->mBlocks.clear();
    const std::string text = Pattern(row.length);
    const std::string name = File("a.bin", text);
    client->OnGetfile(KZString(name), "", "");
    EXPECT_EQ(row.blocks, client->mBlocks) << row.length;
    EXPECT_EQ(Frame(Follows(name, row.length)) + text, station.Take(10000));
  }
}

// More of it is sent when others have had their turn.
TEST_F(FileStreamingTest, OneTurnOfAFileIsSixtyFourKibibytes) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  auto* client = new RecordingClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  Station station(pair[1]);
  Pass();
  const std::string text = Pattern(100000);
  const std::string name = File("a.bin", text);
  app.timer = [&](unsigned int) {
    client->OnGetfile(KZString(name), "", "");
    EXPECT_THAT(client->mBlocks, SizeIs(64));
    EXPECT_THAT(client->mBlocks, Each(1024));
  };
  app.SetApplicationSingleTimerInterval(1, 42);
  Wait(1);
  EXPECT_THAT(client->mBlocks, SizeIs(64)) << "the rest does not go through Send()";
  const std::string expected = Frame(Follows(name, text.size())) + text;
  EXPECT_TRUE(RunUntil([&] { return station.Bytes().size() >= expected.size(); }));
  EXPECT_TRUE(expected == station.Bytes());
}

// A connection of which no raw byte can be sent.
class BrokenClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int Send(const void*, int) override {
    ++mCalls;
    errno = EPIPE;
    return -1;
  }
  int mCalls = 0;
};

TEST_F(FileStreamingTest, AFileOfWhichNoBlockCanBeSentIsGivenUp) {
  const HangGuard guard;
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  auto* client = new BrokenClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  Station station(pair[1]);
  Pass();
  const std::string name = File("a.bin", Pattern(200000));
  client->OnGetfile(KZString(name), "", "");
  EXPECT_EQ(64, client->mCalls);
  Pass(3);
  EXPECT_EQ(Frame(Follows(name, 200000)), station.Bytes());
}

TEST_F(FileStreamingTest, AFileThatTheSocketTakesIsReadOnce) {
  const std::string name = File("a.bin", Pattern(2500));
  gReads = 0;
  Get(name);
  EXPECT_EQ(1, gReads);
  EXPECT_EQ(Frame(Follows(name, 2500)) + Pattern(2500), Received(2500));
}

TEST_F(FileStreamingTest, AWaitingFileIsReadBySixtyFourKibibytes) {
  const std::string text = Pattern(1 << 20);
  const std::string name = File("a.bin", text);
  Find(mLink)->SendData(std::string(1000000, 'x'));
  gLongestRead = 0;
  Find(mLink)->OnGetfile(KZString(name), "", "");
  const std::string expected = Frame(Follows(name, text.size())) + text;
  const std::string got = Received(1000002 + expected.size());
  EXPECT_TRUE(expected == got.substr(1000002));
  EXPECT_EQ(65536U, gLongestRead);
}

// Whatever the length: also where the last part is a single byte.
TEST_F(FileStreamingTest, AWaitingFileArrivesToItsLastByte) {
  std::string expected = Frame(std::string(1000000, 'x'));
  Find(mLink)->SendData(std::string(1000000, 'x'));
  for (const size_t length : {1U, 65536U, 65537U}) {
    const std::string text = Pattern(length);
    const std::string name = File(std::to_string(length) + ".bin", text);
    Find(mLink)->OnGetfile(KZString(name), "", "");
    expected += Frame(Follows(name, length)) + text;
  }
  EXPECT_TRUE(expected == Received(expected.size()));
}

TEST_F(FileStreamingTest, AReadThatIsInterruptedIsTriedAgain) {
  const std::string text = Pattern(1000000);
  const std::string name = File("a.bin", text);
  std::string expected;
  for (int i = 0; i < 2; ++i) {
    // At once the first time; behind the other one the second time.
    gReadError = EINTR;
    gFailingReads = 1;
    Find(mLink)->OnGetfile(KZString(name), "", "");
    expected += Frame(Follows(name, text.size())) + text;
  }
  EXPECT_TRUE(expected == Received(expected.size()));
  EXPECT_EQ(0, gFailingReads);
  gReadError = 0;
  gFailingReads = -1;
}

// It would hold one of the few descriptors until its turn comes.
TEST_F(FileStreamingTest, AnEmptyFileDoesNotLineUp) {
  const std::string name = File("empty.bin", "");
  Find(mLink)->SendData(std::string(4000000, 'x'));
  const int before = OpenDescriptors();
  Find(mLink)->OnGetfile(KZString(name), "", "");
  EXPECT_EQ(before, OpenDescriptors());
  SendMarker();
  const std::string expected = Frame(Follows(name, 0)) + Frame("marker");
  EXPECT_EQ(expected, Received(4000002 + expected.size()).substr(4000002));
}

TEST_F(FileStreamingTest, ABlockThatFailsIsGivenUpAndTheNextOneSent) {
  for (const int error : {EPIPE, EINTR, ENOBUFS}) {
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
    auto* client = new RecordingClient(&app.mLog, app.GetFdDataList());
    client->Create(pair[0], 3000);
    client->mFailing = 2;
    client->mError = error;
    Station station(pair[1]);
    Pass();
    const std::string text = Pattern(2500);
    const std::string name = File("a.bin", text);
    client->OnGetfile(KZString(name), "", "");
    EXPECT_THAT(client->mBlocks, ElementsAre(1024, 1024, 452)) << error;
    EXPECT_EQ(Frame(Follows(name, 2500)) + text.substr(0, 1024) + text.substr(2048),
              station.Bytes())
        << error;
  }
}

// Whatever an earlier failure has left in errno.
TEST_F(FileStreamingTest, ABlockOfWhichNothingIsTakenIsSentAgain) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  auto* client = new RecordingClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  client->mFailing = 2;
  client->mFailure = 0;
  client->mError = EPIPE;
  Station station(pair[1]);
  Pass();
  const std::string text = Pattern(2500);
  const std::string name = File("a.bin", text);
  client->OnGetfile(KZString(name), "", "");
  EXPECT_THAT(client->mBlocks, ElementsAre(1024, 1024, 1024, 452));
  EXPECT_EQ(Frame(Follows(name, 2500)) + text, station.Bytes());
}

// A connection of which the file becomes shorter between its announcement and its first byte.
class ShorteningClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int SendData(const KZString& text) override {
    EXPECT_EQ(0, truncate(mPath.c_str(), 100));
    const int result = VQClientSocket::SendData(text);
    errno = EINTR;  // Of something long ago.
    return result;
  }
  std::string mPath;
};

TEST_F(FileStreamingTest, AFileThatShrinksBeforeItsFirstByteClosesTheConnectionToo) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  auto* client = new ShorteningClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  Station station(pair[1]);
  Pass();
  const std::string text = Pattern(2500);
  const std::string name = File("a.bin", text);
  client->mPath = Path(name);
  {
    const HangGuard guard;
    client->OnGetfile(KZString(name), "", "");
  }
  client->Send("behind", 6);
  CapturedStdout console;
  ASSERT_TRUE(RunUntil([&station] { return station.IsClosed(); }));
  EXPECT_THAT(console.Text(), HasSubstr("closed: a file that was being sent to it is shorter now"));
  EXPECT_EQ(Frame(Follows(name, 2500)) + text.substr(0, 100), station.Bytes());
}

TEST_F(FileStreamingTest, ATreeThatFailsIsNotTriedAgain) {
  Shared("tree", kTree);
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair));
  auto* client = new RecordingClient(&app.mLog, app.GetFdDataList());
  client->Create(pair[0], 3000);
  client->mFailing = 1;
  client->mError = EINTR;
  Station station(pair[1]);
  Pass();
  EXPECT_EQ(1, Dialog("tree")->VQDialog::OnGetfile(client, "tree.json", "", ""));
  EXPECT_EQ(1U, client->mBlocks.size());
  EXPECT_EQ(1U, station.Messages().size());
  EXPECT_EQ("", station.Bytes());
}

// Calls `answer` while nothing runs the loop and the station reads; the result is what it got.
std::string AnswerWithoutLoop(VQClientSocket* client, int station,
                              const std::function<void()>& answer) {
  auto got = std::async(std::launch::async, [station] {
    std::string bytes;
    char part[65536];
    for (ssize_t n; (n = recv(station, part, sizeof part, 0)) > 0;) {
      bytes.append(part, static_cast<size_t>(n));
    }
    return bytes;
  });
  answer();
  shutdown(client->GetFD(), SHUT_WR);
  return got.get();
}

// Waits until the station has read enough that a short text is written at once: what is queued is
// sent by the loop, and none runs.
void AwaitRoom(int fd) {
  pollfd room = {fd, POLLOUT, 0};
  EXPECT_EQ(1, poll(&room, 1, 5000));
}

class UnservedStreamingTest : public FileTransferTest, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    FileTransferTest::SetUp();
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, mPair));
    ASSERT_EQ(0, fcntl(mPair[0], F_SETFL, O_NONBLOCK));
    mClient =
        std::make_unique<VQClientSocket>(&app.mLog, GetParam() ? app.GetFdDataList() : nullptr);
    mClient->SetFD(mPair[0]);
    mClient->SetFDStatus(2);
  }
  void TearDown() override {
    mClient.reset();
    close(mPair[0]);
    close(mPair[1]);
    FileTransferTest::TearDown();
  }

  int mPair[2] = {-1, -1};
  std::unique_ptr<VQClientSocket> mClient;
};

TEST_P(UnservedStreamingTest, AFileIsWrittenWholeWhenNothingRunsTheLoop) {
  const std::string text = Pattern(1 << 20);
  const std::string name = File("big.bin", text);
  const std::string got = AnswerWithoutLoop(mClient.get(), mPair[1], [&] {
    mClient->OnGetfile(KZString(name), "", "");
    AwaitRoom(mPair[0]);
    mClient->SendData("after");
  });
  EXPECT_TRUE(Frame(Follows(name, text.size())) + text + Frame("after") == got) << got.size();
}

TEST_P(UnservedStreamingTest, ATreeIsWrittenWholeWhenNothingRunsTheLoop) {
  HookedDialog* dialog = Shared("top", kTree);
  dialog->GetResourceShare()->SetValue("Text", std::string(1 << 20, 'x'), 0, "");
  const std::string tree = dialog->GetResourceShare()->GetJson();
  const std::string got = AnswerWithoutLoop(
      mClient.get(), mPair[1], [&] { dialog->VQDialog::OnGetfile(mClient.get(), "f", "", ""); });
  ASSERT_GT(got.size(), tree.size());
  EXPECT_TRUE(got.substr(got.size() - tree.size()) == tree);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutList, UnservedStreamingTest, testing::Bool());

}  // namespace
