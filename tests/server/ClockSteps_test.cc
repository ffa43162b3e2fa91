// The clock is set by years while stations are connected, as on a device that boots without one.
#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr long long kDayMs = 24LL * 3600 * 1000;
constexpr long long kYearMs = 365 * kDayMs;

// One where the steps of periodic timers wrap to nothing, a few of days, and decades.
constexpr long long kSteps[] = {kDayMs, 50 * kDayMs, 4294967296LL, kYearMs, 28 * kYearMs};

class ClockStepsTest : public ServerTest {
 protected:
  void ExpectServed(Link& link) {
    Tell(link, R"({"Command":"GETFILE","File":"none"})");
    EXPECT_THAT(link.station.Messages(), ElementsAre(HasSubstr("FILE NOT FOUND")));
  }

  void ExpectANewStationGetsIn() {
    Link link = Connect();
    Tell(link, R"({"Command":"HELLO","Id":"u7","Pass":"p"})");
    EXPECT_THAT(link.station.Messages(), ElementsAre(HasSubstr("\"SessionId\":\"S-u7\"")));
    app.SessionList()->Remove("S-u7");
    VQClientSocket* client = Find(link);
    ASSERT_NE(nullptr, client);
    client->Close();
    Pass();
  }
};

TEST_F(ClockStepsTest, AfterAStepForwardTheStationsAreAskedAndServed) {
  Link link = LoggedIn("forever");
  for (const long long step : kSteps) {
    SCOPED_TRACE(step);
    ExpectServed(link);
    Wait(step);
    EXPECT_THAT(link.station.Messages(), ElementsAre(R"({"Command":"KEEPALIVE"})"));
    Tell(link, R"({"Command":"KEEPALIVE"})");
    ExpectServed(link);
    ExpectANewStationGetsIn();
  }
}

TEST_F(ClockStepsTest, AfterAStepForwardPeriodicTimersGoOn) {
  Offer("a", "unused");
  app.CreateDialog("a");
  for (const long long step : kSteps) {
    SCOPED_TRACE(step);
    for (const int period : {50, 1000, 1024, 65536}) {
      app.ResetTimer();
      app.SetTimerData(static_cast<unsigned long>(period), 7, "a", 1);
      Wait(step);
      // However long it takes to catch up, each pass ends, and from then on the timer is periodic.
      const auto next = DueIn(7);
      ASSERT_EQ(1U, next.size()) << period;
      EXPECT_LE(next.front(), period);
      Calls().clear();
      Wait(next.front() > 0 ? next.front() : 0);
      EXPECT_THAT(Calls(), testing::Contains("OnTimer a 7")) << period;
    }
  }
  app.ResetTimer();
}

TEST_F(ClockStepsTest, AStepForwardEndsTheSessionsWithALimitAndOnlyThose) {
  Link forever = LoggedIn("forever");
  Link limited = Connect();
  Tell(limited, R"({"Command":"HELLO","Id":"u1","Pass":"p"})");
  limited.station.Messages();
  Wait(28 * kYearMs);
  Pass(2);
  EXPECT_EQ(nullptr, Find(limited));
  EXPECT_TRUE(limited.station.IsClosed());
  EXPECT_FALSE(app.SessionList()->Has("S-u1"));
  ExpectServed(forever);
  ExpectANewStationGetsIn();
}

TEST_F(ClockStepsTest, AfterAStepBackEverythingThatIsSetFromThenOnCounts) {
  Link link = LoggedIn("forever");
  for (const long long step : kSteps) {
    SCOPED_TRACE(step);
    Wait(-step);
    ExpectServed(link);
    ExpectANewStationGetsIn();
    Link silent = Connect();
    Wait(10000);
    EXPECT_EQ(nullptr, Find(silent)) << "the connection time-out";
  }
  EXPECT_THAT(link.station.Messages(), IsEmpty());
}

}  // namespace
