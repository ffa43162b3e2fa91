// What a queue holds of the process while it waits: memory and open files.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "dorn/server/OutgoingQueue.h"
#include "tests/server/ServerTest.h"
#include "tests/support/NoStandardInput.h"

namespace {

using Result = dorn::OutgoingQueue::Result;

class OutgoingChunksTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
    mFd = pair[0];
    mStation = Station(pair[1]);
  }
  void TearDown() override {
    close(mFd);
    ServerTest::TearDown();
  }

  void Append(size_t length) {
    const std::string bytes(length, 'a');
    mQueue.Append(bytes.data(), bytes.size());
  }

  // Opens a file of the test under a number of its own.
  static int OpenAs(const std::string& path, int number) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(number, dup3(file, number, O_CLOEXEC));
    close(file);
    return number;
  }

  static bool IsOpen(int file) { return fcntl(file, F_GETFD) != -1; }

  dorn::OutgoingQueue mQueue;
  Station mStation;
  int mFd = -1;
};

TEST_F(OutgoingChunksTest, SmallMessagesShareMemoryThatGrowsByDoubling) {
  EXPECT_EQ(0U, mQueue.MemoryBytes());
  Append(100);
  const size_t first = mQueue.MemoryBytes();
  EXPECT_GT(first, 100U);
  const struct {
    size_t length;
    size_t more;  // Than the first hundred.
  } rows[] = {{100, 100},  {100, 300},     {100, 300},           {1, 700},
              {400, 1500}, {38400, 39101}, {10000, 65536 - 100}, {65536 - 49201, 65536 - 100}};
  for (const auto& row : rows) {
    Append(row.length);
    EXPECT_EQ(first + row.more, mQueue.MemoryBytes()) << row.length;
  }
  Append(1);
  EXPECT_EQ(2 * first + 65536 - 199, mQueue.MemoryBytes()) << "a second chunk has begun";
  EXPECT_EQ(Result::kMore, mQueue.Write(mFd, 65536));
  EXPECT_EQ(Result::kEmpty, mQueue.Write(mFd, 65536));
  EXPECT_EQ(65537U, mStation.Bytes().size());
  EXPECT_EQ(0U, mQueue.MemoryBytes());
  EXPECT_TRUE(mQueue.IsEmpty());
}

TEST_F(OutgoingChunksTest, BytesBehindAFileDoNotGoBeforeIt) {
  WriteResource("a.bin", "file");
  const std::string path = FolderPath() + "/a.bin";
  Append(1);
  mQueue.AppendFile(path, open(path.c_str(), O_RDONLY | O_CLOEXEC), 1, 3);
  Append(2);
  EXPECT_EQ(Result::kEmpty, mQueue.Write(mFd, 100));
  EXPECT_EQ("ailaa", mStation.Bytes());
  EXPECT_EQ(0U, mQueue.MemoryBytes());
}

// Of 1,024 descriptors that can be watched, 768 and up are for stations.
TEST_F(OutgoingChunksTest, AFileStaysOpenBelowThreeQuartersOfAllDescriptors) {
  WriteResource("a.bin", "0123456789");
  const std::string path = FolderPath() + "/a.bin";
  rlimit limit{};
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
  rlimit many = limit;
  many.rlim_cur = 1024;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &many));
  mQueue.AppendFile(path, OpenAs(path, 767), 0, 10);
  mQueue.AppendFile(path, OpenAs(path, 768), 0, 10);
  EXPECT_TRUE(IsOpen(767));
  EXPECT_FALSE(IsOpen(768));
  EXPECT_EQ(Result::kMore, mQueue.Write(mFd, 5));
  EXPECT_TRUE(IsOpen(767));
  // Where fewer can be opened, it is closed after each block.
  rlimit few = limit;
  few.rlim_cur = 512;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &few));
  EXPECT_EQ(Result::kMore, mQueue.Write(mFd, 2));
  EXPECT_FALSE(IsOpen(767));
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
  EXPECT_EQ(Result::kEmpty, mQueue.Write(mFd, 100));
  EXPECT_EQ("01234567890123456789", mStation.Bytes());
}

// It is opened anew when its turn comes, also as descriptor 0.
TEST_F(OutgoingChunksTest, AFileThatWasReplacedIsNotSentWhateverItsDescriptor) {
  const std::string path = FolderPath() + "/" + "a.bin";
  for (const bool isReplaced : {false, true}) {
    WriteResource("a.bin", "old");
    WriteResource("b.bin", "new");
    for (int i = 0; i < 5; ++i) {
      mQueue.AppendFile(path, open(path.c_str(), O_RDONLY | O_CLOEXEC), 0, 3);
    }
    if (isReplaced) std::filesystem::rename(FolderPath() + "/b.bin", path);
    EXPECT_EQ(Result::kMore, mQueue.Write(mFd, 12));
    const NoStandardInput closed;
    EXPECT_EQ(isReplaced ? Result::kCutShort : Result::kEmpty, mQueue.Write(mFd, 100));
    EXPECT_FALSE(closed.IsTaken());
    EXPECT_EQ(isReplaced ? "oldoldoldold" : "oldoldoldoldold", mStation.Take(100));
  }
}

TEST_F(OutgoingChunksTest, WhatIsDroppedIsClosed) {
  WriteResource("a.bin", "0123456789");
  const std::string path = FolderPath() + "/a.bin";
  const int before = OpenDescriptors();
  for (int i = 0; i < 3; ++i) {
    mQueue.AppendFile(path, open(path.c_str(), O_RDONLY | O_CLOEXEC), 0, 10);
  }
  EXPECT_EQ(before + 3, OpenDescriptors());
  mQueue.Clear();
  EXPECT_TRUE(mQueue.IsEmpty());
  EXPECT_EQ(0U, mQueue.MemoryBytes());
  EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(OutgoingChunksTest, ABrokenConnectionIsToldFromOneWithoutRoom) {
  Append(1 << 20);
  EXPECT_EQ(Result::kBlocked, mQueue.Write(mFd, 2 << 20));
  EXPECT_TRUE(mQueue.TakeProgress());
  EXPECT_EQ(Result::kBlocked, mQueue.Write(mFd, 2 << 20));
  EXPECT_FALSE(mQueue.TakeProgress());
  mStation.Close();
  EXPECT_EQ(Result::kFailed, mQueue.Write(mFd, 2 << 20));
  EXPECT_FALSE(mQueue.IsEmpty());
}

}  // namespace
