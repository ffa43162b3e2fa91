// Log-ins and sessions of a site.
#include <algorithm>

#include "tests/site/host/HostTest.h"

namespace {

using dorn::site::SessionData;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr char kHello[] = R"({"Command":"HELLO","Id":"u1","Pass":"p"})";

class SessionsTest : public HostTest {
 protected:
  static bool LogHolds(const MemoryLog& log, const std::string& text) {
    return std::any_of(log.entries.begin(), log.entries.end(), [&](const std::string& entry) {
      return entry.find(text) != std::string::npos;
    });
  }
};

TEST_F(SessionsTest, ALogInIsAnsweredWhenTheLogHasIt) {
  StartSite();
  Station station = Connect();
  mCarrier->SetCut(true);
  Tell(station, kHello);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1"));
  EXPECT_EQ(nullptr, Find("S-u1"));
  mCarrier->SetCut(false);
  Pass();
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1", "OnStart S-u1"));
  EXPECT_NE(nullptr, Find("S-u1"));
  EXPECT_EQ("data", SessionData("S-u1"));
  EXPECT_FALSE(SessionData("S-u2").has_value());
}

// Not at the next tick.
TEST_F(SessionsTest, ALogInGoesToTheLogAtOnce) {
  StartSite();
  Station station = Connect();
  Tell(station, kHello);
  EXPECT_TRUE(LogHolds(mLog, "data"));
}

TEST_F(SessionsTest, ALogInWaitsUntilTheHostServes) {
  StartSite(false);
  app.mStationSocket.SetFDStatus(KZFdData::kStatusActive);
  app.mStationSocket.AddEvent();
  Station station = Connect();
  Tell(station, kHello);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1"));
  Wait(10000);
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1", "OnStart S-u1"));
}

TEST_F(SessionsTest, TheLogHoldsNoSecret) {
  StartSite();
  Station station = Enter("u1");
  Tell(station, R"({"Command":"CONDITION","SessionId":"S-u1","Pass":"geheim","Objects":[]})");
  Wait(200);
  EXPECT_FALSE(LogHolds(mLog, "S-u1"));
  EXPECT_FALSE(LogHolds(mLog, "geheim"));
  EXPECT_TRUE(LogHolds(mLog, "data"));
}

TEST_F(SessionsTest, TooMuchDataIsRefused) {
  StartSite();
  app.sessionData = std::string(4096, 'x');
  Station one = Enter("u1");
  app.sessionData = std::string(4097, 'x');
  Station two = Connect();
  Tell(two, R"({"Command":"HELLO","Id":"u2","Pass":"p"})");
  EXPECT_THAT(Calls(), Contains("no session"));
  EXPECT_THAT(Take(two), ElementsAre(HasSubstr("Authentication")));
}

TEST_F(SessionsTest, ASecondStationComesWithTheIdentifier) {
  StartSite();
  Station one = Enter("u1");
  Station two = Connect();
  Tell(two, R"({"Command":"CHANGE","SessionId":"S-u1","DialogName":"panel"})");
  EXPECT_THAT(Take(two), ElementsAre(HasSubstr("UPDATE")));
}

TEST_F(SessionsTest, AnUnknownIdentifierIsTurnedAway) {
  StartSite();
  Station station = Connect();
  Tell(station, R"({"Command":"HELLO","SessionId":"S-nobody"})");
  EXPECT_THAT(Take(station), Contains(HasSubstr("InvalidSessionId")));
  EXPECT_TRUE(station.peer.IsClosed());
}

// Another host has made it; this one has it from the log.
TEST_F(SessionsTest, ASessionOfAnotherHostIsKnownHere) {
  StartSite();
  Station one = Enter("u1");
  one.peer.Close();
  Pass();
  mSite.reset();
  app.SessionList()->Remove("S-u1");
  app.DialogList()->Remove("panel");
  StartSite();
  EXPECT_EQ("data", SessionData("S-u1"));
  Station again = Connect();
  Tell(again, R"({"Command":"CHANGE","SessionId":"S-u1","DialogName":"panel"})");
  EXPECT_THAT(Take(again), ElementsAre(HasSubstr("UPDATE")));
  std::string told;
  TheDialog().apply = [&told](Panel&, const Panel::Change& change) { told = change.sessionData; };
  Set(again, "a", "2");
  EXPECT_EQ("data", told);
}

TEST_F(SessionsTest, EndsWithTheSitesClockAndClosesItsStations) {
  StartSite();
  app.sessionMs = 8000;
  Station station = Enter("u1");
  app.sessionMs = 60000;
  Wait(7000);
  EXPECT_NE(nullptr, Find("S-u1"));
  EXPECT_TRUE(app.SessionList()->Has("S-u1"));
  Wait(6000);
  EXPECT_EQ(nullptr, Find("S-u1"));
  EXPECT_FALSE(app.SessionList()->Has("S-u1"));
  EXPECT_TRUE(RunUntil([&station] { return station.peer.IsClosed(); }));
}

TEST_F(SessionsTest, GoesOnWhileItIsUsed) {
  StartSite();
  app.sessionMs = 8000;
  Station station = Enter("u1");
  app.sessionMs = 60000;
  for (int i = 0; i < 10; ++i) {
    Wait(3000);
    Tell(station, R"({"Command":"KEEPALIVE"})");
  }
  EXPECT_NE(nullptr, Find("S-u1"));
}

TEST_F(SessionsTest, WithoutTheLogNoneEnds) {
  StartSite();
  app.sessionMs = 8000;
  Station station = Enter("u1");
  app.sessionMs = 60000;
  mCarrier->SetCut(true);
  Wait(60000);
  EXPECT_NE(nullptr, Find("S-u1"));
}

TEST_F(SessionsTest, AStationThatComesBeforeTheStateIsKnownIsNotTurnedAway) {
  StartSite(false);
  app.mStationSocket.SetFDStatus(KZFdData::kStatusActive);
  app.mStationSocket.AddEvent();
  Station station = Connect();
  Tell(station, R"({"Command":"HELLO","SessionId":"S-u1"})");
  EXPECT_TRUE(RunUntil([&station] { return station.peer.IsClosed(); }));
  EXPECT_THAT(Take(station), Not(Contains(HasSubstr("InvalidSessionId"))));
}

}  // namespace
