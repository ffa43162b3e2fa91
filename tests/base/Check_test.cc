// The always-on assertion, in every build type.
#include "dorn/base/Check.h"

#include <signal.h>
#include <unistd.h>

#include <cstdio>

#include "dorn/base/KZString.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "tests/support/CapturedStdout.h"

namespace {

void FailingFunction() { DORN_CHECK(1 + 1 == 3); }

template <typename T>
bool is() {
  return false;
}

TEST(CheckTest, EvaluatesATrueExpressionOnceAndPrintsNothing) {
  int evaluated = 0;
  CapturedStdout captured;
  DORN_CHECK(++evaluated == 1);
  EXPECT_EQ(captured.Text(), "");
  EXPECT_EQ(evaluated, 1);
}

TEST(CheckTest, IsOneStatement) {
  const bool branch = KZString("a") == "a";
  if (branch)
    DORN_CHECK(true);
  else
    DORN_CHECK(false);
  SUCCEED();
}

TEST(CheckDeathTest, WordsTheFailureAsAssertDoes) {
  EXPECT_EXIT(FailingFunction(), testing::KilledBySignal(SIGABRT),
              testing::MatchesRegex(
                  "[^:]+: [^:]*Check_test\\.cc:[0-9]+: .*FailingFunction.*: Assertion `1 \\+ 1 == "
                  "3' failed\\.\n"));
}

TEST(CheckDeathTest, QuotesExpressionsWithAnglesAndPercentSigns) {
  EXPECT_EXIT(DORN_CHECK(is<int>()), testing::KilledBySignal(SIGABRT),
              testing::HasSubstr(": Assertion `is<int>()' failed.\n"));
  int seven = 7;
  EXPECT_EXIT(DORN_CHECK(seven % 7), testing::KilledBySignal(SIGABRT),
              testing::HasSubstr(": Assertion `seven % 7' failed.\n"));
  EXPECT_EXIT(DORN_CHECK(0), testing::KilledBySignal(SIGABRT),
              testing::HasSubstr(": Assertion `0' failed.\n"));
}

TEST(CheckDeathTest, FlushesStandardOutputFirst) {
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        std::setvbuf(stdout, nullptr, _IOFBF, 4096);
        std::printf("printed before");
        FailingFunction();
      },
      testing::KilledBySignal(SIGABRT),
      testing::MatchesRegex("printed before[^\n]*Assertion `[^\n]*\n"));
}

}  // namespace
