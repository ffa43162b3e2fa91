// What goes from a page to the host and back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "station/Framing.h"
#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"

namespace {

using dorn::station::Framed;
using testing::HasSubstr;

class PageSessionTest : public testing::Test {
 protected:
  PageSessionTest() : mGateway(mHost.Port()) {
    EXPECT_TRUE(mPage.Open(mGateway.Port()));
    EXPECT_EQ(mPage.NextText(), R"({"t":"hello","menu":[],"version":"1.8.7","local":false})");
  }

  FakeHost mHost;
  RunningGateway mGateway;
  WebSocketPeer mPage;
};

TEST_F(PageSessionTest, ConnectsToTheHostAtTheFirstLogIn) {
  EXPECT_EQ(mHost.Accepted(), 0u);
  mPage.SendText(R"({"Command":"HELLO","Id":"u","Pass":"right","Type":"STATION"})");
  EXPECT_EQ(mPage.NextText(), R"({"t":"up"})");
  EXPECT_EQ(mPage.NextText(),
            R"({"t":"cmd","c":{"Command":"OPEN","File":"d.json","SessionId":"s1"}})");
  EXPECT_EQ(mHost.Texts(), std::vector<std::string>{
                               R"({"Command":"HELLO","Id":"u","Pass":"right","Type":"STATION"})"});
}

TEST_F(PageSessionTest, ConnectsAnewForEachAttempt) {
  EXPECT_THAT(mPage.LogIn("wrong"), HasSubstr("Authentication"));
  EXPECT_THAT(mPage.LogIn("right"), HasSubstr("OPEN"));
  EXPECT_EQ(mHost.Accepted(), 2u);
  EXPECT_TRUE(mHost.WaitForConnections(1));
}

TEST_F(PageSessionTest, GoesOnWithASession) {
  mPage.SendText(
      R"({"Commands":[{"Command":"CHANGE","DialogName":"d","SessionId":"s1"},{"Command":"GETFILE","File":"?f1"}]})");
  EXPECT_EQ(mPage.NextText(), R"({"t":"up"})");
  EXPECT_THAT(mPage.NextText(), HasSubstr("?f1"));
  mPage.SendText(R"({"Command":"CHANGE","DialogName":"d","SessionId":"s1"})");
  EXPECT_TRUE(mHost.WaitForText("\"s1\"}"));
  EXPECT_EQ(mHost.Accepted(), 1u);
}

TEST_F(PageSessionTest, RefusesWhatNoHostWouldHear) {
  mPage.SendText(R"({"Command":"GETFILE","File":"?f1"})");
  EXPECT_EQ(mPage.NextText(),
            R"({"t":"refused","why":"there is no connection to the host","n":1})");
  EXPECT_EQ(mHost.Accepted(), 0u);
}

TEST_F(PageSessionTest, ChecksWhatAPageSends) {
  mPage.LogIn();
  mPage.SendText("{'Command':\"KEEPALIVE\"}");
  EXPECT_EQ(mPage.NextText(), R"({"t":"refused","why":"the text is no JSON","n":2})");
  mPage.SendText(R"({"Command":"SHUTDOWN"})");
  EXPECT_EQ(mPage.NextText(), R"({"t":"refused","why":"unknown Command","n":3})");
  mPage.SendText(
      R"({"Command":"CONDITION","ActionName":"e","Objects":[{"Name":"e","Value":"x\"},{\"Value\":\"999"}]})");
  EXPECT_TRUE(mHost.WaitForText(R"("Value":"x\\\"},{\\\"Value\\\":\\\"999")"));
  EXPECT_EQ(mGateway.Metrics().mRefused, 2u);
}

TEST_F(PageSessionTest, PassesCommandsOnAndAnswersKeepaliveItself) {
  mPage.LogIn();
  mHost.SendAll(Framed(R"({"Command":"KEEPALIVE"})") +
                Framed("{'Commands':[{\"Command\":\"UPDATE\"},{\"Command\":\"DELETE\"}]}"));
  EXPECT_EQ(mPage.NextText(), R"({"t":"cmd","c":{"Command":"UPDATE"}})");
  EXPECT_EQ(mPage.NextText(), R"({"t":"cmd","c":{"Command":"DELETE"}})");
  EXPECT_TRUE(mHost.WaitForText(R"({"Command":"KEEPALIVE"})"));
}

TEST_F(PageSessionTest, PassesFilesOn) {
  mHost.Answer(
      "a.bin",
      Framed(R"({"Command":"PUTFILE","Date":"2026-01-01 00:00:00","File":"a.bin","Length":5})") +
          "\x02{\x03\xFF}");
  mHost.Answer(
      "d.json",
      Framed(R"({"Command":"PUTFILE","Date":"26-01-01 00:00:00","File":"d.json","Length":13})") +
          R"({"Name":"d"})" + "\n");
  mPage.LogIn();
  mPage.SendText(R"({"Command":"GETFILE","File":"a.bin"})");
  EXPECT_EQ(
      mPage.NextText(),
      R"({"t":"file","head":{"Command":"PUTFILE","Date":"2026-01-01 00:00:00","File":"a.bin","Length":5},"live":false,"bytes":5})");
  const auto bytes = mPage.Next();
  ASSERT_TRUE(bytes);
  EXPECT_EQ(bytes->mOpcode, kBinary);
  EXPECT_EQ(bytes->mPayload, "\x02{\x03\xFF}");
  mPage.SendText(R"({"Command":"GETFILE","File":"d.json"})");
  EXPECT_EQ(
      mPage.NextText(),
      R"({"t":"file","head":{"Command":"PUTFILE","Date":"26-01-01 00:00:00","File":"d.json","Length":13},"live":true,"tree":{"Name":"d"})"
      "\n}");
}

TEST_F(PageSessionTest, TellsOfAFileThatDoesNotCome) {
  mHost.Answer("folder", Framed(R"({"Command":"PUTFILE","File":"folder","Length":4096})"));
  mPage.LogIn();
  mPage.SendText(
      R"({"Commands":[{"Command":"GETFILE","File":"folder"},{"Command":"GETFILE","File":"?f2"}]})");
  EXPECT_EQ(
      mPage.NextText(),
      R"({"t":"file","head":{"Command":"PUTFILE","File":"folder","Length":4096},"live":false,"bytes":0,"missing":true})");
  EXPECT_THAT(mPage.NextText(), HasSubstr("?f2"));
}

TEST_F(PageSessionTest, CountsWhatCannotBeRead) {
  mPage.LogIn();
  mHost.SendAll(Framed("nonsense") + Framed("{") + Framed(R"({"Command":"UPDATE"})"));
  EXPECT_EQ(mPage.NextText(), R"({"t":"bad","n":1})");
  EXPECT_EQ(mPage.NextText(), R"({"t":"bad","n":2})");
  EXPECT_EQ(mPage.NextText(), R"({"t":"cmd","c":{"Command":"UPDATE"}})");
  const std::string logged = mGateway.Logged();
  const std::size_t first = logged.find("cannot be read");
  EXPECT_NE(first, std::string::npos);
  EXPECT_EQ(logged.find("cannot be read", first + 1), std::string::npos) << "logged once";
}

TEST_F(PageSessionTest, TellsWhenTheHostIsGone) {
  mPage.LogIn();
  mHost.CloseAll();
  EXPECT_THAT(mPage.NextText(), HasSubstr(R"("t":"down","why":"the host at 127.0.0.1:)"));
  EXPECT_THAT(mPage.LogIn(), HasSubstr("OPEN"));
}

TEST_F(PageSessionTest, TellsWhenTheHostCannotBeReached) {
  RunningGateway gateway(UnusedPort());
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(gateway.Port()));
  page.SendText(R"({"Command":"HELLO","Id":"u","Pass":"right"})");
  EXPECT_THAT(page.WaitForText("down"), HasSubstr("cannot be reached"));
}

TEST_F(PageSessionTest, LeavesTheHostWithTheWebSocket) {
  mPage.LogIn();
  EXPECT_EQ(mHost.OpenConnections(), 1u);
  mPage.Close();
  EXPECT_TRUE(mHost.WaitForConnections(0));
  EXPECT_EQ(mGateway.Metrics().mHostConnections, 0u);
}

TEST_F(PageSessionTest, AnswersACloseAndLeavesTheHost) {
  mPage.LogIn();
  mPage.SendFrame(kClose, "\x03\xE8");
  EXPECT_EQ(mPage.WaitForClose(), 1000);
  EXPECT_TRUE(mHost.WaitForConnections(0)) << "before the page has closed its end";
  EXPECT_TRUE(mPage.WaitForEnd());
}

TEST_F(PageSessionTest, GivesUpAFileThatStops) {
  dorn::gateway::Options options = RunningGateway::OptionsFor(mHost.Port());
  options.mTimes.mPayload = dorn::gateway::Ms(50);
  RunningGateway gateway(options);
  mHost.Answer("half.bin",
               Framed(R"({"Command":"PUTFILE","File":"half.bin","Length":10})") + "12345");
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(gateway.Port()));
  page.LogIn();
  page.SendText(R"({"Command":"GETFILE","File":"half.bin"})");
  EXPECT_EQ(page.NextText(),
            R"({"t":"down","why":"a file that the host announced does not come"})");
  EXPECT_TRUE(mHost.WaitForConnections(0));
}

TEST_F(PageSessionTest, CountsMessagesAndFences) {
  mPage.LogIn();
  mPage.SendText(R"({"Command":"GETFILE","File":"?f1"})");
  mPage.WaitForText("?f1");
  mHost.SendAll(Framed("{'a':1}"));
  mPage.WaitForText("\"a\"");
  const std::string metrics = HttpGet(mGateway.Port(), "/metrics");
  for (const std::string line :
       {"dorn_gateway_pages 1", "dorn_gateway_host_connections 1",
        "dorn_gateway_fence_seconds_count 1", "dorn_gateway_messages_total{direction=\"in\"} 2",
        "dorn_gateway_messages_total{direction=\"out\"} 5",
        "dorn_gateway_texts_total{read=\"strict\"} 2",
        "dorn_gateway_texts_total{read=\"tolerant\"} 1", "dorn_gateway_logins_total 1",
        "dorn_gateway_queued_bytes 0"}) {
    EXPECT_THAT(metrics, HasSubstr("\n" + line + "\n"));
  }
}

TEST_F(PageSessionTest, ConvertsEqualTextsForAllPagesOnce) {
  std::vector<WebSocketPeer> pages(10);
  for (WebSocketPeer& page : pages) {
    ASSERT_TRUE(page.Open(mGateway.Port()));
    page.LogIn();
  }
  const std::size_t before = mGateway.Conversions();
  mHost.SendAll(Framed("{'Command':\"UPDATE\",\"Objects\":[{\"Value\":1,\"Name\":\"a\"}]}"));
  for (WebSocketPeer& page : pages) EXPECT_THAT(page.NextText(), HasSubstr("UPDATE"));
  EXPECT_EQ(mGateway.Conversions(), before + 1);
}

// A host that counts wrong passwords by address must not lock out everybody.
TEST_F(PageSessionTest, ComesFromAnAddressOfItsOwnForEachBrowser) {
  dorn::gateway::Options options = RunningGateway::OptionsFor(mHost.Port());
  options.mTrustedProxies = {"127.0.0.1"};
  RunningGateway derived(options);
  options.mIsSourceDerived = false;
  RunningGateway fixed(options);
  for (RunningGateway* gateway : {&derived, &fixed}) {
    for (const std::string from : {"10.1.2.3", "6.6.6.6, 192.168.1.7", "nonsense"}) {
      WebSocketPeer page;
      ASSERT_TRUE(
          page.Open(gateway->Port(), WebSocketRequest("X-Forwarded-For: " + from + "\r\n")));
      page.LogIn();
    }
  }
  EXPECT_THAT(mHost.Sources(), testing::ElementsAre("127.1.2.3", "127.168.1.7", "127.0.0.1",
                                                    "127.0.0.1", "127.0.0.1", "127.0.0.1"));
}

TEST_F(PageSessionTest, BelievesNoForwardedAddressOfStrangers) {
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(mGateway.Port(), WebSocketRequest("X-Forwarded-For: 10.1.2.3\r\n")));
  page.LogIn();
  EXPECT_THAT(mHost.Sources(), testing::ElementsAre("127.0.0.1"));
}

}  // namespace
