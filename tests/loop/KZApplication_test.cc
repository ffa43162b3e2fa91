#include "dorn/loop/KZApplication.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio_ext.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <type_traits>

#include "dorn/base/Clock.h"
#include "dorn/loop/RestartTimer.h"
#include "tests/loop/SystemCallSpy.h"
#include "tests/support/CapturedStdout.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Deadline.h"
#include "tests/support/FakeClock.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"
#include "tests/support/VirtualSlot.h"

namespace {

using ::testing::ElementsAre;

// The bytes waiting in the application's wake-up pipe.
int PendingWakeUps(KZApplication& app) {
  int count = -1;
  ioctl(app.mFdList.front()->GetFD(), FIONREAD, &count);
  return count;
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
  // A test that is run in the background inherits some that are ignored.
  const int others[] = {SIGTERM, SIGCHLD, SIGINT, SIGHUP};
  for (const int signal : others) std::signal(signal, SIG_DFL);
  TestApplication app;
  app.Initialize(0, nullptr);
  for (const int signal : others) {
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

TEST(KZApplicationTest, RestartingATimerWakesTheLoop) {
  TestApplication app;
  dorn::RestartSingleTimer(app, 1000, 1);
  EXPECT_EQ(PendingWakeUps(app), 1);
}

// Its deadlines are read again before it waits.
TEST(KZApplicationTest, ATimerOfADescriptorCallbackWakesNoLoop) {
  const FakeClock clock;
  for (const bool isRestarted : {false, true}) {
    TestApplication app;
    const TestPipe pipe;
    TestRecord record(2, pipe.ReadEnd(), 5);
    record.CreateBuffer(10);
    record.mOnReceive = [&] {
      record.Take(10);
      if (isRestarted) {
        dorn::RestartSingleTimer(app, 1000, 1);
      } else {
        app.SetApplicationSingleTimerInterval(1000, 1);
      }
    };
    app.mFdList.push_back(&record);
    pipe.Write("x");
    app.RunPass();
    SelectSpy spy;
    spy.mReplacement = [](fd_set* reads, fd_set* writes) {
      FD_ZERO(reads);
      FD_ZERO(writes);
      return 0;
    };
    app.RunPass();
    EXPECT_EQ(spy.LastWaitMs(), 1000) << isRestarted;
    app.mFdList.remove(&record);
  }
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
  app.mOnTimer = [&](unsigned int) { app.SetApplicationSingleTimerInterval(50, 2); };
  record.mOnReceive = [&] {
    clock.AdvanceMs(1);
    app.BaseTimer(clock.Now());
  };
  pipe.Write("x");
  app.RunPass();
  ASSERT_EQ(app.TakeIds(), std::vector<unsigned int>{1});
  const SelectSpy spy;
  app.RunPass();
  EXPECT_EQ(spy.LastWaitMs(), 0);
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

TEST(KZApplicationTest, EachTraceLineIsFlushed) {
  BareApplication app;
  const CapturedStdout captured;
  app.ApplicationTimer(timeval{}, 7);
  EXPECT_EQ(__fpending(stdout), 0u);
  app.DialogTimer(timeval{}, 7, "panel");
  EXPECT_EQ(__fpending(stdout), 0u);
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
      {"year 1", 1, 0, 0, -1, -1, -1, -62108128000},
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

TEST_F(KZApplicationDateTimeTest, AClockThatShowsNoDateIsNotSet) {
  mApp.SetTimerData(100, 1, "", 1);
  const dorn::ClockFunction previous = dorn::SetClock(+[] { return timeval{LONG_MAX, 0}; });
  mApp.SetDateTime(2023, 1, 1, 0, 0, 0);
  dorn::SetClock(previous);
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
