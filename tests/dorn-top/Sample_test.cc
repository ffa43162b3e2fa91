#include "tools/dorn-top/Sample.h"

#include <gmock/gmock.h>

#include <string>

namespace dorn::top {

namespace {

using ::testing::ElementsAre;
using ::testing::Optional;
using ::testing::Pair;

TEST(SampleTest, ReadsNumbersAndReasons) {
  const auto sample = ReadSample(
      "# HELP dorn_stations Connections.\n"
      "# TYPE dorn_stations gauge\n"
      "dorn_stations 12\n"
      "dorn_closed_total{reason=\"station\"} 7\n"
      "dorn_closed_total{reason=\"no_login\"} 0\n"
      "dorn_queued_bytes 18446744073709551615\n");
  ASSERT_TRUE(sample);
  EXPECT_THAT(sample->Number("stations"), Optional(12));
  EXPECT_THAT(sample->Number("queued_bytes"), Optional(18446744073709551615.0));
  EXPECT_THAT(sample->mClosed, ElementsAre(Pair("no_login", 0), Pair("station", 7)));
  EXPECT_FALSE(sample->Number("sessions"));
  EXPECT_FALSE(sample->Number("closed_total"));
}

TEST(SampleTest, PassesOverWhatItDoesNotKnow) {
  const auto sample = ReadSample(
      "process_cpu_seconds_total -0.5 1700000000000\n"
      "another{a=\"b\"} NaN\n"
      "process_threads 7\n"
      "\n"
      "\x01\xff{{{\n"
      "dorn_new{shard=\"1\"} 5\n"
      "dorn_later 3\n"
      "dorn_stations 1\n");
  ASSERT_TRUE(sample);
  EXPECT_THAT(sample->mNumbers, ElementsAre(Pair("later", 3), Pair("stations", 1)));
  EXPECT_TRUE(sample->mClosed.empty());
}

TEST(SampleTest, LeavesOutWhatIsNoCount) {
  for (const std::string line :
       {"dorn_x", "dorn_x ", "dorn_x nan", "dorn_x inf", "dorn_x -1", "dorn_x 1e300", "dorn_x 1 2",
        "dorn_x 5x", "dorn_x{ 5", "dorn_x} 5", "dorn_x{}5", "dorn_ 5", "dorn_x  5", "Dorn_x 5",
        "dorn_closed_total 5", "dorn_closed_total{} 5", "dorn_closed_total{reason=\"\"} 5",
        "dorn_closed_total{reason=\"\x1b[2J\"} 5", "dorn_closed_total{reason=\"a b\"} 5"}) {
    const auto sample = ReadSample(line + "\ndorn_stations 1\n");
    ASSERT_TRUE(sample) << line;
    EXPECT_THAT(sample->mNumbers, ElementsAre(Pair("stations", 1))) << line;
    EXPECT_TRUE(sample->mClosed.empty()) << line;
  }
}

TEST(SampleTest, IsNoneWithoutAWordOfStationsOrCut) {
  for (const char* text : {"", "\n", "hello\n", "dorn_timers 1\n", "dorn_stations nan\n",
                           "dorn_stations 1", "dorn_stations 1\ndorn_sess"}) {
    EXPECT_FALSE(ReadSample(text)) << text;
  }
}

}  // namespace

}  // namespace dorn::top
