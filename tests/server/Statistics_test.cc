// What the application tells about itself.
#include "dorn/server/Statistics.h"

#include <unistd.h>

#include <sstream>

#include "tests/server/ServerTest.h"

namespace {

using testing::HasSubstr;

class StatisticsTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    mBefore = app.Statistics();
  }

  using Counter = std::uint64_t dorn::Statistics::*;

  // What was counted since the test began.
  std::uint64_t Since(Counter counter) { return app.Statistics().*counter - mBefore.*counter; }

  dorn::Statistics mBefore;
};

// Each number in its own place.
TEST(StatisticsTextTest, NamesEveryNumberOnce) {
  dorn::Statistics all;
  std::uint64_t next = 1;
  for (std::uint64_t dorn::Statistics::*number :
       {&dorn::Statistics::stations,         &dorn::Statistics::loggedIn,
        &dorn::Statistics::sessions,         &dorn::Statistics::dialogs,
        &dorn::Statistics::timers,           &dorn::Statistics::queuedBytes,
        &dorn::Statistics::messagesIn,       &dorn::Statistics::bytesIn,
        &dorn::Statistics::messagesOut,      &dorn::Statistics::bytesOut,
        &dorn::Statistics::unreadable,       &dorn::Statistics::accepted,
        &dorn::Statistics::refused,          &dorn::Statistics::closedByStation,
        &dorn::Statistics::closedNoLogin,    &dorn::Statistics::closedNoAnswer,
        &dorn::Statistics::closedNotReading, &dorn::Statistics::closedTooLong,
        &dorn::Statistics::closedBadSession, &dorn::Statistics::closedSessionEnded,
        &dorn::Statistics::closedForAnother, &dorn::Statistics::closedByHost,
        &dorn::Statistics::passes,           &dorn::Statistics::longestPassUs}) {
    all.*number = next++;
  }
  std::istringstream text(all.Text());
  std::string samples;
  int heads = 0;
  for (std::string line; std::getline(text, line);) {
    if (line[0] == '#') {
      ++heads;
    } else {
      samples += line + '\n';
    }
  }
  EXPECT_EQ(2 * 16, heads);
  EXPECT_EQ(
      "dorn_stations 1\n"
      "dorn_stations_logged_in 2\n"
      "dorn_sessions 3\n"
      "dorn_dialogs 4\n"
      "dorn_timers 5\n"
      "dorn_queued_bytes 6\n"
      "dorn_messages_in_total 7\n"
      "dorn_bytes_in_total 8\n"
      "dorn_messages_out_total 9\n"
      "dorn_bytes_out_total 10\n"
      "dorn_unreadable_total 11\n"
      "dorn_accepted_total 12\n"
      "dorn_refused_total 13\n"
      "dorn_closed_total{reason=\"station\"} 14\n"
      "dorn_closed_total{reason=\"no_login\"} 15\n"
      "dorn_closed_total{reason=\"no_answer\"} 16\n"
      "dorn_closed_total{reason=\"not_reading\"} 17\n"
      "dorn_closed_total{reason=\"too_long\"} 18\n"
      "dorn_closed_total{reason=\"bad_session\"} 19\n"
      "dorn_closed_total{reason=\"session_ended\"} 20\n"
      "dorn_closed_total{reason=\"slot_needed\"} 21\n"
      "dorn_closed_total{reason=\"host\"} 22\n"
      "dorn_passes_total 23\n"
      "dorn_longest_pass_microseconds 24\n",
      samples);
}

TEST_F(StatisticsTest, CountsWhatThereIs) {
  Shared("top", kTree);
  Link one = LoggedIn("S1", "top");
  Link two = Connect();
  app.SetApplicationSingleTimerInterval(1000, 77);
  const dorn::Statistics all = app.Statistics();
  EXPECT_EQ(2U, all.stations);
  EXPECT_EQ(1U, all.loggedIn);
  EXPECT_EQ(app.SessionList()->mSessionList.size(), all.sessions);
  EXPECT_EQ(1U, all.dialogs);
  EXPECT_EQ(app.mTimerList.size(), all.timers);
  EXPECT_GE(all.timers, 1U);
  EXPECT_EQ(0U, all.queuedBytes);
}

TEST_F(StatisticsTest, CountsMessagesAndTheirBytes) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"X"})");
  Tell(link, "no command");
  EXPECT_EQ(2U, Since(&dorn::Statistics::messagesIn));
  EXPECT_EQ(17U + 12U, Since(&dorn::Statistics::bytesIn));
  EXPECT_EQ(1U, Since(&dorn::Statistics::unreadable));
  Find(link)->SendData("hello");
  EXPECT_EQ(1U, Since(&dorn::Statistics::messagesOut));
  EXPECT_EQ(7U, Since(&dorn::Statistics::bytesOut));
}

TEST_F(StatisticsTest, CountsBytesThatWait) {
  Link link = LoggedIn("S1");
  Find(link)->SendData(KZString(std::string(3000000, 'x')));
  EXPECT_GT(app.Statistics().queuedBytes, 1000000U);
}

TEST_F(StatisticsTest, CountsConnectionsThatCome) {
  Link one = Connect();
  Link two = Connect();
  EXPECT_EQ(2U, Since(&dorn::Statistics::accepted));
}

TEST_F(StatisticsTest, SaysWhyConnectionsWereClosed) {
  const auto expectOne = [this](Counter counter, int line) {
    for (const Counter each :
         {&dorn::Statistics::closedByStation, &dorn::Statistics::closedNoLogin,
          &dorn::Statistics::closedNoAnswer, &dorn::Statistics::closedNotReading,
          &dorn::Statistics::closedTooLong, &dorn::Statistics::closedBadSession,
          &dorn::Statistics::closedSessionEnded, &dorn::Statistics::closedForAnother,
          &dorn::Statistics::closedByHost}) {
      EXPECT_EQ(each == counter ? 1U : 0U, Since(each)) << line;
    }
    mBefore = app.Statistics();
  };
  Link left = Connect();
  left.station.Close();
  Pass(2);
  expectOne(&dorn::Statistics::closedByStation, __LINE__);

  Link late = Connect();
  Wait(10000);
  expectOne(&dorn::Statistics::closedNoLogin, __LINE__);

  Link silent = LoggedIn("S1");
  Tell(silent, R"({"Command":"X"})");
  Wait(180000);
  Wait(10000);
  expectOne(&dorn::Statistics::closedNoAnswer, __LINE__);

  Link deaf = LoggedIn("S1");
  while (VQClientSocket* client = Find(deaf)) client->SendData(KZString(std::string(1000000, 'x')));
  expectOne(&dorn::Statistics::closedNotReading, __LINE__);

  Link wordy = Connect();
  Feed(wordy, "\x02" + std::string(0x80000, ' '));
  EXPECT_TRUE(RunUntil([&wordy] { return Find(wordy) == nullptr; }));
  expectOne(&dorn::Statistics::closedTooLong, __LINE__);

  Link stranger = Connect();
  Tell(stranger, R"({"Command":"X","SessionId":"none"})");
  expectOne(&dorn::Statistics::closedBadSession, __LINE__);

  app.CreateSession("S2", 1000);
  Link expired = LoggedIn("S2");
  Wait(1000);
  expectOne(&dorn::Statistics::closedSessionEnded, __LINE__);

  Link unwanted = Connect();
  Find(unwanted)->Close();
  expectOne(&dorn::Statistics::closedByHost, __LINE__);
}

TEST_F(StatisticsTest, AHookThatClosesOnWhatWasReceivedIsTheHost) {
  Shared("top", kTree);
  Dialog("top")->condition = [](HookedDialog&, VQClientSocket* client, VQJsonCommand*) {
    client->Close();
  };
  Link link = LoggedIn("S1", "top");
  Tell(link, R"({"Command":"CONDITION"})");
  EXPECT_EQ(1U, Since(&dorn::Statistics::closedByHost));
  EXPECT_EQ(0U, Since(&dorn::Statistics::closedByStation));
}

TEST_F(StatisticsTest, CountsAndTimesPasses) {
  Pass(10);
  EXPECT_EQ(10U, Since(&dorn::Statistics::passes));
  app.timer = [](unsigned int) { usleep(20000); };
  app.SetApplicationSingleTimerInterval(1, 77);
  Wait(5);
  EXPECT_GE(app.Statistics().longestPassUs, 20000U);
}

// The wait for something to happen is not work.
TEST_F(StatisticsTest, DoesNotCountTheWaitOfAPass) {
  const std::uint64_t before = app.Statistics().longestPassUs;
  app.SetApplicationSingleTimerInterval(200, 77);
  // The first pass finds the wake-up byte; the clock stands still, so that each later one waits.
  bool hasWaited = false;
  for (int i = 0; i < 10 && !hasWaited; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    app.RunPass();
    hasWaited = std::chrono::steady_clock::now() - begin >= std::chrono::milliseconds(150);
  }
  ASSERT_TRUE(hasWaited);
  EXPECT_LT(app.Statistics().longestPassUs, std::max<std::uint64_t>(before + 1, 100000));
}

TEST_F(StatisticsTest, IsWrittenForPrometheus) {
  dorn::Statistics all;
  all.stations = 3;
  all.closedNoLogin = 4;
  const std::string text = all.Text();
  EXPECT_THAT(text, HasSubstr("# HELP dorn_stations Connections, logged in or not.\n"
                              "# TYPE dorn_stations gauge\ndorn_stations 3\n"));
  EXPECT_THAT(text, HasSubstr("# TYPE dorn_closed_total counter\n"));
  EXPECT_THAT(text, HasSubstr("\ndorn_closed_total{reason=\"no_login\"} 4\n"));
  EXPECT_EQ('\n', text.back());
  for (const char* name :
       {"stations", "stations_logged_in", "sessions", "dialogs", "timers", "queued_bytes",
        "messages_in_total", "bytes_in_total", "messages_out_total", "bytes_out_total",
        "unreadable_total", "accepted_total", "refused_total", "passes_total",
        "longest_pass_microseconds"}) {
    EXPECT_THAT(text, HasSubstr(std::string("\ndorn_") + name + " ")) << name;
  }
}

}  // namespace
