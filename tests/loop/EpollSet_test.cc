#include "dorn/loop/EpollSet.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "tests/support/NoStandardInput.h"
#include "tests/support/TestPipe.h"

namespace {

// The members that are reported, lowest first.
std::vector<int> Readable(dorn::EpollSet& set) {
  fd_set found;
  set.TakeReadable(&found);
  std::vector<int> fds;
  for (int fd = 0; fd < FD_SETSIZE; ++fd) {
    if (FD_ISSET(fd, &found)) fds.push_back(fd);
  }
  return fds;
}

// Whether select would find the set readable.
bool IsReported(dorn::EpollSet& set) {
  const int fd = set.Descriptor();
  if (fd < 0) return false;
  fd_set reads;
  FD_ZERO(&reads);
  FD_SET(fd, &reads);
  timeval none{};
  return select(FD_SETSIZE, &reads, nullptr, nullptr, &none) > 0;
}

// The descriptor limit of this process, lowered to what is open.
class NoMoreDescriptors {
 public:
  NoMoreDescriptors() {
    getrlimit(RLIMIT_NOFILE, &mBefore);
    const int next = dup(0);
    close(next);
    rlimit lowered = mBefore;
    lowered.rlim_cur = static_cast<rlim_t>(next);
    setrlimit(RLIMIT_NOFILE, &lowered);
  }
  ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &mBefore); }
  NoMoreDescriptors(const NoMoreDescriptors&) = delete;
  NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

 private:
  rlimit mBefore{};
};

TEST(EpollSetTest, WithoutMembersThereIsNothingToWatch) {
  dorn::EpollSet set;
  EXPECT_EQ(set.Descriptor(), -1);
  EXPECT_TRUE(Readable(set).empty());
  set.Remove(5);
  set.Refresh();
}

TEST(EpollSetTest, ReportsTheMembersThatCanBeRead) {
  dorn::EpollSet set;
  std::vector<std::unique_ptr<TestPipe>> pipes;
  std::vector<int> written;
  for (int i = 0; i < 150; ++i) {
    pipes.push_back(std::make_unique<TestPipe>());
    ASSERT_TRUE(set.Add(pipes.back()->ReadEnd()));
  }
  EXPECT_FALSE(IsReported(set));
  for (int i = 0; i < 150; i += 2) {
    pipes[static_cast<std::size_t>(i)]->Write("x");
    written.push_back(pipes[static_cast<std::size_t>(i)]->ReadEnd());
  }
  EXPECT_TRUE(IsReported(set));
  EXPECT_EQ(Readable(set), written);
  EXPECT_EQ(Readable(set), written);  // As long as nobody reads.
  for (const int fd : written) set.Remove(fd);
  EXPECT_FALSE(IsReported(set));
}

TEST(EpollSetTest, AHangUpCountsAsReadable) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(ends[0]));
  close(ends[1]);
  EXPECT_EQ(Readable(set), std::vector<int>{ends[0]});
  set.Remove(ends[0]);
  close(ends[0]);
}

TEST(EpollSetTest, WhatItCannotWatchIsNoMember) {
  dorn::EpollSet set;
  const int file = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
  EXPECT_FALSE(set.Add(file));
  close(file);
  EXPECT_FALSE(set.Add(file));
  EXPECT_FALSE(set.Add(-1));
  EXPECT_FALSE(set.Add(FD_SETSIZE));
  EXPECT_EQ(set.Descriptor(), -1);
}

// epoll would take it, but a set of select has no place for it.
TEST(EpollSetTest, ADescriptorThatSelectCannotWatchIsNoMember) {
  const TestPipe pipe;
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit raised = before;
  raised.rlim_cur = std::max<rlim_t>(before.rlim_cur, FD_SETSIZE + 1);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &raised), 0);
  const int high = fcntl(pipe.ReadEnd(), F_DUPFD_CLOEXEC, FD_SETSIZE);
  ASSERT_GE(high, FD_SETSIZE);
  dorn::EpollSet set;
  EXPECT_FALSE(set.Add(high));
  EXPECT_EQ(set.Descriptor(), -1);
  close(high);
  setrlimit(RLIMIT_NOFILE, &before);
}

TEST(EpollSetTest, WithoutADescriptorForItThereAreNoMembersUntilThereIsOne) {
  const TestPipe pipe;
  dorn::EpollSet set;
  {
    const NoMoreDescriptors limit;
    EXPECT_FALSE(set.Add(pipe.ReadEnd()));
    EXPECT_EQ(set.Descriptor(), -1);
  }
  EXPECT_TRUE(set.Add(pipe.ReadEnd()));
  EXPECT_GE(set.Descriptor(), 0);
}

TEST(EpollSetTest, RefreshFindsTheNewFileOfANumber) {
  TestPipe first;
  const TestPipe second;
  dorn::EpollSet set;
  const int number = first.ReadEnd();
  ASSERT_TRUE(set.Add(number));
  ASSERT_EQ(dup2(second.ReadEnd(), number), number);  // Closes the member behind the set.
  second.Write("x");
  EXPECT_FALSE(IsReported(set));
  set.Refresh();
  EXPECT_EQ(Readable(set), std::vector<int>{number});
}

TEST(EpollSetTest, RefreshDropsWhatIsClosed) {
  TestPipe pipe;
  const TestPipe other;
  dorn::EpollSet set;
  const int number = pipe.ReadEnd();
  ASSERT_TRUE(set.Add(number));
  ASSERT_TRUE(set.Add(other.ReadEnd()));
  pipe.CloseReadEnd();
  set.Refresh();
  EXPECT_FALSE(FD_ISSET(number, &set.Members()));
  EXPECT_TRUE(FD_ISSET(other.ReadEnd(), &set.Members()));
}

// The file lives on elsewhere, say in a forked child, and would be reported for ever.
TEST(EpollSetTest, AMemberThatIsClosedButHeldElsewhereIsReportedOnce) {
  TestPipe pipe;
  const TestPipe other;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  ASSERT_TRUE(set.Add(other.ReadEnd()));
  const int held = dup(pipe.ReadEnd());
  pipe.Write("x");
  pipe.CloseReadEnd();
  EXPECT_TRUE(IsReported(set));
  EXPECT_TRUE(Readable(set).empty());
  EXPECT_FALSE(IsReported(set));
  other.Write("x");
  EXPECT_EQ(Readable(set), std::vector<int>{other.ReadEnd()});
  close(held);
}

TEST(EpollSetTest, AReportOfAFileThatHasLostItsNumberIsNotBelieved) {
  TestPipe pipe;
  const TestPipe quiet;
  dorn::EpollSet set;
  const int number = pipe.ReadEnd();
  ASSERT_TRUE(set.Add(number));
  const int held = dup(number);
  pipe.Write("x");
  ASSERT_EQ(dup2(quiet.ReadEnd(), number), number);
  EXPECT_TRUE(Readable(set).empty());
  EXPECT_FALSE(IsReported(set));
  quiet.Write("x");
  EXPECT_EQ(Readable(set), std::vector<int>{number});
  close(held);
}

TEST(EpollSetTest, AReportOfWhatIsNoMemberAnyMoreEnds) {
  TestPipe pipe;
  const TestPipe other;
  dorn::EpollSet set;
  const int number = pipe.ReadEnd();
  ASSERT_TRUE(set.Add(number));
  ASSERT_TRUE(set.Add(other.ReadEnd()));
  const int held = dup(number);
  pipe.Write("x");
  pipe.CloseReadEnd();
  set.Remove(number);  // Too late: the number is nobody's.
  EXPECT_TRUE(IsReported(set));
  EXPECT_TRUE(Readable(set).empty());
  EXPECT_FALSE(IsReported(set));
  close(held);
}

// Nor does what an earlier call has left in errno say anything.
TEST(EpollSetTest, WhereNothingCanBeReadTheMembersStay) {
  const TestPipe pipe;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  const int number = set.Descriptor();
  errno = EBADF;
  EXPECT_TRUE(Readable(set).empty());
  EXPECT_EQ(set.Descriptor(), number);
  EXPECT_TRUE(FD_ISSET(pipe.ReadEnd(), &set.Members()));
}

TEST(EpollSetTest, ItsOwnDescriptorIsClosedWithIt) {
  const TestPipe pipe;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  const int number = set.Descriptor();
  set.Close();
  EXPECT_EQ(fcntl(number, F_GETFD), -1);
}

TEST(EpollSetTest, Descriptor0IsAMemberLikeAnyOther) {
  const NoStandardInput closed;
  const TestPipe pipe;
  ASSERT_EQ(pipe.ReadEnd(), 0);
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(0));
  pipe.Write("x");
  EXPECT_EQ(Readable(set), std::vector<int>{0});
  set.Refresh();
  EXPECT_TRUE(FD_ISSET(0, &set.Members()));
  set.Remove(0);
  EXPECT_FALSE(IsReported(set));
}

TEST(EpollSetTest, MayItselfBeDescriptor0) {
  const TestPipe pipe;
  TestPipe other;
  const NoStandardInput closed;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  ASSERT_TRUE(set.Add(other.ReadEnd()));
  ASSERT_EQ(set.Descriptor(), 0);
  pipe.Write("x");
  EXPECT_EQ(Readable(set), std::vector<int>{pipe.ReadEnd()});
  const int number = other.ReadEnd();
  other.CloseReadEnd();
  set.Refresh();
  EXPECT_FALSE(FD_ISSET(number, &set.Members()));
  EXPECT_EQ(set.Descriptor(), 0);
  EXPECT_EQ(Readable(set), std::vector<int>{pipe.ReadEnd()});
  set.Close();
  EXPECT_FALSE(closed.IsTaken());
}

TEST(EpollSetTest, AForkedChildDoesNotTouchTheSetOfItsParent) {
  const TestPipe pipe;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  const int parents = set.Descriptor();
  const pid_t child = fork();
  if (child == 0) {
    const bool isEmpty = set.Descriptor() == -1;
    set.Remove(pipe.ReadEnd());
    set.Refresh();
    const bool isAdded = set.Add(pipe.ReadEnd());
    pipe.Write("x");
    const bool isFound = Readable(set) == std::vector<int>{pipe.ReadEnd()};
    set.Remove(pipe.ReadEnd());
    _exit(isEmpty && isAdded && isFound ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(set.Descriptor(), parents);
  EXPECT_EQ(Readable(set), std::vector<int>{pipe.ReadEnd()});
}

TEST(EpollSetTest, AForkedChildHasNoMembersFromTheStart) {
  const TestPipe pipe;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  const pid_t child = fork();
  if (child == 0) _exit(FD_ISSET(pipe.ReadEnd(), &set.Members()) ? 1 : 0);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(FD_ISSET(pipe.ReadEnd(), &set.Members()));
}

TEST(EpollSetTest, ASetThatSomebodyHasClosedIsMadeAnewAndItsNumberLeftAlone) {
  const TestPipe pipe;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  const int number = set.Descriptor();
  ASSERT_EQ(dup2(0, number), number);
  set.Refresh();
  EXPECT_EQ(set.Descriptor(), -1);
  EXPECT_NE(fcntl(number, F_GETFD), -1);
  EXPECT_TRUE(set.Add(pipe.ReadEnd()));
  EXPECT_NE(set.Descriptor(), number);
  pipe.Write("x");
  EXPECT_EQ(Readable(set), std::vector<int>{pipe.ReadEnd()});
  ASSERT_EQ(dup2(0, set.Descriptor()), set.Descriptor());
  const int second = set.Descriptor();
  set.Close();
  EXPECT_NE(fcntl(second, F_GETFD), -1);
  close(number);
  close(second);
}

}  // namespace
