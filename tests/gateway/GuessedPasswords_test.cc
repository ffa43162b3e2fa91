// Wrong passwords, as pages see them being slowed down.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"

namespace {

using dorn::gateway::Ms;
using testing::HasSubstr;

constexpr Ms kDelay{80};

class GuessedPasswordsTest : public testing::Test {
 protected:
  GuessedPasswordsTest() : mGateway(Options(mHost.Port())) {}

  static dorn::gateway::Options Options(int hostPort) {
    dorn::gateway::Options options = RunningGateway::OptionsFor(hostPort);
    options.mTimes.mLogInDelay = kDelay;
    options.mTimes.mLogInQueue = kDelay * 4;
    options.mTrustedProxies = {"127.0.0.1"};
    return options;
  }
  void Open(WebSocketPeer& page, const std::string& from = "10.1.2.3") {
    ASSERT_TRUE(page.Open(mGateway.Port(), WebSocketRequest("X-Forwarded-For: " + from + "\r\n")));
  }
  // How long the answer to a log-in takes.
  static Ms Timed(WebSocketPeer& page, const std::string& password) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(page.LogIn(password), HasSubstr(password == "right" ? "OPEN" : "Authentication"));
    return std::chrono::duration_cast<Ms>(std::chrono::steady_clock::now() - start);
  }

  FakeHost mHost;
  RunningGateway mGateway;
};

TEST_F(GuessedPasswordsTest, AreAnsweredEverLater) {
  WebSocketPeer page;
  Open(page);
  for (int i = 0; i < 5; ++i) Timed(page, "wrong");
  EXPECT_GE(Timed(page, "wrong"), kDelay);
  EXPECT_GE(Timed(page, "wrong"), kDelay * 2);
  EXPECT_GE(Timed(page, "right"), kDelay * 4);
  EXPECT_EQ(mGateway.Metrics().mLogInFailures, 7u);
  EXPECT_EQ(mGateway.Metrics().mLogIns, 1u);
  Ms quickest = kDelay * 4;
  for (int i = 0; i < 4; ++i) quickest = std::min(quickest, Timed(page, "wrong"));
  EXPECT_LT(quickest, kDelay * 4) << "the good one has reset the count";
  EXPECT_THAT(mGateway.Logged(), HasSubstr("log-in failed browser=\"10.1.2.3\""));
  EXPECT_THAT(mGateway.Logged(), testing::Not(HasSubstr("right")));
}

// CHANGE asks for the password as well.
TEST_F(GuessedPasswordsTest, AreCountedWhateverWordCarriesThem) {
  WebSocketPeer page;
  Open(page);
  for (unsigned i = 0; i < 5; ++i) {
    page.SendText(R"({"Command":"CHANGE","Id":"u","Pass":"wrong"})");
    EXPECT_FALSE(page.WaitForText("Authentication").empty());
    EXPECT_EQ(mGateway.Metrics().mLogInFailures, i + 1);
  }
  page.SendText(R"({"Command":"CHANGE","Id":"u","Pass":"late"})");
  EXPECT_GE(Timed(page, "wrong"), kDelay);
}

// However many pages guess, those who know their password find a place.
TEST_F(GuessedPasswordsTest, TakeNoPlaceOfThoseWhoAreLoggedIn) {
  WebSocketPeer page;
  Open(page);
  Timed(page, "wrong");
  EXPECT_TRUE(mHost.WaitForConnections(0));
  EXPECT_EQ(mGateway.Metrics().mHostConnections, 0u);
  Timed(page, "right");
  EXPECT_EQ(mGateway.Metrics().mHostConnections, 1u);
}

TEST_F(GuessedPasswordsTest, AreSentOneByOne) {
  WebSocketPeer page;
  Open(page);
  const std::string guess = R"({"Command":"HELLO","Id":"u","Pass":"guess"})";
  for (const std::string& other :
       {guess, std::string(R"({"Command":"KEEPALIVE","SessionId":"z"})")}) {
    page.SendText("{\"Commands\":[" + guess + "," + other + "]}");
    EXPECT_THAT(page.WaitForText("refused"), HasSubstr("a log-in is sent by itself"));
  }
  EXPECT_FALSE(mHost.HasText("guess"));
}

// A second connection to the host would be left behind without an owner.
TEST_F(GuessedPasswordsTest, ASessionIsNotTakenUpBesideADelayedLogIn) {
  {
    WebSocketPeer page;
    Open(page);
    for (int i = 0; i < 5; ++i) Timed(page, "wrong");
    page.SendText(R"({"Command":"HELLO","Id":"u","Pass":"right"})");
    page.SendText(R"({"Command":"KEEPALIVE","SessionId":"z"})");
    EXPECT_FALSE(page.WaitForText("a log-in has not been sent yet").empty());
    EXPECT_FALSE(page.WaitForText("OPEN").empty());
    EXPECT_EQ(mGateway.Metrics().mHostConnections, 1u);
  }
  EXPECT_TRUE(mHost.WaitForConnections(0));
}

TEST_F(GuessedPasswordsTest, OfOneAddressDoNotDelayAnother) {
  WebSocketPeer guesser, page;
  Open(guesser);
  Open(page, "10.1.2.4");
  for (int i = 0; i < 5; ++i) Timed(guesser, "wrong");
  guesser.SendText(R"({"Command":"HELLO","Id":"u","Pass":"late"})");
  EXPECT_THAT(page.LogIn(), HasSubstr("OPEN"));
  EXPECT_FALSE(mHost.HasText("late")) << "it is held back here";
}

TEST_F(GuessedPasswordsTest, GuessingOnManyPagesIsNotFaster) {
  std::vector<WebSocketPeer> pages(6);
  for (WebSocketPeer& page : pages) Open(page);
  for (int i = 0; i < 5; ++i) Timed(pages[0], "wrong");
  for (std::size_t i = 0; i < 5; ++i)
    pages[i].SendText(R"({"Command":"HELLO","Id":"u","Pass":"x"})");
  EXPECT_EQ(pages[4].NextText().substr(0, 12), R"({"t":"hello")");
  EXPECT_EQ(
      pages[4].NextText(),
      R"({"t":"refused","why":"too many log-ins have failed here: try again in a minute","n":1})");
}

TEST_F(GuessedPasswordsTest, StartingWithManyPagesAtOnceIsNotFaster) {
  std::vector<WebSocketPeer> pages(14);
  for (WebSocketPeer& page : pages) Open(page);
  mHost.Stop();
  for (WebSocketPeer& page : pages) page.SendText(R"({"Command":"HELLO","Id":"u","Pass":"x"})");
  const Deadline sent;
  while (mGateway.Metrics().mMessagesIn < pages.size() && !sent.IsOver()) {
  }
  EXPECT_EQ(mGateway.Metrics().mHostConnections, 5u);
  mHost.GoOn();
  const Deadline deadline;
  while (mGateway.Metrics().mRefused + mGateway.Metrics().mLogInFailures < pages.size() &&
         !deadline.IsOver()) {
  }
  EXPECT_LE(mGateway.Metrics().mLogInFailures, 9u) << "five, and what the delay lets in";
  EXPECT_GE(mGateway.Metrics().mRefused, 5u);
}

class LogInTurnsTest : public testing::Test {
 protected:
  LogInTurnsTest() : mOptions(RunningGateway::OptionsFor(mHost.Port())) {}

  // Pages that log in by a word that the host does not answer.
  static std::vector<WebSocketPeer> OpenUnanswered(RunningGateway& gateway, std::size_t count) {
    std::vector<WebSocketPeer> pages(count);
    for (WebSocketPeer& page : pages) {
      EXPECT_TRUE(page.Open(gateway.Port()));
      page.SendText(R"({"Command":"CHANGE","Id":"u"})");
    }
    return pages;
  }

  FakeHost mHost;
  dorn::gateway::Options mOptions;
};

// Hosts need not answer a good one, so that its turn ends in time as well.
TEST_F(LogInTurnsTest, EndWithoutAnAnswerAndWhenThePageGoes) {
  mOptions.mTimes.mLogInTurn = Ms(100);
  RunningGateway gateway(mOptions);
  auto pages = OpenUnanswered(gateway, 12);
  WebSocketPeer page;
  ASSERT_TRUE(page.Enter(gateway.Port()));
  pages.clear();
  EXPECT_TRUE(mHost.WaitForConnections(1));
}

TEST_F(LogInTurnsTest, AreNotWaitedForWithoutEnd) {
  mOptions.mTimes.mLogInQueue = Ms(100);
  RunningGateway gateway(mOptions);
  auto pages = OpenUnanswered(gateway, 6);
  EXPECT_EQ(
      pages[5].WaitForText("refused"),
      R"({"t":"refused","why":"the host has not answered those who log in here before you: try again in a minute","n":1})");
}

// The first attempt is given up by the second, however late the gateway notices that it is due.
TEST_F(GuessedPasswordsTest, OnlyTheLastAttemptOfAPageIsMade) {
  WebSocketPeer page;
  Open(page);
  for (int i = 0; i < 5; ++i) Timed(page, "wrong");
  page.SendText(R"({"Command":"HELLO","Id":"u","Pass":"first"})");
  EXPECT_THAT(page.LogIn("right"), HasSubstr("OPEN"));
  EXPECT_FALSE(mHost.HasText("first"));
}

TEST_F(GuessedPasswordsTest, AreForgottenWhenThePageGoes) {
  WebSocketPeer page;
  Open(page);
  for (int i = 0; i < 5; ++i) Timed(page, "wrong");
  page.SendText(R"({"Command":"HELLO","Id":"u","Pass":"never"})");
  page.Close();
  WebSocketPeer other;
  Open(other);
  Timed(other, "right");
  EXPECT_FALSE(mHost.HasText("never"));
}

}  // namespace
