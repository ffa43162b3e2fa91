#include "dorn/loop/KZApplication.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/loop/SystemCallSpy.h"
#include "tests/support/CapturedStdout.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Deadline.h"
#include "tests/support/FakeClock.h"
#include "tests/support/LoopRunner.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"
#include "tests/support/VirtualSlot.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The bytes waiting in the application's wake-up pipe.
int PendingWakeUps(KZApplication& app) {
  int count = -1;
  ioctl(app.mFdList.front()->GetFD(), FIONREAD, &count);
  return count;
}

bool IsLinked(const KZApplication& app, const KZFdData* record) {
  for (const KZFdData* linked : app.mFdList) {
    if (linked == record) return true;
  }
  return false;
}

// --- The class ---

TEST(KZApplicationTest, StartsWithoutTimersAndWithTheWakeUpPipe) {
  const TestApplication app;
  EXPECT_TRUE(app.mTimerList.empty());
  EXPECT_EQ(app.mFdList.size(), 1u);
}

TEST(KZApplicationTest, VirtualFunctionsHaveTheirPublishedSlots) {
  EXPECT_EQ(VirtualSlot(&KZApplication::AppMain), 2);
  EXPECT_EQ(VirtualSlot(&KZApplication::ApplicationTimer), 3);
  EXPECT_EQ(VirtualSlot(&KZApplication::DialogTimer), 4);
  EXPECT_EQ(VirtualSlot(&KZApplication::GetFdDataList), 5);
  EXPECT_EQ(VirtualSlot(&KZApplication::Initialize), -1);
  EXPECT_EQ(VirtualSlot(&KZApplication::RunPass), -1);
  EXPECT_EQ(VirtualSlot(&KZApplication::SetTimerData), -1);
}

TEST(KZApplicationTest, OperationsHaveTheirPublishedSignatures) {
  static_assert(std::is_same_v<decltype(&KZApplication::AppMain), void (KZApplication::*)()>);
  static_assert(std::is_same_v<decltype(&KZApplication::ApplicationTimer),
                               void (KZApplication::*)(timeval, unsigned int)>);
  static_assert(std::is_same_v<decltype(&KZApplication::DialogTimer),
                               void (KZApplication::*)(timeval, unsigned int, KZString)>);
  static_assert(
      std::is_same_v<decltype(&KZApplication::GetFdDataList), KZFdDataList* (KZApplication::*)()>);
  static_assert(
      std::is_same_v<decltype(&KZApplication::Initialize), int (KZApplication::*)(int, char**)>);
  static_assert(
      std::is_same_v<decltype(&KZApplication::AddEventFd), int (KZApplication::*)(KZFdData*)>);
  static_assert(
      std::is_same_v<decltype(&KZApplication::SetTimerData),
                     void (KZApplication::*)(unsigned long, unsigned int, KZString, int)>);
  static_assert(sizeof(std::declval<KZApplication&>().BaseTimer(timeval{})) == 8);
  static_assert(std::is_unsigned_v<decltype(std::declval<KZApplication&>().BaseTimer(timeval{}))>);
  static_assert(std::has_virtual_destructor_v<KZApplication>);
}

TEST(KZApplicationTest, MembersLieInTheirPublishedOrder) {
  const TestApplication app;
  EXPECT_TRUE(AreInOrder({MemberAddress(app.mTimerList), MemberAddress(app.mFdList),
                          MemberAddress(app.mTimerListLock)}));
  static_assert(std::is_same_v<decltype(KZApplication::mTimerList), KZTimerList>);
  static_assert(std::is_same_v<decltype(KZApplication::mFdList), KZFdDataList>);
  static_assert(std::is_same_v<decltype(KZApplication::mTimerListLock), KZSemaphore>);
}

TEST(KZApplicationTest, InitializeIgnoresSigpipeAndReturnsOne) {
  TestApplication app;
  std::signal(SIGPIPE, SIG_DFL);
  EXPECT_EQ(app.Initialize(0, nullptr), 1);
  struct sigaction action {};
  sigaction(SIGPIPE, nullptr, &action);
  EXPECT_EQ(action.sa_handler, SIG_IGN);
}

TEST(KZApplicationTest, OtherSignalsKeepTheirDisposition) {
  std::signal(SIGTERM, SIG_DFL);
  std::signal(SIGCHLD, SIG_DFL);
  TestApplication app;
  app.Initialize(0, nullptr);
  for (const int signal : {SIGTERM, SIGCHLD, SIGINT, SIGHUP}) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL) << signal;
  }
}

TEST(KZApplicationTest, GetFdDataListIsItsOwnList) {
  TestApplication app;
  EXPECT_EQ(app.GetFdDataList(), &app.mFdList);
}

TEST(KZApplicationTest, RecordsAreAddedAndRemovedThroughTheList) {
  TestApplication app;
  TestRecord record(2, 900, -1);
  EXPECT_EQ(app.AddEventFd(&record), 0x10000000);
  EXPECT_THAT(app.mFdList.mAddRequest, ElementsAre(&record));
  app.RemoveEventFd(&record);
  EXPECT_EQ(record.GetFDStatus(), 4);
  EXPECT_EQ(PendingWakeUps(app), 2);
}

TEST(KZApplicationTest, WakeUpWritesToTheListsPipe) {
  TestApplication app;
  app.WakeUp();
  EXPECT_EQ(PendingWakeUps(app), 1);
}

TEST(KZApplicationTest, RegisteringATimerWakesTheLoop) {
  TestApplication app;
  app.SetTimerData(1000, 1, "", 1);
  EXPECT_EQ(PendingWakeUps(app), 1);
  app.SetApplicationTimerInterval(1000, 1);
  app.SetApplicationSingleTimerInterval(1000, 1);
  EXPECT_EQ(PendingWakeUps(app), 3);
}

TEST(KZApplicationTest, ATimerRegisteredByATimerCallbackWakesTheLoop) {
  FakeClock clock;
  TestApplication app;
  app.SetApplicationSingleTimerInterval(1, 1);
  const int before = PendingWakeUps(app);
  app.mOnTimer = [&](unsigned int) { app.SetApplicationSingleTimerInterval(50, 2); };
  clock.AdvanceMs(1);
  app.BaseTimer(clock.Now());
  EXPECT_EQ(PendingWakeUps(app), before + 1);
}

TEST(KZApplicationTest, ATimerCallbackWakesTheLoopAlsoWhenTimersAreServedFromADescriptorCallback) {
  FakeClock clock;
  TestApplication app;
  const TestPipe pipe;
  TestRecord record(2, pipe.ReadEnd(), 5);
  app.mFdList.push_back(&record);
  app.SetApplicationSingleTimerInterval(1, 1);
  int written = -1;
  app.mOnTimer = [&](unsigned int) { app.SetApplicationSingleTimerInterval(50, 2); };
  record.mOnReceive = [&] {
    const int before = PendingWakeUps(app);
    clock.AdvanceMs(1);
    app.BaseTimer(clock.Now());
    written = PendingWakeUps(app) - before;
  };
  pipe.Write("x");
  app.RunPass();
  EXPECT_EQ(written, 1);
}

TEST(KZApplicationTest, DiscardingAllTimersWakesTheLoop) {
  TestApplication app;
  app.ResetTimer();
  EXPECT_EQ(PendingWakeUps(app), 1);
}

// --- The callbacks of the base ---

// An application as the base leaves it.
class BareApplication : private PipeKeeper, public KZApplication {
 public:
  BareApplication() { Keep(mFdList); }
  ~BareApplication() override { KeepWriteEnd(mFdList); }
};

TEST(KZApplicationTest, TheDefaultApplicationTimerPrintsATraceLine) {
  BareApplication app;
  CapturedStdout captured;
  app.ApplicationTimer(timeval{}, 7);
  EXPECT_EQ(captured.Text(), "KZApplication:336:ApplicationTimer\n");
}

TEST(KZApplicationTest, TheDefaultDialogTimerPrintsATraceLine) {
  BareApplication app;
  CapturedStdout captured;
  app.DialogTimer(timeval{}, 7, "panel");
  EXPECT_EQ(captured.Text(), "KZApplication:362:DialogTimer\n");
}

TEST(KZApplicationTest, TheTraceLinesAreFlushed) {
  const ChildResult child = RunChild([]() -> int {
    BareApplication app;
    app.ApplicationTimer(timeval{}, 7);
    app.DialogTimer(timeval{}, 7, "panel");
    _exit(7);
  });
  EXPECT_EQ(child.mExitCode, 7);
  EXPECT_EQ(child.mOutput, "KZApplication:336:ApplicationTimer\nKZApplication:362:DialogTimer\n");
}

// --- The wait of a pass ---

class KZApplicationWaitTest : public ::testing::Test {
 protected:
  // The wait of one pass in which nothing becomes ready, in milliseconds; -1 for ever.
  long WaitOfOnePass(bool bufferedData) {
    TestRecord record(2, mPipe.ReadEnd(), 5);
    record.CreateBuffer(10);
    if (bufferedData) record.Put("x");
    mApp.mFdList.push_back(&record);
    SelectSpy spy;
    spy.mReplacement = [](fd_set* reads, fd_set* writes) {
      FD_ZERO(reads);
      FD_ZERO(writes);
      return 0;
    };
    mApp.RunPass();
    mApp.mFdList.pop_back();
    EXPECT_EQ(spy.mCalls.size(), 1u);
    return spy.LastWaitMs();
  }

  HangGuard mGuard;
  FakeClock mClock;
  TestPipe mPipe;
  TestApplication mApp;
};

TEST_F(KZApplicationWaitTest, IsForTheNextTimerAndAtMostTenMillisecondsWithBufferedData) {
  const struct {
    unsigned long timerMs;  // 0: no timer.
    bool bufferedData;
    long expected;
  } rows[] = {
      {0, false, -1},       {0, true, 10},
      {4, false, 4},        {4, true, 4},
      {1, true, 1},         {9, true, 9},
      {10, true, 10},       {11, true, 10},
      {50, false, 50},      {50, true, 10},
      {999, false, 999},    {1000, false, 1000},
      {2500, false, 2500},  {86400000, false, 86400000},
      {86400000, true, 10},
  };
  for (const auto& row : rows) {
    mApp.ResetTimer();
    if (row.timerMs != 0) mApp.SetApplicationSingleTimerInterval(row.timerMs, 1);
    EXPECT_EQ(WaitOfOnePass(row.bufferedData), row.expected) << row.timerMs << row.bufferedData;
  }
}

TEST_F(KZApplicationWaitTest, SelectGetsTheLimit1024AndNoExceptionSet) {
  SelectSpy spy;
  mApp.WakeUp();
  mApp.RunPass();
  ASSERT_EQ(spy.mCalls.size(), 1u);
  EXPECT_EQ(spy.mCalls[0].mLimit, 1024);
  EXPECT_FALSE(spy.mCalls[0].mHasExceptionSet);
}

TEST_F(KZApplicationWaitTest, IsSplitIntoSecondsAndMicroseconds) {
  mApp.SetApplicationSingleTimerInterval(2345, 1);
  SelectSpy spy;
  mApp.RunPass();  // Finds the wake-up.
  ASSERT_TRUE(spy.mCalls[0].mTimeout.has_value());
  EXPECT_EQ(spy.mCalls[0].mTimeout->tv_sec, 2);
  EXPECT_EQ(spy.mCalls[0].mTimeout->tv_usec, 345000);
}

TEST_F(KZApplicationWaitTest, CountsFromTheClockAtTheBeginningOfThePass) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mClock.AdvanceMs(60);
  EXPECT_EQ(WaitOfOnePass(false), 40);
}

TEST_F(KZApplicationWaitTest, AfterFiringIsForTheTimerThatRemains) {
  mApp.SetApplicationSingleTimerInterval(100, 1);
  mApp.SetApplicationSingleTimerInterval(175, 2);
  mClock.AdvanceMs(100);
  EXPECT_EQ(WaitOfOnePass(false), 75);
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(1));
}

TEST_F(KZApplicationWaitTest, OutputIsFlushedBeforeEverySelect) {
  CapturedStdout captured;
  SelectSpy spy;
  mApp.SetApplicationSingleTimerInterval(1, 1);
  mApp.mOnTimer = [](unsigned int) { std::printf("no line end"); };
  mClock.AdvanceMs(1);
  mApp.RunPass();
  ASSERT_EQ(spy.mCalls.size(), 1u);
  EXPECT_EQ(spy.mCalls[0].mUnflushed, 0u);
  EXPECT_EQ(captured.Text(), "no line end");
}

// --- Serving descriptors ---

class KZApplicationPassTest : public ::testing::Test {
 protected:
  // One pass in which select() finds nothing, so that a record is served for its buffer alone.
  void PassWithoutReadiness() {
    SelectSpy spy;
    spy.mReplacement = [](fd_set* reads, fd_set* writes) {
      FD_ZERO(reads);
      FD_ZERO(writes);
      return 0;
    };
    mApp.RunPass();
  }

  HangGuard mGuard;
  TestPipe mPipe;
  TestApplication mApp;
};

TEST_F(KZApplicationPassTest, DispatchesByTypeAndStatus) {
  const struct {
    int type;
    int status;
    const char* expected;
  } rows[] = {
      {0, 1, ""},     {0, 2, ""},     {0, 4, ""},     {2, 0, "read"},  {2, 1, "read"},
      {2, 2, "read"}, {2, 3, "read"}, {2, 4, "read"}, {3, 0, ""},      {3, 1, "write"},
      {3, 2, "read"}, {3, 3, ""},     {3, 4, ""},     {-1, 1, "read"}, {7, 2, "read"},
  };
  for (const auto& row : rows) {
    TestRecord record(row.type, mPipe.ReadEnd(), 5);
    record.mReadForReal = false;
    record.CreateBuffer(10);
    record.Put("x");  // Served whatever its status.
    record.SetFDStatus(row.status);
    mApp.mFdList.push_back(&record);
    PassWithoutReadiness();
    mApp.mFdList.pop_back();
    std::vector<std::string> expected;
    if (*row.expected != '\0') expected.push_back(row.expected);
    EXPECT_EQ(record.TakeEvents(), expected) << row.type << " " << row.status;
  }
}

TEST_F(KZApplicationPassTest, ServesWhatSelectFound) {
  const TestPipe writable;
  TestRecord reader(2, mPipe.ReadEnd(), 5);
  TestRecord connecting(3, writable.WriteEnd(), 6);
  reader.CreateBuffer(5000);
  mApp.mFdList.push_back(&reader);
  mApp.mFdList.push_back(&connecting);
  mPipe.Write("abc");
  mApp.RunPass();
  EXPECT_THAT(reader.TakeEvents(), ElementsAre("receive"));
  EXPECT_EQ(reader.IsSelect(), 1);
  EXPECT_EQ(reader.Take(10), "abc");
  EXPECT_THAT(connecting.TakeEvents(), ElementsAre("write"));
}

TEST_F(KZApplicationPassTest, ServesBufferedDataThoughNothingIsReady) {
  TestRecord record(2, mPipe.ReadEnd(), 5);
  record.CreateBuffer(5000);
  record.Put("abc");
  mApp.mFdList.push_back(&record);
  mApp.RunPass();  // Waits its 10 ms.
  EXPECT_THAT(record.TakeEvents(), ElementsAre("receive"));
  EXPECT_EQ(record.IsSelect(), 0);
}

TEST_F(KZApplicationPassTest, ABareDescriptorOnlyEndsTheWait) {
  mApp.mFdList.Add(mPipe.ReadEnd(), 5);
  LoopRunner(mApp).Settle();
  mPipe.Write("abc");
  mApp.RunPass();
  int left = 0;
  ioctl(mPipe.ReadEnd(), FIONREAD, &left);
  EXPECT_EQ(left, 3);
  mApp.RemoveEventFd(mApp.mFdList.back());
  mApp.RunPass();
  EXPECT_EQ(mApp.mFdList.size(), 1u);
}

TEST_F(KZApplicationPassTest, FiresTimersBeforeServingDescriptors) {
  FakeClock clock;
  std::vector<std::string> order;
  TestRecord record(2, mPipe.ReadEnd(), 5);
  record.mReadForReal = false;
  record.mOnRead = [&] { order.emplace_back("descriptor"); };
  mApp.mOnTimer = [&](unsigned int) { order.emplace_back("timer"); };
  mApp.mFdList.push_back(&record);
  mPipe.Write("x");
  mApp.SetApplicationSingleTimerInterval(1, 1);
  clock.AdvanceMs(1);
  mApp.RunPass();
  EXPECT_THAT(order, ElementsAre("timer", "descriptor"));
}

TEST_F(KZApplicationPassTest, TheStatusThatCountsIsTheOneAtTheMomentOfServing) {
  const TestPipe second;
  TestRecord first(2, mPipe.ReadEnd(), 5);
  TestRecord closedMeanwhile(3, second.ReadEnd(), 6);
  first.mReadForReal = false;
  closedMeanwhile.SetFDStatus(2);
  first.mOnRead = [&] { closedMeanwhile.SetFD(-1); };
  mApp.mFdList.push_back(&first);
  mApp.mFdList.push_back(&closedMeanwhile);
  mPipe.Write("x");
  second.Write("x");
  mApp.RunPass();
  EXPECT_THAT(first.TakeEvents(), ElementsAre("read"));
  EXPECT_THAT(closedMeanwhile.TakeEvents(), IsEmpty());
  closedMeanwhile.SetFD(second.ReadEnd());
}

TEST_F(KZApplicationPassTest, ARecordMayAskForItsOwnRemovalWhileItIsServed) {
  auto* const record = new TestRecord(2, mPipe.ReadEnd(), 5);
  bool destroyed = false;
  record->SetAutoDelete(1);
  record->mOnReceive = [&, record] { mApp.RemoveEventFd(record); };
  record->mOnDestroy = [&] { destroyed = true; };
  mApp.mFdList.push_back(record);
  mPipe.Write("x");
  mApp.RunPass();
  EXPECT_FALSE(destroyed);
  mApp.RunPass();
  EXPECT_TRUE(destroyed);
  EXPECT_EQ(mApp.mFdList.size(), 1u);
}

TEST_F(KZApplicationPassTest, ACallbackMayAskForTheRemovalOfARecordThatIsServedAfterIt) {
  const TestPipe second;
  TestRecord first(2, mPipe.ReadEnd(), 5);
  auto* const victim = new TestRecord(2, second.ReadEnd(), 6);
  bool destroyed = false;
  victim->SetAutoDelete(1);
  victim->mOnDestroy = [&] { destroyed = true; };
  first.mOnReceive = [&, victim] { mApp.RemoveEventFd(victim); };
  mApp.mFdList.push_back(&first);
  mApp.mFdList.push_back(victim);
  mPipe.Write("x");
  second.Write("x");
  mApp.RunPass();
  EXPECT_FALSE(destroyed);
  mApp.RunPass();
  EXPECT_TRUE(destroyed);
}

TEST_F(KZApplicationPassTest, ARecordRemovedDuringSelectIsNeverServedAfterItsDestruction) {
  auto* const record = new TestRecord(2, mPipe.ReadEnd(), 5);
  bool destroyed = false;
  bool served = false;
  record->SetAutoDelete(1);
  record->mOnRead = [&] { served = true; };
  record->mOnDestroy = [&] { destroyed = true; };
  mApp.mFdList.push_back(record);
  mPipe.Write("x");
  mApp.WakeUp();
  SelectSpy spy;
  spy.mAfterwards = [&, record] { mApp.RemoveEventFd(record); };
  mApp.RunPass();
  EXPECT_TRUE(destroyed);
  EXPECT_FALSE(served);
}

TEST_F(KZApplicationPassTest, ARecordDestroyedByACallbackOfTheSamePassIsNotServed) {
  const TestPipe second;
  TestRecord first(2, mPipe.ReadEnd(), 5);
  auto victim = std::make_unique<TestRecord>(2, second.ReadEnd(), 6);
  bool served = false;
  victim->mOnRead = [&] { served = true; };
  first.mOnReceive = [&] { victim.reset(); };
  mApp.AddEventFd(&first);
  mApp.AddEventFd(victim.get());
  LoopRunner(mApp).Settle();
  mPipe.Write("x");
  second.Write("x");
  mApp.RunPass();
  EXPECT_EQ(victim, nullptr);
  EXPECT_FALSE(served);
  EXPECT_EQ(mApp.mFdList.size(), 2u);
}

TEST_F(KZApplicationPassTest, ATimerRegisteredByADescriptorCallbackIsNotSleptThrough) {
  TestRecord record(2, mPipe.ReadEnd(), 5);
  record.CreateBuffer(5000);
  record.mOnReceive = [&] {
    record.Take(100);
    mApp.SetApplicationSingleTimerInterval(1, 7);
  };
  mApp.mOnTimer = [&](unsigned int) { mApp.WakeUp(); };  // Ends the pass that serves the timer.
  mApp.mFdList.push_back(&record);
  mPipe.Write("x");
  while (mApp.mFired.empty()) mApp.RunPass();
  EXPECT_THAT(mApp.TakeIds(), ElementsAre(7));
}

TEST_F(KZApplicationPassTest, TimersInTheFarFutureDoNotDisturbTheWait) {
  TestRecord record(2, mPipe.ReadEnd(), 5);
  record.CreateBuffer(5000);
  mApp.mFdList.push_back(&record);
  for (const unsigned long interval : {0x7FFFFFFFFFFFFFFFUL, 0xFFFFFF0000000000UL}) {
    mApp.ResetTimer();
    mApp.SetApplicationSingleTimerInterval(interval, 1);
    mPipe.Write("x");
    mApp.RunPass();
    EXPECT_THAT(record.TakeEvents(), ElementsAre("receive")) << interval;
    record.Take(1);
  }
}

// --- A failing select ---

TEST_F(KZApplicationPassTest, AnInterruptedSelectServesNothingAndSleepsTenMilliseconds) {
  TestRecord record(2, mPipe.ReadEnd(), 5);
  TestRecord pending(2, 900, 6);
  record.CreateBuffer(5000);
  record.Put("x");
  mApp.mFdList.push_back(&record);
  mApp.AddEventFd(&pending);
  const auto start = std::chrono::steady_clock::now();
  {
    SelectSpy spy;
    spy.mReplacement = [](fd_set*, fd_set*) {
      errno = EINTR;
      return -1;
    };
    mApp.RunPass();
  }
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(10));
  EXPECT_THAT(record.TakeEvents(), IsEmpty());
  EXPECT_FALSE(IsLinked(mApp, &pending));
  mApp.RunPass();
  EXPECT_THAT(record.TakeEvents(), ElementsAre("receive"));
  EXPECT_TRUE(IsLinked(mApp, &pending));
}

TEST_F(KZApplicationPassTest, ADescriptorClosedUnderTheLoopStopsNoOtherRecord) {
  TestPipe dead;
  TestRecord victim(2, dead.ReadEnd(), 5);
  TestRecord alive(2, mPipe.ReadEnd(), 6);
  mApp.mFdList.push_back(&victim);
  mApp.mFdList.push_back(&alive);
  dead.CloseReadEnd();
  mPipe.Write("x");
  const auto start = std::chrono::steady_clock::now();
  mApp.RunPass();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(10));
  EXPECT_FALSE(IsLinked(mApp, &victim));
  EXPECT_THAT(victim.TakeEvents(), IsEmpty());
  mApp.RunPass();
  EXPECT_THAT(alive.TakeEvents(), ElementsAre("receive"));
}

TEST_F(KZApplicationPassTest, AnAutoDeleteRecordWithAClosedDescriptorIsDestroyed) {
  for (const int type : {0, 2, 3}) {
    TestPipe dead;
    auto* const victim = new TestRecord(type, dead.ReadEnd(), 5);
    bool destroyed = false;
    victim->SetAutoDelete(1);
    victim->mOnDestroy = [&] { destroyed = true; };
    mApp.mFdList.push_back(victim);
    dead.CloseReadEnd();
    mApp.RunPass();
    EXPECT_TRUE(destroyed) << type;
  }
}

TEST_F(KZApplicationPassTest, RequestsAreAppliedThoughADescriptorIsDead) {
  TestPipe dead;
  TestRecord victim(2, dead.ReadEnd(), 5);
  TestRecord removed(2, 901, 6);
  TestRecord added(2, mPipe.ReadEnd(), 7);
  const TestPipe alive;
  removed.SetFD(alive.ReadEnd());
  mApp.mFdList.push_back(&victim);
  mApp.mFdList.push_back(&removed);
  mApp.AddEventFd(&added);
  mApp.RemoveEventFd(&removed);
  dead.CloseReadEnd();
  mApp.RunPass();
  mApp.RunPass();
  EXPECT_FALSE(IsLinked(mApp, &victim));
  EXPECT_FALSE(IsLinked(mApp, &removed));
  EXPECT_TRUE(IsLinked(mApp, &added));
}

TEST_F(KZApplicationPassTest, ABadDescriptorErrorRemovesNoRecordWhoseDescriptorIsOpen) {
  TestRecord open(2, mPipe.ReadEnd(), 5);
  TestRecord without(2, -1, 6);
  mApp.mFdList.push_back(&open);
  mApp.mFdList.push_back(&without);
  {
    SelectSpy spy;
    spy.mReplacement = [](fd_set*, fd_set*) {
      errno = EBADF;
      return -1;
    };
    mApp.RunPass();
  }
  EXPECT_TRUE(IsLinked(mApp, &open));
  EXPECT_TRUE(IsLinked(mApp, &without));
  EXPECT_EQ(mApp.mFdList.size(), 3u);
}

TEST_F(KZApplicationPassTest, AWakeUpPipeClosedUnderTheLoopIsReplaced) {
  const int readEnd = mApp.mFdList.front()->GetFD();
  const int writeEnd = mApp.mFdList.mPipeFd;
  close(readEnd);
  mApp.RunPass();  // Finds it closed.
  TestRecord added(2, mPipe.ReadEnd(), 7);
  mApp.AddEventFd(&added);
  mApp.RunPass();
  EXPECT_TRUE(IsLinked(mApp, &added));
  // Whose the old write end is by now is not known, so it was left alone.
  EXPECT_EQ(close(writeEnd), 0);
}

TEST(KZApplicationRemovalTest, RemovingByDescriptorAndClosingAtOnceStillTakesEffect) {
  // Removal requests are never destroyed, so the application stays until the process ends.
  static auto* const app = new KZApplication;
  TestPipe pipe;
  app->mFdList.Add(pipe.ReadEnd(), 5);
  LoopRunner(*app).Settle();
  ASSERT_EQ(app->mFdList.size(), 2u);
  app->mFdList.Remove(pipe.ReadEnd(), 5);
  pipe.CloseReadEnd();
  LoopRunner(*app).RunPasses(2);
  EXPECT_EQ(app->mFdList.size(), 1u);
}

// --- The loop ---

TEST(KZApplicationLoopTest, AppMainFiresTimersAgainAndAgain) {
  const ChildResult child = RunChild([]() -> int {
    TestApplication app;
    int firings = 0;
    app.mOnTimer = [&](unsigned int) {
      if (++firings == 3) _exit(42);
    };
    app.SetApplicationTimerInterval(1, 1);
    app.AppMain();
    return 1;
  });
  EXPECT_EQ(child.mExitCode, 42);
}

TEST(KZApplicationLoopTest, ATimerThatOnlyACallbackRegisteredIsNotSleptThrough) {
  const HangGuard guard;
  TestApplication app;
  app.SetApplicationSingleTimerInterval(1, 1);
  app.mOnTimer = [&](unsigned int id) {
    if (id < 5) app.SetApplicationSingleTimerInterval(1, id + 1);
    if (id == 5) app.WakeUp();  // Ends the last pass.
  };
  // No help from outside: only the library's own wake-ups keep this going.
  while (app.mFired.size() < 5) app.RunPass();
  EXPECT_THAT(app.TakeIds(), ElementsAre(1, 2, 3, 4, 5));
}

// --- Setting the clock ---

class KZApplicationDateTimeTest : public ::testing::Test {
 protected:
  void SetUp() override { SetZone("UTC"); }
  void TearDown() override {
    unsetenv("TZ");
    tzset();
  }
  static void SetZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

  FakeClock mClock{1700000000, 123456};  // 2023-11-14 22:13:20 UTC.
  ClockSettingSpy mSetting;
  TestApplication mApp;
};

TEST_F(KZApplicationDateTimeTest, SetsTheGivenFieldsAndKeepsTheOthers) {
  const struct {
    const char* name;
    int year, month, day, hour, minute, second;
    long expected;
  } rows[] = {
      {"nothing", 0, 0, 0, -1, -1, -1, 1700000000},
      {"nothing, all negative", -1, -1, -1, -2, -2, -2, 1700000000},
      {"everything", 2001, 2, 3, 4, 5, 6, 981173106},
      {"year", 2024, 0, 0, -1, -1, -1, 1731622400},
      {"month", 0, 1, 0, -1, -1, -1, 1673734400},
      {"day", 0, 0, 1, -1, -1, -1, 1698876800},
      {"hour", 0, 0, 0, 1, -1, -1, 1699924400},
      {"minute", 0, 0, 0, -1, 1, -1, 1699999280},
      {"second", 0, 0, 0, -1, -1, 1, 1699999981},
      {"midnight", 0, 0, 0, 0, 0, 0, 1699920000},
      {"a day beyond the month", 2023, 2, 31, 0, 0, 0, 1677801600},
  };
  for (const auto& row : rows) {
    mSetting.mTimes.clear();
    mApp.SetDateTime(row.year, row.month, row.day, row.hour, row.minute, row.second);
    ASSERT_EQ(mSetting.mTimes.size(), 1u) << row.name;
    EXPECT_EQ(mSetting.mTimes[0].tv_sec, row.expected) << row.name;
    EXPECT_EQ(mSetting.mTimes[0].tv_usec, 0) << row.name;
  }
}

TEST_F(KZApplicationDateTimeTest, DiscardsAllTimersAndWakesTheLoop) {
  mApp.SetTimerData(100, 1, "", 1);
  mApp.SetTimerData(100, 2, "panel", 0);
  const int before = PendingWakeUps(mApp);
  mApp.SetDateTime(0, 0, 0, -1, -1, -1);
  EXPECT_TRUE(mApp.mTimerList.empty());
  EXPECT_EQ(PendingWakeUps(mApp), before + 1);
}

TEST_F(KZApplicationDateTimeTest, DiscardsAllTimersThoughTheClockCannotBeSet) {
  mSetting.mResult = -1;
  mApp.SetTimerData(100, 1, "", 1);
  mApp.SetDateTime(2001, 1, 1, 0, 0, 0);
  EXPECT_TRUE(mApp.mTimerList.empty());
}

TEST_F(KZApplicationDateTimeTest, ADateThatIsNoTimeChangesNothing) {
  mApp.SetTimerData(100, 1, "", 1);
  mApp.SetDateTime(INT_MAX, INT_MAX, 1, 0, 0, 0);
  EXPECT_TRUE(mSetting.mTimes.empty());
  EXPECT_EQ(mApp.mTimerList.size(), 1u);
}

TEST_F(KZApplicationDateTimeTest, TheSecondBeforeTheEpochCountsAsNoTime) {
  mApp.SetTimerData(100, 1, "", 1);
  mApp.SetDateTime(1969, 12, 31, 23, 59, 59);
  EXPECT_TRUE(mSetting.mTimes.empty());
  EXPECT_EQ(mApp.mTimerList.size(), 1u);
}

TEST_F(KZApplicationDateTimeTest, ReadsAndWritesLocalTime) {
  SetZone("JST-9");
  mApp.SetDateTime(0, 0, 0, 0, 0, 0);  // It is 07:13:20 on the 15th there.
  ASSERT_EQ(mSetting.mTimes.size(), 1u);
  EXPECT_EQ(mSetting.mTimes[0].tv_sec, 1699974000);
}

TEST_F(KZApplicationDateTimeTest, InSummerTheClockJumpsAnHourBecauseDaylightSavingIsForcedOff) {
  SetZone("CET-1CEST,M3.5.0,M10.5.0/3");
  mClock.Set(1688200000);  // 2023-07-01.
  mApp.SetDateTime(0, 0, 0, -1, -1, -1);
  ASSERT_EQ(mSetting.mTimes.size(), 1u);
  EXPECT_EQ(mSetting.mTimes[0].tv_sec, 1688203600);
}

}  // namespace
