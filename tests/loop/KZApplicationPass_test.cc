// Tests of one pass of the loop: its wait, what it serves, and what a failing select() does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "dorn/loop/KZApplication.h"
#include "tests/loop/SystemCallSpy.h"
#include "tests/support/CapturedStdout.h"
#include "tests/support/Deadline.h"
#include "tests/support/FakeClock.h"
#include "tests/support/LoopRunner.h"
#include "tests/support/NoStandardInput.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool IsLinked(const KZApplication& app, const KZFdData* record) {
  for (const KZFdData* linked : app.mFdList) {
    if (linked == record) return true;
  }
  return false;
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

constexpr char kRefusedPass[] =
    "dorn: a pass of the loop was asked for inside a pass, by a hook; nothing is done\n";

TEST_F(KZApplicationPassTest, APassInsideACallbackIsRefused) {
  auto* const doomed = new TestRecord(2, mPipe.ReadEnd(), 5);
  bool isDestroyed = false;
  doomed->mOnDestroy = [&] { isDestroyed = true; };
  doomed->SetAutoDelete(1);
  doomed->mReadForReal = false;
  doomed->mOnRead = [&] {
    mApp.RemoveEventFd(doomed);
    mApp.RunPass();
    mApp.AppMain();
    EXPECT_FALSE(isDestroyed);
  };
  mApp.mFdList.push_back(doomed);
  mPipe.Write("x");
  ::testing::internal::CaptureStderr();
  mApp.RunPass();
  EXPECT_EQ(std::string(kRefusedPass) + kRefusedPass, ::testing::internal::GetCapturedStderr());
  EXPECT_FALSE(isDestroyed);
  mApp.RunPass();
  EXPECT_TRUE(isDestroyed);
}

TEST_F(KZApplicationPassTest, APassOfAnotherLoopMayStandInsideACallback) {
  TestApplication other;
  TestRecord record(2, mPipe.ReadEnd(), 5);
  record.mReadForReal = false;
  record.mOnRead = [&] {
    other.WakeUp();
    other.RunPass();
  };
  mApp.mFdList.push_back(&record);
  mPipe.Write("x");
  ::testing::internal::CaptureStderr();
  mApp.RunPass();
  EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
  mApp.mFdList.remove(&record);
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

// What select was not given cannot be what it fails for.
TEST_F(KZApplicationPassTest, AClosedDescriptorThatIsNotWatchedRemovesNoRecord) {
  TestPipe dead;
  TestRecord victim(2, dead.ReadEnd(), 5);
  TestRecord notYet(2, dead.WriteEnd(), 6);
  TestRecord tooHigh(2, FD_SETSIZE, 7);
  notYet.SetFDStatus(KZFdData::kStatusInitial);
  for (TestRecord* record : {&victim, &notYet, &tooHigh}) mApp.mFdList.push_back(record);
  dead.CloseReadEnd();
  dead.CloseWriteEnd();
  mApp.RunPass();
  EXPECT_FALSE(IsLinked(mApp, &victim));
  EXPECT_TRUE(IsLinked(mApp, &notYet));
  EXPECT_TRUE(IsLinked(mApp, &tooHigh));
}

TEST_F(KZApplicationPassTest, ARecordWhoseDescriptor0WasClosedIsRemoved) {
  TestRecord victim(2, 0, 5);
  mApp.mFdList.push_back(&victim);
  const NoStandardInput closed;
  mApp.RunPass();
  EXPECT_FALSE(IsLinked(mApp, &victim));
}

TEST_F(KZApplicationPassTest, ARecordReadsDescriptor0LikeAnyOther) {
  const NoStandardInput closed;
  const TestPipe pipe;
  TestRecord record(2, pipe.ReadEnd(), 5);
  ASSERT_EQ(record.GetFD(), 0);
  record.CreateBuffer(100);
  mApp.mFdList.push_back(&record);
  pipe.Write("abc");
  mApp.RunPass();
  mApp.RunPass();
  EXPECT_EQ(record.Take(10), "abc");
  EXPECT_EQ(record.SetFD(0), 0);
  EXPECT_NE(record.GetFDStatus(), KZFdData::kStatusGone);
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

TEST_F(KZApplicationPassTest, ARecordThatGotAnotherDescriptorBeforeItsOldOneWasClosedStays) {
  TestPipe dead;
  TestRecord record(2, dead.ReadEnd(), 5);
  mApp.mFdList.push_back(&record);
  dead.CloseReadEnd();
  mPipe.Write("x");
  {
    // The other thread's SetFD() and close() fall between the two looks of the loop.
    const FailedFcntlSpy spy([&](int) { record.SetFD(mPipe.ReadEnd()); });
    mApp.RunPass();
  }
  EXPECT_TRUE(IsLinked(mApp, &record));
  mApp.RunPass();
  EXPECT_THAT(record.TakeEvents(), ElementsAre("receive"));
}

TEST_F(KZApplicationPassTest, AClosedDescriptorIsARequestUntilItIsApplied) {
  TestPipe dead;
  TestRecord first(2, dead.ReadEnd(), 5);
  TestRecord second(2, dead.WriteEnd(), 6);
  mApp.mFdList.push_back(&first);
  mApp.mFdList.push_back(&second);
  dead.CloseReadEnd();
  dead.CloseWriteEnd();
  std::vector<int> requests;
  {
    const FailedFcntlSpy spy(
        [&](int) { requests.push_back(static_cast<int>(mApp.mFdList.mRequest)); });
    mApp.RunPass();
  }
  EXPECT_THAT(requests, ElementsAre(0, 1));
  EXPECT_EQ(mApp.mFdList.mRequest, 0);
  EXPECT_EQ(mApp.mFdList.size(), 1u);
}

TEST_F(KZApplicationPassTest, AWakeUpPipeClosedUnderTheLoopIsReplaced) {
  const int lower = dup(mPipe.ReadEnd());
  TestApplication app;
  const int readEnd = app.mFdList.front()->GetFD();
  const int writeEnd = app.mFdList.mPipeFd;
  ASSERT_LT(lower, readEnd);
  close(readEnd);
  close(lower);   // So that the new one has another number.
  app.RunPass();  // Finds it closed.
  EXPECT_EQ(app.mFdList.front()->GetFD(), lower);
  EXPECT_NE(app.mFdList.mPipeFd, writeEnd);
  app.WakeUp();
  int waiting = 0;
  ioctl(lower, FIONREAD, &waiting);
  EXPECT_EQ(waiting, 1);
  TestRecord added(2, mPipe.ReadEnd(), 7);
  app.AddEventFd(&added);
  app.RunPass();
  EXPECT_TRUE(IsLinked(app, &added));
  app.mFdList.remove(&added);
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

}  // namespace
