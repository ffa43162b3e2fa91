#include "dorn/loop/EpollSet.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <memory>
#include <vector>

#include "tests/loop/SystemCallSpy.h"
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

// Allows more descriptors than a set of select has places for.
class ManyDescriptors {
 public:
  ManyDescriptors() {
    getrlimit(RLIMIT_NOFILE, &mBefore);
    rlimit raised = mBefore;
    raised.rlim_cur = std::max<rlim_t>(mBefore.rlim_cur, FD_SETSIZE + 10);
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &raised), 0);
  }
  ~ManyDescriptors() { setrlimit(RLIMIT_NOFILE, &mBefore); }
  ManyDescriptors(const ManyDescriptors&) = delete;
  ManyDescriptors& operator=(const ManyDescriptors&) = delete;

 private:
  rlimit mBefore{};
};

// How many numbers the set has for members.
int CountMembers(dorn::EpollSet& set) {
  int count = 0;
  for (int fd = 0; fd < FD_SETSIZE; ++fd) count += FD_ISSET(fd, &set.Members()) ? 1 : 0;
  return count;
}

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
  const ManyDescriptors allowed;
  const int high = fcntl(pipe.ReadEnd(), F_DUPFD_CLOEXEC, FD_SETSIZE);
  ASSERT_GE(high, FD_SETSIZE);
  dorn::EpollSet set;
  EXPECT_FALSE(set.Add(high));
  EXPECT_EQ(set.Descriptor(), -1);
  close(high);
}

// Nor has it one for the epoll set itself, which is closed again.
TEST(EpollSetTest, ThereIsNoSetOnADescriptorThatSelectCannotWatch) {
  const TestPipe pipe;
  const ManyDescriptors allowed;
  std::vector<int> below;
  for (int fd = dup(0); fd < FD_SETSIZE; fd = dup(0)) below.push_back(fd);
  ASSERT_EQ(fcntl(FD_SETSIZE, F_GETFD), 0);
  close(FD_SETSIZE);
  dorn::EpollSet set;
  EXPECT_FALSE(set.Add(pipe.ReadEnd()));
  EXPECT_EQ(set.Descriptor(), -1);
  EXPECT_EQ(fcntl(FD_SETSIZE, F_GETFD), -1);
  for (const int fd : below) close(fd);
  EXPECT_TRUE(set.Add(pipe.ReadEnd()));
}

// A set with memory of ours behind it, where numbers without a place would have theirs.
struct GuardedEpollSet {
  dorn::EpollSet mSet;
  unsigned char mGuard[64];
};

TEST(EpollSetTest, NumbersThatAreNoneCannotBeTakenOut) {
  const TestPipe pipe;
  constexpr int kLastOfFirstWord = 63;
  GuardedEpollSet guarded{};
  std::fill(std::begin(guarded.mGuard), std::end(guarded.mGuard), '\xFF');
  dorn::EpollSet& set = guarded.mSet;
  const int before = fcntl(kLastOfFirstWord, F_DUPFD_CLOEXEC, kLastOfFirstWord + 1);
  ASSERT_EQ(dup2(pipe.ReadEnd(), kLastOfFirstWord), kLastOfFirstWord);
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  ASSERT_TRUE(set.Add(kLastOfFirstWord));
  for (const int fd : {-1, FD_SETSIZE, FD_SETSIZE + 1}) set.Remove(fd);
  EXPECT_EQ(std::count(std::begin(guarded.mGuard), std::end(guarded.mGuard), 0xFF), 64);
  EXPECT_EQ(CountMembers(set), 2);
  set.Close();
  close(kLastOfFirstWord);
  if (before < 0) return;
  dup2(before, kLastOfFirstWord);
  close(before);
}

TEST(EpollSetTest, AMemberThatIsAddedAgainIsOneMember) {
  const TestPipe pipe;
  dorn::EpollSet set;
  EXPECT_TRUE(set.Add(pipe.ReadEnd()));
  EXPECT_TRUE(set.Add(pipe.ReadEnd()));
  set.Remove(pipe.ReadEnd());
  EXPECT_FALSE(FD_ISSET(pipe.ReadEnd(), &set.Members()));
  EXPECT_EQ(set.Descriptor(), -1);
}

// The kernel knows it still, as it was taken out when another file had its number.
TEST(EpollSetTest, WhatTheKernelKnowsAlreadyBecomesAMemberAgain) {
  const TestPipe pipe;
  const TestPipe other;
  dorn::EpollSet set;
  const int number = pipe.ReadEnd();
  ASSERT_TRUE(set.Add(number));
  const int held = dup(number);
  ASSERT_EQ(dup2(other.ReadEnd(), number), number);
  set.Remove(number);
  ASSERT_EQ(dup2(held, number), number);
  EXPECT_TRUE(set.Add(number));
  pipe.Write("x");
  EXPECT_EQ(Readable(set), std::vector<int>{number});
  close(held);
}

// Whatever the reason is: closed, always ready, the set itself.
TEST(EpollSetTest, WhatCannotBeAMemberLeavesTheOthersAlone) {
  const TestPipe pipe;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  const int file = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
  EXPECT_FALSE(set.Add(file));
  close(file);
  EXPECT_FALSE(set.Add(file));
  EXPECT_FALSE(set.Add(set.Descriptor()));
  EXPECT_EQ(CountMembers(set), 1);
  pipe.Write("x");
  EXPECT_EQ(Readable(set), std::vector<int>{pipe.ReadEnd()});
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

TEST(EpollSetTest, RefreshDropsDescriptor0WhenItIsClosed) {
  const NoStandardInput closed;
  TestPipe pipe;
  const TestPipe other;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(0));
  ASSERT_TRUE(set.Add(other.ReadEnd()));
  pipe.CloseReadEnd();
  set.Refresh();
  EXPECT_FALSE(FD_ISSET(0, &set.Members()));
  EXPECT_EQ(CountMembers(set), 1);
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

TEST(EpollSetTest, ASetThatReportsTheTruthIsNotMadeAnew) {
  const TestPipe pipe;
  const TestPipe other;
  const EpollSpy spy;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  ASSERT_TRUE(set.Add(other.ReadEnd()));
  EXPECT_TRUE(Readable(set).empty());
  pipe.Write("x");
  other.Write("x");
  EXPECT_EQ(Readable(set).size(), 2u);
  set.Remove(pipe.ReadEnd());
  EXPECT_EQ(Readable(set).size(), 1u);
  EXPECT_EQ(spy.mSetsMade, 1);
}

TEST(EpollSetTest, NothingWaits) {
  const TestPipe pipe;
  const EpollSpy spy;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  EXPECT_TRUE(Readable(set).empty());
  pipe.Write("x");
  EXPECT_EQ(Readable(set).size(), 1u);
  set.Close();
  EXPECT_EQ(spy.mWaitsMs, std::vector<int>(5, 0));
}

TEST(EpollSetTest, ASignalThatInterruptsTheQuestionTakesNoMembersAway) {
  const TestPipe pipe;
  EpollSpy spy;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  pipe.Write("x");
  spy.mWaitError = EINTR;
  EXPECT_TRUE(Readable(set).empty());
  spy.mWaitError = 0;
  EXPECT_EQ(Readable(set), std::vector<int>{pipe.ReadEnd()});
  EXPECT_EQ(spy.mSetsMade, 1);
  EXPECT_EQ(spy.mChanges, 1);
}

TEST(EpollSetTest, ItsOwnDescriptorIsClosedAlsoWhileSeveralMembersCanBeRead) {
  const TestPipe pipe;
  const TestPipe other;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  ASSERT_TRUE(set.Add(other.ReadEnd()));
  pipe.Write("x");
  other.Write("x");
  const int number = set.Descriptor();
  set.Close();
  EXPECT_EQ(fcntl(number, F_GETFD), -1);
}

TEST(EpollSetTest, AfterItWasClosedItBeginsAnew) {
  const TestPipe pipe;
  const TestPipe other;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  set.Close();
  EXPECT_EQ(CountMembers(set), 0);
  EXPECT_EQ(set.Descriptor(), -1);
  EXPECT_TRUE(set.Add(other.ReadEnd()));
  EXPECT_EQ(CountMembers(set), 1);
  EXPECT_GE(set.Descriptor(), 0);
  set.Remove(other.ReadEnd());
  EXPECT_EQ(set.Descriptor(), -1);
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

// The false report is of the first member, and the set has number 0 also when it is made anew.
TEST(EpollSetTest, MayBeMadeAnewAsDescriptor0) {
  TestPipe pipe;
  const TestPipe other;
  const NoStandardInput closed;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  ASSERT_TRUE(set.Add(other.ReadEnd()));
  const int held = fcntl(pipe.ReadEnd(), F_DUPFD_CLOEXEC, other.WriteEnd());
  pipe.Write("x");
  pipe.CloseReadEnd();
  EXPECT_TRUE(Readable(set).empty());
  EXPECT_EQ(set.Descriptor(), 0);
  EXPECT_TRUE(FD_ISSET(other.ReadEnd(), &set.Members()));
  close(held);
}

TEST(EpollSetTest, Descriptor0StaysAMemberWhenTheSetIsMadeAnew) {
  const NoStandardInput closed;
  const TestPipe pipe;
  TestPipe other;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(0));
  ASSERT_TRUE(set.Add(other.ReadEnd()));
  const int held = dup(other.ReadEnd());
  other.Write("x");
  other.CloseReadEnd();
  EXPECT_TRUE(Readable(set).empty());
  EXPECT_TRUE(FD_ISSET(0, &set.Members()));
  close(held);
}

// Whatever it does first: what it inherited is its parent's.
TEST(EpollSetTest, NothingThatAForkedChildBeginsWithTouchesTheSetOfItsParent) {
  using Step = std::function<void(dorn::EpollSet&, int)>;
  const std::vector<Step> steps = {
      [](dorn::EpollSet& set, int fd) { set.Remove(fd); },
      [](dorn::EpollSet& set, int fd) { set.Add(fd); },
      [](dorn::EpollSet& set, int) { set.Refresh(); },
      [](dorn::EpollSet& set, int) { Readable(set); },
      [](dorn::EpollSet& set, int) { set.Close(); },
  };
  for (std::size_t step = 0; step < steps.size(); ++step) {
    const TestPipe pipe;
    const TestPipe silent;
    dorn::EpollSet set;
    ASSERT_TRUE(set.Add(pipe.ReadEnd()));
    const pid_t child = fork();
    if (child == 0) {
      steps[step](set, pipe.ReadEnd());
      set.Add(silent.ReadEnd());
      silent.Write("x");
      _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << step;
    EXPECT_FALSE(IsReported(set)) << step;
    pipe.Write("x");
    EXPECT_EQ(Readable(set), std::vector<int>{pipe.ReadEnd()}) << step;
  }
}

TEST(EpollSetTest, AForkedChildDoesNotTouchTheSetOfItsParentOnDescriptor0) {
  const TestPipe pipe;
  const NoStandardInput closed;
  dorn::EpollSet set;
  ASSERT_TRUE(set.Add(pipe.ReadEnd()));
  ASSERT_EQ(set.Descriptor(), 0);
  const pid_t child = fork();
  if (child == 0) _exit(set.Descriptor() == -1 ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
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

TEST(EpollSetTest, ASetThatSomebodyHasClosedIsNoSetAnyMore) {
  using Step = std::function<void(dorn::EpollSet&)>;
  const TestPipe pipe;
  const std::vector<Step> steps = {
      [](dorn::EpollSet& set) { set.Refresh(); },
      [](dorn::EpollSet& set) { Readable(set); },
      [&pipe](dorn::EpollSet& set) { set.Add(pipe.WriteEnd()); },
      [&pipe](dorn::EpollSet& set) { set.Remove(pipe.ReadEnd()); },
  };
  for (std::size_t step = 0; step < steps.size(); ++step) {
    dorn::EpollSet set;
    ASSERT_TRUE(set.Add(pipe.ReadEnd()));
    close(set.Descriptor());
    steps[step](set);
    EXPECT_EQ(set.Descriptor(), -1) << step;
    EXPECT_EQ(CountMembers(set), 0) << step;
    EXPECT_TRUE(set.Add(pipe.ReadEnd())) << step;
    EXPECT_GE(set.Descriptor(), 0) << step;
  }
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
