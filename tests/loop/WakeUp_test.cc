// How a wish to wake the loop reaches it: by a byte in its pipe, or by a note where the loop is
// going to look anyway.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/select.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <thread>
#include <utility>

#include "dorn/loop/KZApplication.h"
#include "tests/loop/SystemCallSpy.h"
#include "tests/support/Deadline.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"

namespace {

using ::testing::IsEmpty;

TestApplication* gApp = nullptr;

class WakeUpTest : public ::testing::Test {
 protected:
  WakeUpTest() {
    gApp = &mApp;
    mPrevious = std::signal(SIGUSR1, [](int) { gApp->WakeUp(); });
    mApp.mFdList.push_back(&mReady);
  }
  ~WakeUpTest() override {
    std::signal(SIGUSR1, mPrevious);
    mApp.mFdList.remove(&mReady);
  }

  int PendingBytes() {
    int count = -1;
    ioctl(mApp.mFdList.front()->mFD, FIONREAD, &count);
    return count;
  }
  bool IsLinked(const KZFdData* record) {
    for (const KZFdData* linked : mApp.mFdList) {
      if (linked == record) return true;
    }
    return false;
  }
  // One pass in which `hook` runs for a ready record.
  void ServeWith(std::function<void()> hook) {
    mReady.mOnReceive = std::move(hook);
    mPipe.Write("x");
    mApp.RunPass();
    mReady.mOnReceive = nullptr;
  }

  HangGuard mGuard;
  TestPipe mPipe;
  TestPipe mOtherPipe;
  TestApplication mApp;
  TestRecord mReady{2, mPipe.ReadEnd(), 5};
  TestRecord mOther{2, mOtherPipe.ReadEnd(), 6};
  void (*mPrevious)(int) = nullptr;
};

TEST_F(WakeUpTest, AHookOfARecordWritesNothingAndTheNextPassApplies) {
  int bytes = -1;
  ServeWith([&] {
    mApp.AddEventFd(&mOther);
    mApp.mFdList.Remove(77, 78);
    mApp.WakeUp();
    bytes = PendingBytes();
  });
  EXPECT_EQ(bytes, 0);
  EXPECT_FALSE(IsLinked(&mOther));
  SelectSpy spy;
  mApp.RunPass();
  EXPECT_EQ(spy.LastWaitMs(), 0);
  EXPECT_TRUE(IsLinked(&mOther));
  EXPECT_THAT(mApp.mFdList.mAddRequest, IsEmpty());
  // Once: the pass behind it waits again.
  mApp.SetApplicationSingleTimerInterval(30, 1);
  mApp.RunPass();
  mApp.RunPass();
  EXPECT_GT(spy.LastWaitMs(), 0);
  mApp.mFdList.remove(&mOther);
}

TEST_F(WakeUpTest, ATimerWritesNothingAndItsOwnPassApplies) {
  int bytes = -1;
  mApp.mOnTimer = [&](unsigned int) {
    mApp.AddEventFd(&mOther);
    mApp.SetApplicationSingleTimerInterval(60000, 2);
    bytes = PendingBytes();
  };
  mApp.SetApplicationSingleTimerInterval(300, 1);
  mApp.RunPass();  // Finds the byte of the registration, long before the timer is due.
  SelectSpy spy;
  while (mApp.mFired.empty()) mApp.RunPass();
  EXPECT_EQ(bytes, 0);
  EXPECT_EQ(spy.LastWaitMs(), 0);
  EXPECT_TRUE(IsLinked(&mOther));
  mApp.mFdList.remove(&mOther);
}

TEST_F(WakeUpTest, AnotherThreadWritesAByteWhileAHookRuns) {
  int bytes = -1;
  ServeWith([&] {
    std::thread([&] { mApp.WakeUp(); }).join();
    bytes = PendingBytes();
  });
  EXPECT_EQ(bytes, 1);
  mApp.RunPass();
  EXPECT_EQ(PendingBytes(), 0);
}

TEST_F(WakeUpTest, OutsideAPassBytesAreWritten) {
  mApp.WakeUp();
  mApp.mOnTimer = [&](unsigned int) { mApp.WakeUp(); };
  mApp.SetApplicationSingleTimerInterval(1, 1);
  timeval late = {4000000000, 0};
  mApp.BaseTimer(late);
  EXPECT_EQ(PendingBytes(), 3);
}

TEST_F(WakeUpTest, AnotherListsHookWritesAByte) {
  TestApplication other;
  int bytes = -1;
  ServeWith([&] {
    other.WakeUp();
    ioctl(other.mFdList.front()->mFD, FIONREAD, &bytes);
  });
  EXPECT_EQ(bytes, 1);
}

TEST_F(WakeUpTest, WhoWaitsInsideAHookFindsBytes) {
  int before = -1;
  int after = -1;
  ServeWith([&] {
    mApp.WakeUp();
    fd_set reads;
    fd_set writes;
    mApp.mFdList.FdSet(&reads, &writes);
    before = PendingBytes();
    mApp.WakeUp();
    after = PendingBytes();
  });
  EXPECT_EQ(before, 1);
  EXPECT_EQ(after, 2);
}

TEST_F(WakeUpTest, AWishSurvivesASelectThatFails) {
  ServeWith([&] { mApp.AddEventFd(&mOther); });
  {
    SelectSpy spy;
    spy.mReplacement = [](fd_set*, fd_set*) {
      errno = EINTR;
      return -1;
    };
    mApp.RunPass();
  }
  EXPECT_FALSE(IsLinked(&mOther));
  mApp.RunPass();
  EXPECT_TRUE(IsLinked(&mOther));
  mApp.mFdList.remove(&mOther);
}

TEST_F(WakeUpTest, ASignalInAHookEndsTheNextWait) {
  int bytes = -1;
  ServeWith([&] {
    std::raise(SIGUSR1);
    bytes = PendingBytes();
  });
  EXPECT_EQ(bytes, 0);
  mApp.RunPass();  // Would wait for ever.
}

// The handler runs when the loop has looked for notes already, and the call is not made yet.
TEST_F(WakeUpTest, ASignalOnTheWayIntoSelectEndsItsWait) {
  for (const bool isBehindHook : {false, true}) {
    if (isBehindHook) ServeWith([] {});
    SelectSpy spy;
    int found = -1;
    spy.mReplacement = [&](fd_set* reads, fd_set* writes) {
      std::raise(SIGUSR1);
      const timespec limit = {5, 0};
      found = pselect(FD_SETSIZE, reads, writes, nullptr, &limit, nullptr);
      return found;
    };
    mApp.RunPass();
    EXPECT_EQ(found, 1) << isBehindHook;
  }
}

}  // namespace
