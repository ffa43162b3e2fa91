// What one page may take, and what all may.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <thread>

#include "station/Framing.h"
#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"
#include "tools/dorn-gateway/Gateway.h"

namespace {

using dorn::gateway::Ms;
using dorn::station::Framed;
using testing::HasSubstr;
using testing::StartsWith;

class LimitsTest : public testing::Test {
 protected:
  LimitsTest() : mOptions(RunningGateway::OptionsFor(mHost.Port())) {}

  static std::string Update(std::size_t length) {
    return Framed(R"({"Command":"UPDATE","Objects":[{"Value":")" + std::string(length, 'x') +
                  R"(","Name":"a"}]})");
  }

  // To all pages; this one reads it. Nobody is sent more before the gateway has passed it on.
  void SendInStepWith(WebSocketPeer& page, std::size_t length) {
    mHost.SendAll(Update(length));
    EXPECT_THAT(page.NextText(), HasSubstr("UPDATE"));
  }

  FakeHost mHost;
  dorn::gateway::Options mOptions;
};

TEST_F(LimitsTest, TheDefaultsAreThoseThatTheManualNames) {
  const dorn::gateway::Options options;
  EXPECT_EQ(options.mLimits.mLoggedIn, 900u);
  EXPECT_EQ(options.mLimits.mWebSockets, 1000u);
  EXPECT_EQ(options.mLimits.mWebSocketsOfPlace, 250u);
  EXPECT_EQ(options.mLimits.mConnectionsOfPlace, 550u);
  EXPECT_EQ(options.mLimits.mQueuedTexts, 8388608u);
  EXPECT_EQ(options.mLimits.mQueuedFiles, 67108864u);
  EXPECT_EQ(options.mLimits.mQueuedUnserved, 65536u);
  EXPECT_EQ(options.mLimits.mQueuedOfAll, 536870912u);
  EXPECT_EQ(options.mLimits.mPageText, 1048576u);
  EXPECT_EQ(options.mLimits.mPageTextUnserved, 65536u);
  EXPECT_EQ(options.mTimes.mPing, Ms(20000));
  EXPECT_EQ(options.mTimes.mLogInDelay, Ms(1000));
  EXPECT_EQ(options.mTimes.mProbe, Ms(2000));
  EXPECT_EQ(options.mTimes.mConnect, Ms(10000));
  EXPECT_EQ(options.mTimes.mPayload, Ms(5000));
  EXPECT_EQ(options.mTimes.mStranger, Ms(120000));
}

// A page that does not read is closed before it fills the memory; the others do not notice.
TEST_F(LimitsTest, ClosesAPageForWhichTooMuchWaits) {
  mOptions.mTimes.mClose = Ms(100);
  RunningGateway gateway(mOptions);
  WebSocketPeer slow, quick;
  ASSERT_TRUE(slow.EnterSlow(gateway.Port()) && quick.Enter(gateway.Port()));
  const Deadline deadline;
  std::uint64_t most = 0;
  while (gateway.Metrics().mSlowPages == 0 && !deadline.IsOver()) {
    SendInStepWith(quick, 1 << 20);
    most = std::max(most, gateway.Metrics().mQueuedBytes);
  }
  EXPECT_EQ(gateway.Metrics().mSlowPages, 1u);
  EXPECT_LE(most, 10u << 20);
  EXPECT_GT(most, 6u << 20);
  EXPECT_TRUE(mHost.WaitForConnections(1)) << "it is cut off, as it does not take the close either";
  SendInStepWith(quick, 10);
  const Deadline written;
  while (gateway.Metrics().mQueuedBytes > 0 && !written.IsOver()) std::this_thread::yield();
  EXPECT_EQ(gateway.Metrics().mQueuedBytes, 0u);
}

// The close waits behind what the page does not read, and nobody else looks after it any more.
TEST_F(LimitsTest, CutsOffAPageThatClosesAndDoesNotRead) {
  mOptions.mTimes.mClose = Ms(100);
  RunningGateway gateway(mOptions);
  WebSocketPeer page, quick;
  ASSERT_TRUE(page.EnterSlow(gateway.Port()) && quick.Enter(gateway.Port()));
  const Deadline filled;
  while (gateway.Metrics().mQueuedBytes < 4u << 20 && !filled.IsOver()) {
    SendInStepWith(quick, 1 << 20);
  }
  ASSERT_TRUE(page.SendFrame(kClose, "\x03\xe8"));
  ASSERT_TRUE(mHost.WaitForConnections(1));
  const Deadline deadline;
  while (gateway.Metrics().mConnections > 1 && !deadline.IsOver()) std::this_thread::yield();
  EXPECT_EQ(gateway.Metrics().mConnections, 1u);
  EXPECT_EQ(gateway.Metrics().mSlowPages, 0u);
}

// It needs no password to be refused: what is told to it must not fill the memory.
TEST_F(LimitsTest, LetsLittleWaitForAPageThatIsNotLoggedIn) {
  mOptions.mLimits.mSendBuffer = 4096;
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.OpenSlow(gateway.Port()));
  std::string texts;
  for (int i = 0; i < 1000; ++i) texts += WebSocketFrame(kText, "x");
  const Deadline deadline;
  while (gateway.Metrics().mSlowPages == 0 && !deadline.IsOver() && page.SendBytes(texts)) {
  }
  EXPECT_EQ(gateway.Metrics().mSlowPages, 1u);
  EXPECT_LT(gateway.Metrics().mRefused, 5000u) << "8 MiB would take ten times as many";
}

// Each text is too long to be remembered, so that each page waits for one of its own.
TEST_F(LimitsTest, LetsSoMuchWaitForAllPagesTogether) {
  mOptions.mTimes.mClose = Ms(100);
  mOptions.mLimits.mQueuedOfAll = 6u << 20;
  RunningGateway gateway(mOptions);
  std::vector<WebSocketPeer> slow(3);
  for (WebSocketPeer& page : slow) ASSERT_TRUE(page.EnterSlow(gateway.Port()));
  WebSocketPeer quick;
  ASSERT_TRUE(quick.Enter(gateway.Port()));
  std::uint64_t most = 0;
  const Deadline deadline;
  while (gateway.Metrics().mSlowPages == 0 && !deadline.IsOver()) {
    SendInStepWith(quick, 5 << 18);
    most = std::max(most, gateway.Metrics().mQueuedBytes);
  }
  EXPECT_GE(gateway.Metrics().mSlowPages, 1u);
  EXPECT_LE(most, 8u << 20);
}

TEST_F(LimitsTest, CountsOnceWhatWaitsForManyPages) {
  mOptions.mLimits.mQueuedOfAll = 6u << 20;
  RunningGateway gateway(mOptions);
  std::vector<WebSocketPeer> slow(3);
  for (WebSocketPeer& page : slow) ASSERT_TRUE(page.EnterSlow(gateway.Port()));
  WebSocketPeer quick;
  ASSERT_TRUE(quick.Enter(gateway.Port()));
  const Deadline deadline;
  for (std::size_t i = 0; gateway.Metrics().mQueuedBytes < 4u << 20 && !deadline.IsOver(); ++i) {
    SendInStepWith(quick, (1 << 19) + i);
  }
  EXPECT_GE(gateway.Metrics().mQueuedBytes, 4u << 20);
  EXPECT_EQ(gateway.Metrics().mSlowPages, 0u);
}

TEST_F(LimitsTest, TellsASlowPageToTryAgainLater) {
  mOptions.mLimits.mQueuedTexts = 100000;
  mOptions.mTimes.mClose = Ms(60'000);
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.EnterSlow(gateway.Port()));
  const Deadline deadline;
  while (gateway.Metrics().mSlowPages == 0 && !deadline.IsOver()) mHost.SendAll(Update(90000));
  EXPECT_EQ(page.WaitForClose(), 1013);
}

TEST_F(LimitsTest, FilesHaveALimitOfTheirOwn) {
  const std::string bytes(3 << 20, '\x01');
  mOptions.mLimits.mQueuedTexts = 1000;
  mOptions.mLimits.mQueuedFiles = bytes.size();
  RunningGateway gateway(mOptions);
  mHost.Answer("big.bin", Framed(R"({"Command":"PUTFILE","File":"big.bin","Length":)" +
                                 std::to_string(bytes.size()) + "}") +
                              bytes);
  WebSocketPeer page;
  ASSERT_TRUE(page.EnterSlow(gateway.Port()));
  page.SendText(R"({"Command":"GETFILE","File":"big.bin"})");
  page.WaitForText("big.bin");
  const auto message = page.Next();
  ASSERT_TRUE(message);
  EXPECT_EQ(message->mOpcode, kBinary);
  EXPECT_TRUE(message->mPayload == bytes);
}

TEST_F(LimitsTest, LeavesAHostThatAnnouncesTooLongAFile) {
  RunningGateway gateway(mOptions);
  mHost.Answer("huge", Framed(R"({"Command":"PUTFILE","File":"huge.bin","Length":67108865})"));
  WebSocketPeer page;
  ASSERT_TRUE(page.Enter(gateway.Port()));
  page.SendText(R"({"Command":"GETFILE","File":"huge.bin"})");
  EXPECT_THAT(page.WaitForText("down"), HasSubstr("too long"));
}

TEST_F(LimitsTest, RefusesATextThatWouldCloseTheHostsConnection) {
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.Enter(gateway.Port()));
  const auto condition = [](std::size_t length) {
    const std::string around = R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":""}]})";
    return R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":")" +
           std::string(length - around.size(), 'y') + "\"}]}";
  };
  page.SendText(condition(524287));
  EXPECT_EQ(page.NextText(),
            R"({"t":"refused","why":"the text is longer than 524286 bytes","n":2})");
  page.SendText(condition(524286));
  EXPECT_TRUE(mHost.WaitForText("yyy"));
  EXPECT_EQ(mHost.Texts().back().size(), 524286u);
}

TEST_F(LimitsTest, KeepsAPageThatWaitsForAStoppedHostSmall) {
  mOptions.mLimits.mHostQueue = 100000;
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.Enter(gateway.Port()));
  mHost.Stop();
  const std::string text = R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":")" +
                           std::string(90000, 'y') + "\"}]}";
  for (int i = 0; i < 300; ++i) page.SendText(text);
  EXPECT_THAT(
      page.NextText(),
      StartsWith(R"({"t":"refused","why":"the host does not take what is sent to it","n":)"));
}

TEST_F(LimitsTest, LogsInSoManyPagesAndNoMore) {
  mOptions.mLimits.mLoggedIn = 2;
  RunningGateway gateway(mOptions);
  std::vector<WebSocketPeer> pages(3);
  for (WebSocketPeer& page : pages) ASSERT_TRUE(page.Open(gateway.Port()));
  EXPECT_THAT(pages[0].LogIn(), HasSubstr("OPEN"));
  EXPECT_THAT(pages[1].LogIn(), HasSubstr("OPEN"));
  pages[2].SendText(R"({"Command":"HELLO","Id":"u","Pass":"right"})");
  EXPECT_THAT(pages[2].WaitForText("down"),
              HasSubstr("as many pages as are allowed are logged in"));
  EXPECT_THAT(pages[1].LogIn(), HasSubstr("OPEN")) << "its own place is free again";
  pages[0].Close();
  ASSERT_TRUE(mHost.WaitForConnections(1));
  EXPECT_THAT(pages[2].LogIn(), HasSubstr("OPEN"));
}

TEST_F(LimitsTest, OpensSoManyWebSocketsAndNoMore) {
  mOptions.mLimits.mWebSockets = 2;
  RunningGateway gateway(mOptions);
  std::vector<WebSocketPeer> pages(3);
  ASSERT_TRUE(pages[0].Open(gateway.Port()));
  ASSERT_TRUE(pages[1].Open(gateway.Port()));
  EXPECT_FALSE(pages[2].Open(gateway.Port()));
  EXPECT_THAT(pages[2].Head(), StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(pages[2].Head(), HasSubstr("\r\nRetry-After: "));
  pages[0].Close();
  const Deadline deadline;
  while (!pages[2].Open(gateway.Port()) && !deadline.IsOver()) {
  }
  EXPECT_THAT(pages[2].Head(), StartsWith("HTTP/1.1 101 "));
}

// Others find room all the same. On loopback there may be a proxy that nobody told about.
TEST_F(LimitsTest, OpensSoManyWebSocketsForOneAddressAndNoMore) {
  mOptions.mLimits.mWebSocketsOfPlace = 2;
  mOptions.mTrustedProxies = {"127.0.0.1"};
  RunningGateway gateway(mOptions);
  const auto from = [](const std::string& address) {
    return WebSocketRequest("X-Forwarded-For: " + address + "\r\n");
  };
  for (const std::string address : {"10.1.2.3", "2001:db8::"}) {
    std::vector<WebSocketPeer> pages(3);
    EXPECT_TRUE(pages[0].Open(gateway.Port(), from(address)));
    EXPECT_TRUE(pages[1].Open(gateway.Port(), from(address)));
    EXPECT_FALSE(pages[2].Open(gateway.Port(), from(address)));
    EXPECT_THAT(pages[2].Head(), StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(pages[2].Head(), HasSubstr("\r\nRetry-After: "));
    WebSocketPeer other;
    EXPECT_TRUE(other.Open(gateway.Port(), from("10.1.2.4")));
    pages[0].Close();
    const Deadline deadline;
    while (!pages[2].Open(gateway.Port(), from(address)) && !deadline.IsOver()) {
    }
    EXPECT_THAT(pages[2].Head(), StartsWith("HTTP/1.1 101 "));
  }
  std::vector<WebSocketPeer> local(4);
  for (WebSocketPeer& page : local) EXPECT_TRUE(page.Open(gateway.Port()));
}

TEST_F(LimitsTest, AcceptsSoManyConnectionsAndNoMore) {
  mOptions.mLimits.mConnections = 3;
  RunningGateway gateway(mOptions);
  std::vector<TcpPeer> peers(4);
  for (TcpPeer& peer : peers) ASSERT_TRUE(peer.Connect(gateway.Port()));
  EXPECT_TRUE(peers[3].WaitForClose());
  EXPECT_FALSE(peers[0].IsClosed());
  peers[0].Close();
  const Deadline deadline;
  while (HttpGet(gateway.Port(), "/healthz").empty() && !deadline.IsOver()) {
  }
  EXPECT_FALSE(deadline.IsOver());
}

// Whoever holds as many as one address may have keeps nobody else away.
TEST_F(LimitsTest, AcceptsSoManyConnectionsOfOneAddressAndNoMore) {
  mOptions.mLimits.mConnectionsOfPlace = 2;
  mOptions.mLimits.mIsLoopbackSpared = false;
  RunningGateway gateway(mOptions);
  std::vector<TcpPeer> peers(3);
  for (TcpPeer& peer : peers) ASSERT_TRUE(peer.Connect(gateway.Port()));
  EXPECT_TRUE(peers[2].WaitForClose());
  EXPECT_FALSE(peers[0].IsClosed());
  peers[0].Close();
  const Deadline deadline;
  while (HttpGet(gateway.Port(), "/healthz").empty() && !deadline.IsOver()) {
  }
  EXPECT_FALSE(deadline.IsOver());
}

TEST_F(LimitsTest, AcceptsAllConnectionsOfATrustedProxy) {
  mOptions.mLimits.mConnectionsOfPlace = 1;
  mOptions.mLimits.mIsLoopbackSpared = false;
  mOptions.mTrustedProxies = {"127.0.0.1"};
  RunningGateway gateway(mOptions);
  std::vector<TcpPeer> peers(3);
  for (TcpPeer& peer : peers) ASSERT_TRUE(peer.Connect(gateway.Port()));
  EXPECT_NE(HttpGet(gateway.Port(), "/healthz"), "");
}

TEST_F(LimitsTest, PingsPagesAndDropsThoseThatAreDead) {
  mOptions.mTimes.mPing = Ms(700);
  RunningGateway gateway(mOptions);
  WebSocketPeer dead, alive;
  ASSERT_TRUE(dead.Open(gateway.Port()));
  ASSERT_TRUE(alive.Open(gateway.Port()));
  dead.LogIn();
  alive.LogIn();
  dead.StopAnsweringPings();
  std::thread living([&] { alive.WaitForText("ping me"); });
  EXPECT_TRUE(dead.WaitForEnd());
  EXPECT_EQ(dead.PingsSeen(), 2);
  EXPECT_TRUE(mHost.WaitForConnections(1));
  mHost.SendAll(Framed(R"({"Command":"UPDATE","x":"ping me"})"));
  living.join();
  EXPECT_GE(alive.PingsSeen(), 2);
  EXPECT_EQ(gateway.Metrics().mDeadPages, 1u);
  EXPECT_EQ(gateway.Metrics().mPages, 1u);
}

// The page is gone without a word, as a machine whose cable was pulled.
TEST_F(LimitsTest, DropsHalfOpenPages) {
  mOptions.mTimes.mPing = Ms(300);
  RunningGateway gateway(mOptions);
  std::vector<WebSocketPeer> pages(20);
  for (WebSocketPeer& page : pages) {
    ASSERT_TRUE(page.Open(gateway.Port()));
    page.SendText(R"({"Command":"HELLO","Id":"u","Pass":"right"})");
  }
  const Deadline deadline;
  while (mHost.Accepted() < 20 && !deadline.IsOver()) std::this_thread::yield();
  EXPECT_EQ(mHost.Accepted(), 20u);
  EXPECT_TRUE(mHost.WaitForConnections(0));
  EXPECT_EQ(gateway.Metrics().mDeadPages, 20u);
  EXPECT_EQ(gateway.Metrics().mPages, 0u);
}

TEST_F(LimitsTest, ClosesAPageThatOnlyPings) {
  mOptions.mTimes.mTick = Ms(500);
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(gateway.Port()));
  std::string pings;
  for (int i = 0; i < 1000; ++i) pings += WebSocketFrame(kPing, "x");
  ASSERT_TRUE(page.SendBytes(pings));
  EXPECT_EQ(page.WaitForClose(), 1008);
}

TEST_F(LimitsTest, TakesTheDescriptorsThatItNeeds) {
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  rlimit low = before;
  low.rlim_cur = 256;
  setrlimit(RLIMIT_NOFILE, &low);
  EXPECT_EQ(dorn::gateway::RaiseDescriptorLimit({}), before.rlim_max >= 2264);
  rlimit raised{};
  getrlimit(RLIMIT_NOFILE, &raised);
  EXPECT_EQ(raised.rlim_cur, std::min<rlim_t>(2264, before.rlim_max));
  setrlimit(RLIMIT_NOFILE, &before);
}

}  // namespace
