#include "tools/dorn-gateway/LoginDelay.h"

#include <gtest/gtest.h>

namespace {

using dorn::gateway::LoginDelay;
using dorn::gateway::Ms;

class LoginDelayTest : public testing::Test {
 protected:
  void Fail(int times, const std::string& address = "a") {
    for (int i = 0; i < times; ++i) mDelay.CountFailure(address, mNow);
  }
  std::optional<Ms> Begin(const std::string& address = "a") { return mDelay.Begin(address, mNow); }

  LoginDelay mDelay{Ms(1000), Ms(60000)};
  Ms mNow{5'000'000};
};

TEST_F(LoginDelayTest, FiveFailuresAreFree) {
  Fail(4);
  EXPECT_EQ(Begin(), Ms(0));
  Fail(1);
  EXPECT_EQ(Begin(), Ms(1000));
}

TEST_F(LoginDelayTest, DoublesUpToEightTimes) {
  Fail(5);
  for (const int expected : {1000, 2000, 4000, 8000, 8000, 8000}) {
    EXPECT_EQ(Begin(), Ms(expected));
    mNow += Ms(expected);
    Fail(1);
  }
}

TEST_F(LoginDelayTest, TakesAttemptsOfOneAddressOneAfterTheOther) {
  Fail(5);
  EXPECT_EQ(Begin(), Ms(1000));
  EXPECT_EQ(Begin(), Ms(2000));
  EXPECT_EQ(Begin(), Ms(3000));
  mNow += Ms(500);
  EXPECT_EQ(Begin(), Ms(3500));
}

TEST_F(LoginDelayTest, RefusesWhatWouldWaitTooLong) {
  Fail(5);
  for (int i = 0; i < 60; ++i) EXPECT_TRUE(Begin()) << i;
  EXPECT_FALSE(Begin());
  EXPECT_FALSE(Begin());
  mNow += Ms(1000);
  EXPECT_EQ(Begin(), Ms(60000));
}

TEST_F(LoginDelayTest, CountsEachAddressForItself) {
  Fail(7);
  EXPECT_EQ(Begin("b"), Ms(0));
}

TEST_F(LoginDelayTest, AGoodLogInForgetsTheFailures) {
  Fail(7);
  mDelay.CountSuccess("a");
  EXPECT_EQ(Begin(), Ms(0));
  Fail(4);
  EXPECT_EQ(Begin(), Ms(0));
}

// All would be free, if only the answers counted.
TEST_F(LoginDelayTest, LetsNoMoreAttemptsBeMadeAtOnceThanMayFail) {
  Fail(2);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(mDelay.Enter("a", mNow)) << i;
  EXPECT_FALSE(mDelay.Enter("a", mNow));
  EXPECT_TRUE(mDelay.Enter("b", mNow));
  Fail(1);
  mDelay.Leave("a");
  EXPECT_FALSE(mDelay.Enter("a", mNow)) << "a failure has taken its place";
  mDelay.Leave("a");
  EXPECT_TRUE(mDelay.Enter("a", mNow)) << "it was given up";
  Fail(2);
  EXPECT_TRUE(mDelay.Enter("a", mNow)) << "from now on they are delayed";
  EXPECT_EQ(Begin(), Ms(1000));
}

TEST_F(LoginDelayTest, AGoodLogInMakesRoomForOthers) {
  Fail(4);
  EXPECT_TRUE(mDelay.Enter("a", mNow));
  EXPECT_FALSE(mDelay.Enter("a", mNow));
  mDelay.CountSuccess("a");
  mDelay.Leave("a");
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(mDelay.Enter("a", mNow)) << i;
  EXPECT_FALSE(mDelay.Enter("a", mNow));
}

TEST_F(LoginDelayTest, FailuresAreForgottenInTime) {
  Fail(7);
  mNow += LoginDelay::kForgottenAfter;
  EXPECT_EQ(Begin(), Ms(4000));
  mNow += Ms(1);
  EXPECT_EQ(Begin(), Ms(0));
}

TEST_F(LoginDelayTest, RemembersWhatIsUnderWayBesideTooManyAddresses) {
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(mDelay.Enter("busy", mNow));
  for (std::size_t i = 0; i < LoginDelay::kMaxAddresses; ++i) Fail(1, std::to_string(i));
  EXPECT_FALSE(mDelay.Enter("busy", mNow));
}

TEST_F(LoginDelayTest, ForgetsTheOldestOfTooManyAddresses) {
  Fail(5, "first");
  mNow += Ms(1);
  Fail(5, "second");
  mNow += Ms(1);
  for (std::size_t i = 2; i < LoginDelay::kMaxAddresses; ++i) Fail(1, std::to_string(i));
  EXPECT_EQ(Begin("first"), Ms(1000));
  Fail(1, "one more");
  EXPECT_EQ(Begin("first"), Ms(0));
  EXPECT_EQ(Begin("second"), Ms(1000));
}

}  // namespace
