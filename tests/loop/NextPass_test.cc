// Calls that wait for the start of a loop's next pass.
#include "dorn/loop/NextPass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/TestApplication.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Notes its id when it is called, and then does what the test wants.
class CalledRecord : public KZFdData {
 public:
  CalledRecord(int id, KZFdDataList* list, std::vector<int>* called)
      : KZFdData(kTypeClient, -1, id, list), mCalled(called) {}

  void Request() {
    dorn::NextPass::Request(*this, [](KZFdData& record) {
      auto& called = static_cast<CalledRecord&>(record);
      called.mCalled->push_back(called.GetId());
      const std::function<void()> hook = called.mHook;
      if (hook) hook();
    });
  }

  std::vector<int>* const mCalled;
  std::function<void()> mHook;
};

class NextPassTest : public ::testing::Test {
 protected:
  std::unique_ptr<CalledRecord> Make(int id) {
    return std::make_unique<CalledRecord>(id, &mList, &mCalled);
  }
  bool Run() { return dorn::NextPass::Run(mList); }
  std::vector<int> TakeCalled() { return std::exchange(mCalled, {}); }

  TestList mList;
  TestList mOtherList;
  std::vector<int> mCalled;
  std::unique_ptr<CalledRecord> mFirst = Make(1);
  std::unique_ptr<CalledRecord> mSecond = Make(2);
  std::unique_ptr<CalledRecord> mThird = Make(3);
};

TEST_F(NextPassTest, WhatWasAskedForIsCalledOnceInItsOrder) {
  mSecond->Request();
  mFirst->Request();
  mThird->Request();
  EXPECT_THAT(TakeCalled(), IsEmpty());
  EXPECT_TRUE(Run());
  EXPECT_THAT(TakeCalled(), ElementsAre(2, 1, 3));
  EXPECT_FALSE(Run());
  EXPECT_THAT(TakeCalled(), IsEmpty());
}

TEST_F(NextPassTest, ARecordThatIsAskedForTwiceIsCalledOnceAtItsLastPlace) {
  mFirst->Request();
  mSecond->Request();
  mFirst->Request();
  EXPECT_TRUE(Run());
  EXPECT_THAT(TakeCalled(), ElementsAre(2, 1));
}

TEST_F(NextPassTest, RecordsOfAnotherListWaitForIt) {
  CalledRecord other(4, &mOtherList, &mCalled);
  other.Request();
  EXPECT_FALSE(Run());
  mFirst->Request();
  EXPECT_TRUE(Run());
  EXPECT_THAT(TakeCalled(), ElementsAre(1));
  EXPECT_TRUE(dorn::NextPass::Run(mOtherList));
  EXPECT_THAT(TakeCalled(), ElementsAre(4));
}

TEST_F(NextPassTest, WhatACallAsksForWaitsForTheNextTime) {
  mFirst->mHook = [this] {
    mFirst->Request();
    mSecond->Request();  // Was asked for already, and is put off.
  };
  mFirst->Request();
  mSecond->Request();
  mThird->Request();
  EXPECT_TRUE(Run());
  EXPECT_THAT(TakeCalled(), ElementsAre(1, 3));
  mFirst->mHook = nullptr;
  EXPECT_TRUE(Run());
  EXPECT_THAT(TakeCalled(), ElementsAre(1, 2));
  EXPECT_FALSE(Run());
}

TEST_F(NextPassTest, NothingIsCalledForARecordThatIsForgottenOrDestroyed) {
  mFirst->Request();
  mSecond->Request();
  mThird->Request();
  dorn::NextPass::Forget(mFirst.get());
  mThird.reset();
  EXPECT_TRUE(Run());
  EXPECT_THAT(TakeCalled(), ElementsAre(2));
}

TEST_F(NextPassTest, ACallMayDestroyAnyRecordThatWaitsAndItsOwn) {
  mFirst->mHook = [this] {
    mSecond.reset();
    mFirst.reset();
  };
  mFirst->Request();
  mSecond->Request();
  mThird->Request();
  EXPECT_TRUE(Run());
  EXPECT_THAT(TakeCalled(), ElementsAre(1, 3));
}

// For a moment there is nothing at all.
TEST_F(NextPassTest, WithoutARequestNothingIsCalled) {
  EXPECT_FALSE(Run());
  mFirst->Request();
  dorn::NextPass::Forget(mFirst.get());
  EXPECT_FALSE(Run());
  EXPECT_THAT(TakeCalled(), IsEmpty());
}

TEST_F(NextPassTest, EachThreadHasItsOwn) {
  mFirst->Request();
  std::thread([this] {
    EXPECT_FALSE(Run());
    dorn::NextPass::Forget(mFirst.get());
  }).join();
  EXPECT_THAT(TakeCalled(), IsEmpty());
  EXPECT_TRUE(Run());
  EXPECT_THAT(TakeCalled(), ElementsAre(1));
}

}  // namespace
