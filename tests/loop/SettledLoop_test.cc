// Idle connections in a loop that runs: what select is given, what is found, and what hosts may do
// behind the loop's back. Real sockets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dorn/loop/KZApplication.h"
#include "dorn/loop/NextPass.h"
#include "dorn/loop/SettledRecords.h"
#include "tests/loop/SystemCallSpy.h"
#include "tests/support/Deadline.h"
#include "tests/support/NoStandardInput.h"
#include "tests/support/TestApplication.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kFirstId = 100;
constexpr int kMembers = 5;  // Enough for the loop not to leave them to select.

// A connection to itself: the record has one end, the peer is the other.
class Connection : public KZFdData {
 public:
  Connection(int id, KZFdDataList* list, std::vector<int>* served)
      : KZFdData(kTypeClient, -1, id, list), mServed(served) {
    Connect();
    dorn::LetRecordSettle(*this);
    SetFDStatus(kStatusActive);
    EXPECT_TRUE(CreateBuffer(64));
  }
  ~Connection() override {
    Close();
    if (mPeer >= 0) close(mPeer);
  }

  void Connect() {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    if (mPeer >= 0) close(mPeer);
    SetFD(ends[0]);
    mPeer = ends[1];
  }
  void Close() {
    const int fd = SetFD(-1);
    if (fd >= 0) close(fd);
  }
  void Write() const { EXPECT_EQ(write(mPeer, "x", 1), 1); }
  void Read() {
    char bytes[100];
    while (read(mFD, bytes, sizeof bytes) > 0) {
    }
  }

  void ReadyToRead() override {
    mServed->push_back(GetId());
    if (mReads && IsSelect() != 0) Read();
    if (mHook) mHook();
  }
  void ReadyToWrite() override { mServed->push_back(-GetId()); }

  std::vector<int>* const mServed;
  int mPeer = -1;
  bool mReads = true;
  std::function<void()> mHook;
};

// What a hook opens anew behind a record, which goes on with the number.
class OtherConnection {
 public:
  OtherConnection() {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, mEnds), 0);
  }
  ~OtherConnection() {
    close(mEnds[0]);
    close(mEnds[1]);
  }
  OtherConnection(const OtherConnection&) = delete;
  OtherConnection& operator=(const OtherConnection&) = delete;

  // There is a byte to be read on it.
  void PutInPlaceOf(const Connection& record) const {
    EXPECT_EQ(dup2(mEnds[0], record.mFD), record.mFD);
    EXPECT_EQ(write(mEnds[1], "x", 1), 1);
  }

 private:
  int mEnds[2] = {-1, -1};
};

class SettledLoopTest : public ::testing::Test {
 protected:
  void Connect(int count) {
    for (int i = 0; i < count; ++i) {
      mConnections.push_back(
          std::make_unique<Connection>(kFirstId + i, mApp.GetFdDataList(), &mServed));
      mConnections.back()->AddEvent();
    }
  }
  void Settle() {
    for (int i = 0; i < 3; ++i) Pass();
    mServed.clear();
  }
  void Make(int count) {
    Connect(count);
    Settle();
  }

  // A pass that does not wait.
  void Pass() {
    mApp.WakeUp();
    mApp.RunPass();
  }
  std::vector<int> TakeServed() { return std::exchange(mServed, {}); }
  Connection& At(int i) { return *mConnections[static_cast<std::size_t>(i)]; }

  // How many descriptors the next pass gives to select.
  int CountWatched() {
    SelectSpy spy;
    int count = 0;
    spy.mReplacement = [&count](fd_set* reads, fd_set* writes) {
      for (int fd = 0; fd < FD_SETSIZE; ++fd) {
        count += FD_ISSET(fd, reads) || FD_ISSET(fd, writes) ? 1 : 0;
      }
      FD_ZERO(reads);
      FD_ZERO(writes);
      return 0;
    };
    mApp.RunPass();
    return count;
  }

  // Until a pass would wait for ever. Each waits for real, but not longer than this.
  void WaitForNothing(SelectSpy& spy) {
    spy.mReplacement = [](fd_set* reads, fd_set* writes) {
      const timespec timeout{0, 110000000};
      return pselect(FD_SETSIZE, reads, writes, nullptr, &timeout, nullptr);
    };
    while (spy.mCalls.empty() || spy.mCalls.back().mTimeout) mApp.RunPass();
  }

  // Runs the loop as it is, with real waits, for so long; the number of passes.
  int RunFor(int ms) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    bool isOver = false;
    mApp.mOnTimer = [&isOver](unsigned int id) { isOver = isOver || id == 1; };
    mApp.SetApplicationSingleTimerInterval(static_cast<unsigned long>(ms), 1);
    // The pass that serves the first timer waits for the next one.
    mApp.SetApplicationSingleTimerInterval(static_cast<unsigned long>(ms) + 50, 2);
    int passes = 0;
    for (; !isOver && std::chrono::steady_clock::now() < end; ++passes) mApp.RunPass();
    mApp.SetApplicationSingleTimerInterval(0, 1);
    mApp.SetApplicationSingleTimerInterval(0, 2);
    return passes;
  }

  HangGuard mGuard;
  TestApplication mApp;
  std::vector<int> mServed;
  std::vector<std::unique_ptr<Connection>> mConnections;
};

TEST_F(SettledLoopTest, TheOneOnDescriptor0IsServedLikeAnyOther) {
  const NoStandardInput closed;
  Make(40);
  ASSERT_EQ(At(0).mFD, 0);
  EXPECT_EQ(CountWatched(), 2);
  At(0).Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(kFirstId));
  EXPECT_EQ(CountWatched(), 2);
  At(0).Close();
}

TEST_F(SettledLoopTest, TheOneDescriptorForAllOfThemMayBeNumber0) {
  Connect(40);
  const NoStandardInput closed;
  Settle();
  ASSERT_TRUE(closed.IsTaken());
  EXPECT_EQ(CountWatched(), 2);
  At(7).Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(107));
}

TEST_F(SettledLoopTest, SelectWatchesOneDescriptorForAllOfThem) {
  Make(40);
  EXPECT_EQ(CountWatched(), 2);  // With the pipe.
  At(7).Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(107));
  EXPECT_EQ(CountWatched(), 2);  // Also those that were just served.
}

// What comes and goes costs no calls but its own.
TEST_F(SettledLoopTest, SelectWatchesAFewByThemselves) {
  Make(4);
  EXPECT_EQ(CountWatched(), 5);
  At(3).Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(103));
  EXPECT_EQ(CountWatched(), 5);
  const int held = dup(At(3).mFD);
  At(3).Close();
  EXPECT_EQ(CountWatched(), 4);
  close(held);
}

TEST_F(SettledLoopTest, SelectWatchesAFewByThemselvesBesideMany) {
  Make(40);
  Connection late(50, mApp.GetFdDataList(), &mServed);
  late.AddEvent();
  Pass();
  Pass();
  EXPECT_EQ(CountWatched(), 3);
  late.Write();
  At(39).Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(139, 50));
  for (int i = 0; i < 4; ++i) {
    mConnections.push_back(std::make_unique<Connection>(60 + i, mApp.GetFdDataList(), &mServed));
    mConnections.back()->AddEvent();
  }
  Pass();
  Pass();
  EXPECT_EQ(CountWatched(), 2);  // Now they are too many.
}

// Nothing is to be looked for where select is told each descriptor.
TEST_F(SettledLoopTest, AFewThatSelectWatchesNeedNoOtherLook) {
  Make(3);
  At(0).Write();
  mApp.RunPass();
  EXPECT_THAT(TakeServed(), ElementsAre(100));
  SelectSpy spy;
  spy.mReplacement = [](fd_set* reads, fd_set* writes) {
    FD_ZERO(reads);
    FD_ZERO(writes);
    return 0;
  };
  mApp.RunPass();
  ASSERT_EQ(spy.mCalls.size(), 1u);
  EXPECT_FALSE(spy.mCalls[0].mTimeout.has_value());
}

TEST_F(SettledLoopTest, AnybodyElseGetsAllDescriptors) {
  Make(5);
  fd_set reads;
  fd_set writes;
  const auto check = [&] {
    EXPECT_EQ(mApp.mFdList.FdSet(&reads, &writes), 6);
    int count = 0;
    for (int fd = 0; fd < FD_SETSIZE; ++fd) count += FD_ISSET(fd, &reads) ? 1 : 0;
    EXPECT_EQ(count, 6);
    for (const auto& connection : mConnections) EXPECT_TRUE(FD_ISSET(connection->mFD, &reads));
  };
  check();
  At(3).mHook = check;
  At(3).Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(103));
  // And what select left in them is what counts.
  At(1).Write();
  FD_ZERO(&reads);
  FD_ZERO(&writes);
  FD_SET(At(2).mFD, &reads);
  FdDataList ready;
  mApp.mFdList.FdIsSet(&reads, &writes, &ready);
  EXPECT_THAT(ready, ElementsAre(&At(2)));
}

TEST_F(SettledLoopTest, SettledAndRestlessOnesAreServedInTheOrderOfTheList) {
  Make(10);
  char byte = 'x';
  At(4).SetDataToBuffer(&byte, 1);  // Restless, for its buffer.
  At(6).SetFDStatus(KZFdData::kStatusOpen);
  for (const int i : {9, 8, 5, 4, 0}) At(i).Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(100, 104, 105, -106, 108, 109));
}

TEST_F(SettledLoopTest, AllMayBeReadyAtOnce) {
  constexpr int kMany = 400;
  Make(kMany);
  for (int i = 0; i < kMany; ++i) At(i).Write();
  Pass();
  EXPECT_EQ(TakeServed().size(), static_cast<std::size_t>(kMany));
}

TEST_F(SettledLoopTest, WhatIsNotReadIsServedInEveryPass) {
  Make(kMembers);
  At(1).mReads = false;
  At(1).Write();
  for (int i = 0; i < 3; ++i) Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(101, 101, 101));
}

// By its status the loop watches it for writing only, and what it has to read stays unread.
TEST_F(SettledLoopTest, ARestlessOneThatIsNotReadDoesNotKeepTheLoopBusy) {
  Make(kMembers);
  At(1).SetFDStatus(KZFdData::kStatusGone);
  At(1).Write();
  EXPECT_LT(RunFor(150), 6);
  EXPECT_THAT(mServed, IsEmpty());
  At(1).SetFDStatus(KZFdData::kStatusActive);
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(101));
}

TEST_F(SettledLoopTest, NothingOfAClosedOneIsHeardAnyMore) {
  Make(kMembers);
  const int held = dup(At(1).mFD);  // As a forked child holds it.
  At(1).Close();
  At(1).Write();
  const SelectSpy spy;
  EXPECT_LT(RunFor(150), 6);
  EXPECT_THAT(mServed, IsEmpty());
  close(held);
}

TEST_F(SettledLoopTest, TheOthersKeepTheirSetWhenOneIsRemoved) {
  Make(10);
  const EpollSpy spy;
  At(1).RemoveEvent();
  for (int i = 0; i < 3; ++i) Pass();
  EXPECT_EQ(spy.mChanges, 1);
  EXPECT_EQ(spy.mSetsMade, 0);
  EXPECT_EQ(CountWatched(), 2);
}

TEST_F(SettledLoopTest, NothingOfARemovedOneIsHeardAnyMore) {
  Make(kMembers);
  At(1).RemoveEvent();
  Pass();
  At(1).Write();
  EXPECT_LT(RunFor(150), 6);
  EXPECT_THAT(TakeServed(), IsEmpty());
  At(1).SetFDStatus(KZFdData::kStatusActive);
  At(1).AddEvent();
  Pass();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(101));
}

TEST_F(SettledLoopTest, ADescriptorThatAHookOpensAnewIsFoundAgain) {
  Make(5);
  const OtherConnection other;
  At(0).mHook = [&] { other.PutInPlaceOf(At(3)); };
  At(0).Write();
  while (mServed.size() < 2) mApp.RunPass();
  EXPECT_THAT(TakeServed(), ElementsAre(100, 103));
}

// The hook's own: no record is settled when the loop would look. Select does not watch it itself,
// as there were others.
TEST_F(SettledLoopTest, TheOnlyDescriptorIsFoundAgainAfterItsOwnHookHasOpenedItAnew) {
  Make(kMembers);
  for (int i = 1; i < kMembers; ++i) At(i).RemoveEvent();
  Settle();
  const OtherConnection other;
  At(0).mHook = [&] {
    At(0).mHook = nullptr;
    other.PutInPlaceOf(At(0));
  };
  At(0).Write();
  while (mServed.size() < 2) mApp.RunPass();
  EXPECT_THAT(TakeServed(), ElementsAre(100, 100));
}

// Such a hook runs before the pass looks for descriptors that were opened anew.
TEST_F(SettledLoopTest, ADescriptorThatACallOfTheNextPassOpensAnewIsFoundAgain) {
  Make(5);
  SelectSpy spy;
  WaitForNothing(spy);
  const OtherConnection other;
  At(0).mHook = [&] { other.PutInPlaceOf(At(3)); };
  dorn::NextPass::Request(At(0),
                          [](KZFdData& record) { static_cast<Connection&>(record).mHook(); });
  mApp.RunPass();
  mApp.RunPass();
  EXPECT_THAT(TakeServed(), ElementsAre(103));
}

// No descriptor is ready in that pass.
TEST_F(SettledLoopTest, ADescriptorThatAHookForBufferedDataOpensAnewIsFoundAgain) {
  Make(5);
  SelectSpy spy;
  WaitForNothing(spy);
  const OtherConnection other;
  At(0).mHook = [&] {
    At(0).ClearData();
    other.PutInPlaceOf(At(3));
  };
  char byte = 'x';
  EXPECT_TRUE(At(0).SetDataToBuffer(&byte, 1));
  mApp.RunPass();
  mApp.RunPass();
  EXPECT_THAT(TakeServed(), ElementsAre(100, 103));
}

// Ten times a second, and as long as hooks run.
TEST_F(SettledLoopTest, LookingForSuchDescriptorsWakesNobodyWhenNothingRuns) {
  Make(5);
  At(0).Write();
  mApp.RunPass();
  EXPECT_THAT(TakeServed(), ElementsAre(100));
  SelectSpy spy;
  spy.mReplacement = [](fd_set* reads, fd_set* writes) {
    FD_ZERO(reads);
    FD_ZERO(writes);
    usleep(110000);
    return 0;
  };
  for (int i = 0; i < 3; ++i) mApp.RunPass();
  ASSERT_EQ(spy.mCalls.size(), 3u);
  if (spy.mCalls[0].mTimeout) {
    EXPECT_EQ(spy.mCalls[0].mTimeout->tv_sec, 0);
    EXPECT_LE(spy.mCalls[0].mTimeout->tv_usec, 100000);
  }
  EXPECT_FALSE(spy.mCalls[1].mTimeout.has_value());
  EXPECT_FALSE(spy.mCalls[2].mTimeout.has_value());
}

// A call that waits for the pass of another loop of this thread is no hook of this one.
TEST_F(SettledLoopTest, ACallOfAnotherLoopsNextPassWakesNobodyHere) {
  Make(5);
  KZApplication other;
  KZFdData record(KZFdData::kTypeClient, -1, 1, other.GetFdDataList());
  static int called;
  called = 0;
  SelectSpy spy;
  useconds_t lasts = 110000;
  spy.mReplacement = [&lasts](fd_set* reads, fd_set* writes) {
    FD_ZERO(reads);
    FD_ZERO(writes);
    usleep(lasts);
    return 0;
  };
  for (int i = 0; i < 2; ++i) mApp.RunPass();
  dorn::NextPass::Request(record, [](KZFdData&) { ++called; });
  lasts = 0;
  for (int i = 0; i < 2; ++i) mApp.RunPass();
  ASSERT_EQ(spy.mCalls.size(), 4u);
  EXPECT_FALSE(spy.mCalls[2].mTimeout.has_value());
  EXPECT_FALSE(spy.mCalls[3].mTimeout.has_value());
  EXPECT_EQ(called, 0);
  other.WakeUp();
  other.RunPass();
  EXPECT_EQ(called, 1);
}

TEST_F(SettledLoopTest, AChildMayDestroyWhatItInherited) {
  Make(kMembers);
  const pid_t child = fork();
  if (child == 0) {
    At(2).Close();
    mConnections.clear();
    _exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  for (int i = 0; i < kMembers; ++i) At(i).Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(100, 101, 102, 103, 104));
}

TEST_F(SettledLoopTest, AChildMayRunTheLoopOn) {
  Make(kMembers);
  const pid_t child = fork();
  if (child == 0) {
    At(1).Write();
    Pass();
    Pass();
    At(2).Write();
    Pass();
    _exit(mServed == std::vector<int>({101, 102}) ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  At(3).Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(103));
}

TEST_F(SettledLoopTest, WithoutADescriptorToSpareSelectWatchesEachOne) {
  std::vector<std::unique_ptr<Connection>> made;
  for (int i = 0; i < 5; ++i) {
    made.push_back(std::make_unique<Connection>(kFirstId + i, mApp.GetFdDataList(), &mServed));
    made.back()->AddEvent();
  }
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const int next = dup(0);
  close(next);
  rlimit lowered = before;
  lowered.rlim_cur = static_cast<rlim_t>(next);
  setrlimit(RLIMIT_NOFILE, &lowered);
  for (int i = 0; i < 3; ++i) Pass();
  EXPECT_EQ(CountWatched(), 6);
  made[2]->Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(102));
  setrlimit(RLIMIT_NOFILE, &before);
  RunFor(150);
  made[3]->Write();
  Pass();
  EXPECT_THAT(TakeServed(), ElementsAre(103));
  RunFor(150);
  EXPECT_EQ(CountWatched(), 2);
}

TEST_F(SettledLoopTest, ASetThatIsClosedUnderTheLoopIsReplaced) {
  Make(5);
  int lowest = dup(0);
  close(lowest);
  // What is open between the connections and the next free number: the set.
  for (int fd = At(4).mPeer + 1; fd < lowest; ++fd) close(fd);
  At(2).Write();
  while (mServed.empty()) mApp.RunPass();
  EXPECT_THAT(TakeServed(), ElementsAre(102));
  Pass();
  EXPECT_EQ(CountWatched(), 2);
}

// The loop against what the text of FdSet() and FdIsSet() says, told by poll() for each record.
class LoopAndModel {
 public:
  explicit LoopAndModel(unsigned seed) : mRandom(seed) {
    for (int i = 0; i < kCount; ++i) Make(i);
    for (int i = 0; i < 3; ++i) Pass();
  }

  void Step() {
    Connection& connection = *mConnections[Pick(kCount)];
    switch (Pick(18)) {
      case 0:
        connection.Close();
        return;
      case 1:
        connection.Close();
        connection.Connect();
        connection.SetFDStatus(KZFdData::kStatusActive);
        return;
      case 2:
        connection.SetFDStatus(static_cast<int>(Pick(4)));
        return;
      case 3:
        connection.SetFDStatus(KZFdData::kStatusActive);
        return;
      case 4:
        connection.SetType(Pick(3) == 0 ? KZFdData::kTypeListener : KZFdData::kTypeClient);
        return;
      case 5: {
        char byte = 'x';
        connection.SetDataToBuffer(&byte, 1);
        return;
      }
      case 6:
        connection.ClearData();
        return;
      case 7:
        connection.mReads = !connection.mReads;
        return;
      case 8:
        return Again(connection);
      case 9:
        return Destroy(Pick(kCount));
      case 10:
        return Exchange(connection, *mConnections[Pick(kCount)]);
      case 11:
        if (Pick(10) == 0) OpenBehind(connection);
        return;
      default:
        if (connection.mFD >= 0) static_cast<void>(write(connection.mPeer, "x", 1));
        return Compare();
    }
  }

 private:
  static constexpr int kCount = 8;

  std::size_t Pick(int count) { return mRandom() % static_cast<unsigned>(count); }

  void Make(int i) {
    mConnections[static_cast<std::size_t>(i)] =
        std::make_unique<Connection>(kFirstId + i, mApp.GetFdDataList(), &mServed);
    mConnections[static_cast<std::size_t>(i)]->AddEvent();
  }

  void Pass() {
    mApp.WakeUp();
    mApp.RunPass();
    mServed.clear();
  }

  void Again(Connection& connection) {
    connection.RemoveEvent();
    Pass();
    connection.SetFDStatus(KZFdData::kStatusActive);
    connection.AddEvent();
  }

  void Destroy(std::size_t i) {
    mConnections[i].reset();
    Make(static_cast<int>(i));
  }

  // Two records change their descriptors, which stay open.
  void Exchange(Connection& a, Connection& b) {
    if (&a == &b || a.mFD < 0 || b.mFD < 0) return;
    const int fd = a.SetFD(b.mFD);
    b.SetFD(fd);
    std::swap(a.mPeer, b.mPeer);
  }

  // Is found when a tenth of a second has gone by at the latest.
  void OpenBehind(Connection& connection) {
    if (connection.mFD < 0) return;
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    ASSERT_EQ(dup2(ends[0], connection.mFD), connection.mFD);
    close(ends[0]);
    close(connection.mPeer);
    connection.mPeer = ends[1];
    usleep(110000);
    Pass();
    Pass();
  }

  static bool Has(int fd, short events) {
    pollfd state = {fd, events, 0};
    return poll(&state, 1, 0) > 0;
  }

  // What a pass that begins now serves.
  std::vector<int> Expected() {
    std::vector<int> expected;
    for (const KZFdData* record : mApp.mFdList) {
      if (record->GetId() == KZFdDataList::kPipeId || record->mFD < 0) continue;
      const int status = record->mStatus;
      const bool isClient = record->GetType() == KZFdData::kTypeClient;
      const bool isWatched = status == KZFdData::kStatusOpen || status == KZFdData::kStatusActive;
      const bool isWriting = isClient && status == KZFdData::kStatusOpen;
      const bool isReady = isWatched && Has(record->mFD, isWriting ? POLLOUT : POLLIN);
      if (!isReady && record->mBufferPos == 0) continue;
      if (isWriting) expected.push_back(-record->GetId());
      if (!isClient || status == KZFdData::kStatusActive) expected.push_back(record->GetId());
    }
    return expected;
  }

  void Compare() {
    const std::vector<int> expected = Expected();
    mApp.WakeUp();
    mApp.RunPass();
    EXPECT_EQ(std::exchange(mServed, {}), expected);
  }

  std::mt19937 mRandom;
  TestApplication mApp;
  std::vector<int> mServed;
  std::vector<std::unique_ptr<Connection>> mConnections{kCount};
};

TEST(SettledLoopRandomTest, ServesWhatALiteralLoopServes) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    LoopAndModel loop(seed);
    for (int i = 0; i < 400 && !testing::Test::HasFailure(); ++i) loop.Step();
    ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
  }
}

}  // namespace
