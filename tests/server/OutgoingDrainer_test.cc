// Who is told that a socket has room, and how often.
#include "dorn/server/OutgoingDrainer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "dorn/server/Drainable.h"
#include "tests/server/ServerTest.h"
#include "tests/support/NoStandardInput.h"

namespace {

using dorn::OutgoingDrainer;

// Counts how often it is told.
class CountedDrainable final : public dorn::Drainable {
 public:
  void Drain() override { ++mTold; }
  int mTold = 0;
};

// A socket with room, and who waits for it.
class Roomy {
 public:
  Roomy() { EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, mPair)); }
  ~Roomy() {
    OutgoingDrainer::Forget(app.GetFdDataList(), &mWaiting);
    close(mPair[0]);
    close(mPair[1]);
  }
  Roomy(const Roomy&) = delete;
  Roomy& operator=(const Roomy&) = delete;

  bool Watch() { return OutgoingDrainer::Of(app.GetFdDataList())->Watch(mPair[0], &mWaiting); }
  int Told() const { return mWaiting.mTold; }
  const dorn::Drainable* Waiting() const { return &mWaiting; }

 private:
  int mPair[2] = {-1, -1};
  CountedDrainable mWaiting;
};

class OutgoingDrainerTest : public ServerTest {
 protected:
  static OutgoingDrainer* Drainer() { return OutgoingDrainer::Of(app.GetFdDataList()); }

  // How often the drainer is in the list of the loop.
  static long Listed() {
    const OutgoingDrainer* const drainer = Drainer();
    Pass();
    const KZFdDataList& list = *app.GetFdDataList();
    return std::count(list.begin(), list.end(), drainer);
  }
};

TEST_F(OutgoingDrainerTest, TellsOnceForEachWatch) {
  Roomy one;
  EXPECT_TRUE(one.Watch());
  EXPECT_EQ(0, one.Told());
  Pass(3);
  EXPECT_EQ(1, one.Told());
  EXPECT_TRUE(one.Watch());
  EXPECT_TRUE(one.Watch());
  Pass(3);
  EXPECT_EQ(2, one.Told());
}

TEST_F(OutgoingDrainerTest, TellsSixtyFourInOneTurnAndTheOthersInTheNextOnes) {
  std::vector<std::unique_ptr<Roomy>> all;
  for (int i = 0; i < 130; ++i) {
    all.push_back(std::make_unique<Roomy>());
    EXPECT_TRUE(all.back()->Watch());
  }
  const auto told = [&all] {
    return std::count_if(all.begin(), all.end(), [](const auto& one) { return one->Told() == 1; });
  };
  for (const int expected : {64, 128, 130, 130}) {
    Drainer()->ReadyToRead();
    EXPECT_EQ(expected, told());
  }
}

TEST_F(OutgoingDrainerTest, ForgetsWhoDoesNotWaitAnyMore) {
  Roomy one, other;
  EXPECT_TRUE(one.Watch());
  EXPECT_TRUE(other.Watch());
  OutgoingDrainer::Forget(app.GetFdDataList(), one.Waiting());
  OutgoingDrainer::Forget(nullptr, other.Waiting());
  Pass(2);
  EXPECT_EQ(0, one.Told());
  EXPECT_EQ(1, other.Told());
}

TEST_F(OutgoingDrainerTest, IsInTheListOfItsLoopOnce) {
  EXPECT_EQ(1, Listed());
  EXPECT_EQ(1, Listed());
  // A host has emptied the list; asked for twice before the loop has come round.
  app.GetFdDataList()->remove(Drainer());
  Drainer();
  Drainer();
  EXPECT_EQ(1U, app.GetFdDataList()->mAddRequest.size());
  EXPECT_EQ(1, Listed());
}

TEST_F(OutgoingDrainerTest, NobodyIsToldOfAListThatIsNoApplications) {
  KZFdDataList list;
  EXPECT_EQ(nullptr, OutgoingDrainer::Of(&list));
  EXPECT_EQ(nullptr, OutgoingDrainer::Of(nullptr));
}

// A file is always ready: the system refuses to watch it.
TEST_F(OutgoingDrainerTest, WhatTheSystemDoesNotWatchIsRefusedAndTakesNobodysNotice) {
  Roomy one, other;
  EXPECT_TRUE(one.Watch());
  EXPECT_TRUE(other.Watch());
  const int file = memfd_create("file", MFD_CLOEXEC);
  CountedDrainable waiting;
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(Drainer()->Watch(file, &waiting));
  Pass(2);
  EXPECT_EQ(1, one.Told());
  EXPECT_EQ(1, other.Told());
  EXPECT_EQ(0, waiting.mTold);
  close(file);
}

TEST_F(OutgoingDrainerTest, WhatTheSystemDoesNotWatchIsRefusedAndCostsNothing) {
  Roomy one;
  EXPECT_TRUE(one.Watch());
  Pass();
  const int file = memfd_create("file", MFD_CLOEXEC);
  const int set = Drainer()->GetFD();
  const int before = OpenDescriptors();
  CountedDrainable waiting;
  EXPECT_FALSE(Drainer()->Watch(file, &waiting));
  EXPECT_EQ(EPERM, errno);
  EXPECT_EQ(set, Drainer()->GetFD());
  EXPECT_EQ(before, OpenDescriptors());
  Drainer()->ReadyToRead();
  EXPECT_EQ(0, waiting.mTold);
  close(file);
}

// A host that goes into the background closes all descriptors.
TEST_F(OutgoingDrainerTest, GoesOnWithANewSetWhenItsOwnWasClosed) {
  Roomy early, late;
  EXPECT_TRUE(early.Watch());
  ASSERT_EQ(0, close(Drainer()->GetFD()));
  EXPECT_TRUE(late.Watch());
  EXPECT_EQ(KZFdData::kStatusActive, Drainer()->GetFDStatus());
  EXPECT_EQ(1, Listed());
  Pass(2);
  EXPECT_EQ(1, early.Told());
  EXPECT_EQ(1, late.Told());
}

TEST_F(OutgoingDrainerTest, GoesOnWhenTheNumberOfItsSetIsSomebodyElsesNow) {
  Roomy early, late;
  EXPECT_TRUE(early.Watch());
  const int number = Drainer()->GetFD();
  const int file = memfd_create("file", MFD_CLOEXEC);
  ASSERT_EQ(number, dup2(file, number));
  EXPECT_TRUE(late.Watch());
  EXPECT_NE(number, Drainer()->GetFD());
  Pass(3);
  EXPECT_EQ(1, early.Told());
  EXPECT_EQ(1, late.Told());
  close(number);
  close(file);
}

TEST_F(OutgoingDrainerTest, ItsSetMayHaveDescriptorZero) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
  CountedDrainable waiting;
  TestMaker none;
  TestApp other(none);
  {
    const NoStandardInput closed;
    OutgoingDrainer* const drainer = OutgoingDrainer::Of(other.GetFdDataList());
    ASSERT_NE(nullptr, drainer);
    EXPECT_EQ(0, drainer->GetFD());
    ASSERT_EQ(0, close(0));
    EXPECT_TRUE(drainer->Watch(pair[0], &waiting));
    EXPECT_EQ(0, drainer->GetFD());
    drainer->ReadyToRead();
    EXPECT_EQ(1, waiting.mTold);
  }
  close(pair[0]);
  close(pair[1]);
}

TEST_F(OutgoingDrainerTest, GoesOnWhenTheLoopHasNoticedThatItsSetIsGone) {
  EXPECT_EQ(1, Listed());
  ASSERT_EQ(0, close(Drainer()->GetFD()));
  Pass(3);
  Roomy late;
  EXPECT_TRUE(late.Watch());
  EXPECT_EQ(KZFdData::kStatusActive, Drainer()->GetFDStatus());
  EXPECT_EQ(1, Listed());
  Pass(2);
  EXPECT_EQ(1, late.Told());
}

TEST_F(OutgoingDrainerTest, WithoutADescriptorForANewSetNobodyIsWatchedUntilThereIsOne) {
  Roomy one;
  OutgoingDrainer* const drainer = Drainer();
  ASSERT_EQ(0, close(drainer->GetFD()));
  rlimit limit{};
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
  rlimit none = limit;
  none.rlim_cur = 3;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
  const bool isWatched = one.Watch();
  const int error = errno;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
  EXPECT_FALSE(isWatched);
  EXPECT_EQ(EMFILE, error) << "the reason is told to whoever keeps the server";
  EXPECT_TRUE(one.Watch());
  Pass(2);
  EXPECT_EQ(1, one.Told());
}

TEST_F(OutgoingDrainerTest, ClosesItsSetWithItsApplication) {
  static_cast<void>(Drainer());
  int set = -1;
  {
    TestMaker none;
    TestApp other(none);
    set = OutgoingDrainer::Of(other.GetFdDataList())->GetFD();
    EXPECT_NE(-1, fcntl(set, F_GETFD));
  }
  EXPECT_EQ(-1, fcntl(set, F_GETFD));
}

TEST_F(OutgoingDrainerTest, LeavesADescriptorAloneThatIsSomebodyElsesByThen) {
  int set = -1;
  {
    TestMaker none;
    TestApp other(none);
    set = OutgoingDrainer::Of(other.GetFdDataList())->GetFD();
    const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(set, dup2(file, set));
    close(file);
  }
  EXPECT_NE(-1, fcntl(set, F_GETFD));
  close(set);
}

}  // namespace
