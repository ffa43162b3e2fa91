#include "dorn/server/CommandCount.h"

#include "tests/server/ServerTest.h"

namespace {

using CommandCountTest = ServerTest;

TEST_F(CommandCountTest, CountsWhatKeepsASessionAlive) {
  Link link = Connect();
  Tell(link, R"({"Command":"KEEPALIVE"})");
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"p"})");
  EXPECT_EQ(0U, dorn::CommandCount(*Find(link))) << "nobody was logged in";
  Tell(link, R"({"Command":"KEEPALIVE"})");
  Tell(link, R"({"Commands":[{"Command":"CONDITION"},{"Command":"ANY"}]})");
  EXPECT_EQ(3U, dorn::CommandCount(*Find(link)));
  Tell(link, R"({"Command":"CHANGE","DialogName":"none"})");
  EXPECT_EQ(3U, dorn::CommandCount(*Find(link)));
}

TEST_F(CommandCountTest, CountsForSessionsThatNeverEnd) {
  Link link = LoggedIn("S1");
  Link other = LoggedIn("S2");
  Tell(link, R"({"Command":"KEEPALIVE"})");
  EXPECT_EQ(1U, dorn::CommandCount(*Find(link)));
  EXPECT_EQ(0U, dorn::CommandCount(*Find(other)));
}

}  // namespace
