#include "dorn/server/LoginGuard.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using dorn::FailureCounts;
using dorn::LoginGuard;

class LoginGuardTest : public testing::Test {
 protected:
  void Fail(int times, const std::string& id, unsigned int connection) {
    for (int i = 0; i < times; ++i) mGuard.CountWrong(id, connection);
  }

  LoginGuard mGuard;
};

TEST_F(LoginGuardTest, LetsFiveWrongPasswordsPass) {
  EXPECT_EQ(0U, mGuard.DelayMs("a", 1));
  Fail(4, "a", 1);
  EXPECT_EQ(0U, mGuard.DelayMs("a", 1));
  Fail(1, "a", 1);
  EXPECT_EQ(1000U, mGuard.DelayMs("a", 1));
}

TEST_F(LoginGuardTest, DoublesTheDelayUpToEightSeconds) {
  Fail(5, "a", 1);
  for (const unsigned long delayMs : {1000U, 2000U, 4000U, 8000U, 8000U, 8000U}) {
    EXPECT_EQ(delayMs, mGuard.DelayMs("a", 1));
    Fail(1, "a", 1);
  }
  Fail(100000, "a", 1);
  EXPECT_EQ(8000U, mGuard.DelayMs("a", 1));
}

TEST_F(LoginGuardTest, CountsForAnIdWhateverConnectionItComesFrom) {
  for (unsigned int connection = 1; connection <= 5; ++connection) Fail(1, "a", connection);
  EXPECT_EQ(1000U, mGuard.DelayMs("a", 99));
  EXPECT_EQ(0U, mGuard.DelayMs("b", 99));
}

TEST_F(LoginGuardTest, CountsForAConnectionWhateverIdItTries) {
  for (const char* id : {"a", "b", "c", "d", "e"}) Fail(1, id, 1);
  EXPECT_EQ(1000U, mGuard.DelayMs("f", 1));
  EXPECT_EQ(0U, mGuard.DelayMs("f", 2));
}

TEST_F(LoginGuardTest, StartsAnewWithTheRightPassword) {
  Fail(9, "a", 1);
  Fail(9, "b", 2);
  mGuard.CountRight("a", 1);
  EXPECT_EQ(0U, mGuard.DelayMs("a", 1));
  EXPECT_EQ(8000U, mGuard.DelayMs("b", 3));
}

TEST_F(LoginGuardTest, ForgetsAConnectionWithItsEnd) {
  Fail(9, "a", 1);
  mGuard.ForgetConnection(1);
  EXPECT_EQ(0U, mGuard.DelayMs("b", 1));
  EXPECT_EQ(8000U, mGuard.DelayMs("a", 1));
}

TEST_F(LoginGuardTest, TakesTheBeginningOfALongIdForAllOfIt) {
  const std::string common(256, 'x');
  Fail(5, common + "one", 1);
  EXPECT_EQ(1000U, mGuard.DelayMs(common + "two", 2));
  EXPECT_EQ(0U, mGuard.DelayMs(common.substr(1), 2));
}

TEST_F(LoginGuardTest, RemembersAThousandIdsAndConnectionsAndNoMore) {
  Fail(5, "first", 1);
  for (unsigned int i = 2; i <= 1024; ++i) Fail(1, "id" + std::to_string(i), i);
  EXPECT_EQ(1000U, mGuard.DelayMs("first", 9999));
  EXPECT_EQ(1000U, mGuard.DelayMs("other", 1));
  Fail(1, "one too many", 1025);
  EXPECT_EQ(0U, mGuard.DelayMs("first", 9999));
  EXPECT_EQ(0U, mGuard.DelayMs("other", 1));
}

TEST(FailureCountsTest, LetsTheNameGoWhoseLastFailureIsTheOldest) {
  FailureCounts counts;
  for (std::size_t i = 0; i < FailureCounts::kMost; ++i) counts.Count(std::to_string(i));
  counts.Count("0");
  counts.Count("new");
  EXPECT_EQ(FailureCounts::kMost, counts.Size());
  EXPECT_EQ(2, counts.Of("0"));
  EXPECT_EQ(0, counts.Of("1"));
  EXPECT_EQ(1, counts.Of("2"));
  EXPECT_EQ(1, counts.Of("new"));
}

// What was forgotten takes nobody's place.
TEST(FailureCountsTest, RemembersAsManyWhateverWasForgottenBetween) {
  FailureCounts counts;
  counts.Count("first");
  for (std::size_t i = 0; i < 3 * FailureCounts::kMost; ++i) {
    counts.Count("passing");
    counts.Forget("passing");
  }
  for (std::size_t i = 1; i < FailureCounts::kMost; ++i) counts.Count(std::to_string(i));
  EXPECT_EQ(1, counts.Of("first"));
  EXPECT_EQ(FailureCounts::kMost, counts.Size());
}

TEST(FailureCountsTest, ForgetsANameThatItDoesNotKnow) {
  FailureCounts counts;
  counts.Forget("a");
  counts.Count("a");
  counts.Forget("a");
  EXPECT_EQ(0U, counts.Size());
}

}  // namespace
