// Which calls of the loop make it look again whether descriptors were closed and opened anew behind
// their records: all that may run a host's code.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <vector>

#include "dorn/loop/KZApplication.h"
#include "dorn/loop/LoopPass.h"
#include "dorn/loop/NextPass.h"
#include "dorn/loop/SettledRecords.h"
#include "tests/loop/SystemCallSpy.h"
#include "tests/support/Deadline.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"

namespace {

class IdleRecord : public TestRecord {
 public:
  IdleRecord(int fd, int id, KZFdDataList* list) : TestRecord(kTypeClient, fd, id, list) {
    dorn::LetRecordSettle(*this);
    SetFDStatus(kStatusActive);
    EXPECT_TRUE(CreateBuffer(64));
    mReadForReal = false;
  }
};

class RefreshAfterHooksTest : public ::testing::Test {
 protected:
  static constexpr int kEnough = 5;  // For members, which are what may be stale.

  RefreshAfterHooksTest() {
    for (int i = 0; i < kEnough; ++i) {
      mPipes.push_back(std::make_unique<TestPipe>());
      mRecords.push_back(
          std::make_unique<IdleRecord>(mPipes.back()->ReadEnd(), 100 + i, &mApp.mFdList));
      mRecords.back()->AddEvent();
    }
    mDoomed->SetAutoDelete(1);
    mDoomed->mOnDestroy = [this] { mDoomed = nullptr; };
    mApp.AddEventFd(mDoomed);
    for (int i = 0; i < 3; ++i) {
      mApp.WakeUp();
      mApp.RunPass();
    }
    // Whatever has run until now: looked for, and a moment ago.
    ServeBuffered([] {});
    mMachine.AdvanceUs(200000);
    EXPECT_EQ(WaitOfNextPass(), -1);
    mMachine.AdvanceUs(40000);
  }

  ~RefreshAfterHooksTest() override { delete mDoomed; }

  static int FindNothing(fd_set* reads, fd_set* writes) {
    FD_ZERO(reads);
    FD_ZERO(writes);
    return 0;
  }

  // A pass in which a record is served for what is in its buffer.
  void ServeBuffered(std::function<void()> hook) {
    IdleRecord& record = *mRecords[0];
    record.mOnRead = [&record, hook] {
      record.ClearData();
      hook();
    };
    record.Put("x");
    mSelect.mReplacement = FindNothing;
    mApp.RunPass();
    record.mOnRead = nullptr;
  }

  // How long the next pass would wait before it looks; -1: for ever.
  long WaitOfNextPass() {
    mSelect.mReplacement = FindNothing;
    mApp.RunPass();
    return mSelect.LastWaitMs();
  }

  HangGuard mGuard;
  FakeClock mClock;
  StillClockSpy mMachine;
  TestApplication mApp;
  std::vector<std::unique_ptr<TestPipe>> mPipes;
  std::vector<std::unique_ptr<IdleRecord>> mRecords;
  TestPipe mQuiet;
  TestRecord* mDoomed = new TestRecord(KZFdData::kTypeListener, mQuiet.ReadEnd(), 5, &mApp.mFdList);
  SelectSpy mSelect;
};

TEST_F(RefreshAfterHooksTest, APassThatCallsNothingDoesNot) {
  EXPECT_EQ(WaitOfNextPass(), -1);
  EXPECT_EQ(WaitOfNextPass(), -1);
}

TEST_F(RefreshAfterHooksTest, ARecordThatIsServedDoes) {
  ServeBuffered([] {});
  EXPECT_EQ(WaitOfNextPass(), 60);
  mMachine.AdvanceUs(59000);
  EXPECT_EQ(WaitOfNextPass(), 1);
  mMachine.AdvanceUs(1000);
  EXPECT_EQ(WaitOfNextPass(), -1);
}

TEST_F(RefreshAfterHooksTest, ATimerDoes) {
  mApp.SetApplicationSingleTimerInterval(1, 1);
  mClock.AdvanceMs(1);
  EXPECT_EQ(WaitOfNextPass(), 60);
  EXPECT_EQ(mApp.mFired.size(), 1u);
}

// But the wait is for what comes first.
TEST_F(RefreshAfterHooksTest, ATimerThatIsDueBeforeIsNotLate) {
  ServeBuffered([] {});
  mApp.SetApplicationSingleTimerInterval(59, 1);
  EXPECT_EQ(WaitOfNextPass(), 59);
  mApp.SetApplicationSingleTimerInterval(0, 1);
  mApp.SetApplicationSingleTimerInterval(61, 1);
  EXPECT_EQ(WaitOfNextPass(), 60);
}

TEST_F(RefreshAfterHooksTest, ACallAtTheBeginningOfAPassDoes) {
  dorn::NextPass::Request(*mRecords[1], [](KZFdData&) {});
  EXPECT_EQ(WaitOfNextPass(), 60);
}

TEST_F(RefreshAfterHooksTest, ACallAtTheEndOfAPassDoes) {
  dorn::AtEndOfPass([] {});
  EXPECT_EQ(WaitOfNextPass(), -1);
  EXPECT_EQ(WaitOfNextPass(), 60);
}

TEST_F(RefreshAfterHooksTest, ACallAtTheEndOfAPassWhoseSelectFailsDoes) {
  dorn::AtEndOfPass([] {});
  const SleepSpy sleeps;
  mSelect.mReplacement = [](fd_set*, fd_set*) {
    errno = EINTR;
    return -1;
  };
  mApp.RunPass();
  EXPECT_EQ(WaitOfNextPass(), 60);
}

TEST_F(RefreshAfterHooksTest, ARecordThatIsDestroyedDoes) {
  mApp.RemoveEventFd(mDoomed);
  mSelect.mReplacement = [this](fd_set* reads, fd_set* writes) {
    FindNothing(reads, writes);
    FD_SET(mApp.mFdList.front()->GetFD(), reads);
    return 1;
  };
  mApp.RunPass();
  EXPECT_EQ(mDoomed, nullptr);
  EXPECT_EQ(WaitOfNextPass(), 60);
}

// No descriptor is ready then.
TEST_F(RefreshAfterHooksTest, ARecordThatIsDestroyedForAHooksWishDoes) {
  ServeBuffered([this] { mApp.RemoveEventFd(mDoomed); });
  mMachine.AdvanceUs(60000);
  EXPECT_EQ(WaitOfNextPass(), 0);  // Looks, and does what was wished.
  EXPECT_EQ(mDoomed, nullptr);
  EXPECT_EQ(WaitOfNextPass(), 100);
}

}  // namespace
