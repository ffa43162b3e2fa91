#include "tools/dorn-load/Report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dorn::load {
namespace {

using testing::HasSubstr;

// What it prints of a trial at ten actions a second.
std::string Measured(const Trial& trial) {
  Options options;
  Report report(options);
  testing::internal::CaptureStdout();
  report.Measured(trial);
  return testing::internal::GetCapturedStdout();
}

Trial SlowTrial() {
  Trial trial;
  trial.mRate = 10;
  trial.mTook = 2 * kSecond;
  trial.mCounted = 5 * kSecond;
  trial.mFigures.mActions = 14;
  trial.mFigures.mTraffic.mMessagesIn = 30;
  trial.mFigures.mTraffic.mBytesIn = 20'000;
  return trial;
}

TEST(ReportTest, TellsTheRateThatWasReachedBesideTheOneAskedFor) {
  EXPECT_THAT(Measured(SlowTrial()),
              HasSubstr("14 actions in 2.0 s, 7.0 a second, of 10.0 asked for\n"));
}

// It goes on while the last answers are awaited.
TEST(ReportTest, DividesTrafficByTheTimeThatItWasCountedOver) {
  EXPECT_THAT(Measured(SlowTrial()), HasSubstr(" 30 messages, 6 a second, 4.0 KB a second\n"));
}

TEST(ReportTest, BearsATrialWithoutTime) {
  EXPECT_THAT(Measured(Trial()), HasSubstr("0 actions in 0.0 s, 0.0 a second"));
}

}  // namespace
}  // namespace dorn::load
