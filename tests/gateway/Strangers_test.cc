// What pages can do that never log in, and what pages that do not read can do to the others.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>

#include "station/Framing.h"
#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"

namespace {

using dorn::gateway::Ms;
using dorn::station::Framed;
using testing::HasSubstr;

class StrangersTest : public testing::Test {
 protected:
  StrangersTest() : mOptions(RunningGateway::OptionsFor(mHost.Port())) {
    mOptions.mLimits.mSendBuffer = 4096;
  }

  // The page sends what is refused and reads nothing.
  static bool IsClosedForRefusals(RunningGateway& gateway, WebSocketPeer& page) {
    std::string texts;
    for (int i = 0; i < 1000; ++i) texts += WebSocketFrame(kText, "x");
    const Deadline deadline;
    while (gateway.Metrics().mSlowPages == 0 && !deadline.IsOver() && page.SendBytes(texts)) {
    }
    return gateway.Metrics().mSlowPages == 1;
  }

  // The host's answer to a text that names the file.
  void Hold(const std::string& file, std::size_t length) {
    mHost.Answer(file, Framed(R"({"Command":"PUTFILE","File":")" + file + R"(","Length":)" +
                              std::to_string(length) + "}") +
                           std::string(length, '\x01'));
  }
  static void Ask(WebSocketPeer& page, const std::string& file) {
    page.SendText(R"({"Command":"GETFILE","File":")" + file + "\"}");
  }
  // Nothing more is sent before the gateway has passed it on to all pages.
  void SendInStep(RunningGateway& gateway, const std::string& value) {
    const std::size_t before = gateway.Conversions();
    mHost.SendAll(Framed(R"({"Command":"UPDATE","x":")" + value + "\"}"));
    const Deadline deadline;
    while (gateway.Conversions() == before && !deadline.IsOver()) std::this_thread::yield();
  }
  static bool WaitUntilQueued(RunningGateway& gateway, std::uint64_t bytes) {
    const Deadline deadline;
    while (gateway.Metrics().mQueuedBytes < bytes && !deadline.IsOver()) {
    }
    return gateway.Metrics().mQueuedBytes >= bytes;
  }
  // Whether the page gets two files of this length.
  static void ExpectTwoFiles(WebSocketPeer& page, const std::string& file, std::size_t length) {
    for (int i = 0; i < 2; ++i) {
      EXPECT_FALSE(page.WaitForText(file).empty());
      const auto message = page.Next();
      ASSERT_TRUE(message);
      EXPECT_EQ(message->mPayload.size(), length);
    }
  }

  FakeHost mHost;
  dorn::gateway::Options mOptions;
};

TEST_F(StrangersTest, GetNoMoreRoomByAnErrorOfTheHost) {
  mHost.Answer("KEEPALIVE",
               Framed(R"({"Command":"ERROR","Message":"no","Status":"InvalidSessionId"})"));
  mOptions.mLimits.mQueuedTexts = 1u << 30;
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.OpenSlow(gateway.Port()));
  page.SendText(R"({"Command":"KEEPALIVE","SessionId":"x"})");
  EXPECT_THAT(page.WaitForText("ERROR"), HasSubstr("InvalidSessionId"));
  EXPECT_TRUE(IsClosedForRefusals(gateway, page));
}

// A thousand pages that send half a message each would hold twice of that.
TEST_F(StrangersTest, SendShortMessages) {
  RunningGateway gateway(mOptions);
  for (const std::size_t length : {std::size_t{65536}, std::size_t{65537}}) {
    WebSocketPeer page;
    ASSERT_TRUE(page.Open(gateway.Port()));
    ASSERT_TRUE(page.SendText(std::string(length, 'x')));
    if (length <= 65536) {
      EXPECT_FALSE(page.WaitForText("refused").empty());
    } else {
      EXPECT_EQ(page.WaitForClose(), 1009);
    }
  }
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(gateway.Port()));
  page.LogIn();
  ASSERT_TRUE(page.SendText(std::string(1048576, 'x')));
  EXPECT_FALSE(page.WaitForText("refused").empty());
  mHost.CloseAll();
  EXPECT_FALSE(page.WaitForText("down").empty());
  ASSERT_TRUE(page.SendText(std::string(65537, 'x')));
  EXPECT_EQ(page.WaitForClose(), 1009);
}

TEST_F(StrangersTest, AreAllWhoseHostIsLost) {
  mOptions.mLimits.mQueuedTexts = 1u << 30;
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.EnterSlow(gateway.Port()));
  mHost.CloseAll();
  EXPECT_FALSE(page.WaitForText("down").empty());
  EXPECT_TRUE(IsClosedForRefusals(gateway, page));
}

// What waited while the host was there does not count against the little room without one.
TEST_F(StrangersTest, ASlowPageIsToldThatItsHostIsLost) {
  Hold("big.bin", 5u << 20);
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.EnterSlow(gateway.Port()));
  Ask(page, "big.bin");
  ASSERT_TRUE(WaitUntilQueued(gateway, 5u << 20));
  mHost.SendAll(Framed(R"({"Command":"UPDATE","x":")" + std::string(100000, 'x') + "\"}"));
  ASSERT_TRUE(WaitUntilQueued(gateway, (5u << 20) + 100000));
  mHost.CloseAll();
  EXPECT_FALSE(page.WaitForText("down").empty());
  EXPECT_EQ(gateway.Metrics().mSlowPages, 0u);
}

// It is told by its close, and so is one that loses its host: the time begins anew for it.
TEST_F(StrangersTest, MayNotStayForEver) {
  mOptions.mTimes.mStranger = Ms(300);
  RunningGateway gateway(mOptions);
  WebSocketPeer guest;
  const Deadline deadline;
  while (!guest.Enter(gateway.Port()) && !deadline.IsOver()) {  // It may have come too late.
  }
  WebSocketPeer stranger;
  ASSERT_TRUE(stranger.Open(gateway.Port()));
  EXPECT_EQ(stranger.WaitForClose(), 1008);
  SendInStep(gateway, "to guests");
  EXPECT_FALSE(guest.WaitForText("to guests").empty());
  mHost.CloseAll();
  EXPECT_FALSE(guest.WaitForText("down").empty());
  EXPECT_EQ(guest.WaitForClose(), 1008);
  EXPECT_GE(gateway.Metrics().mRejected, 2u);
}

// A session that is gone on with is answered by its dialog, without OPEN and without a fence.
TEST_F(StrangersTest, AreNoneOnceTheHostHasSentThemAFile) {
  Hold("d.bin", 10);
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.OpenSlow(gateway.Port()));
  page.SendText(R"({"Command":"GETFILE","SessionId":"s","File":"d.bin"})");
  EXPECT_FALSE(page.WaitForText("d.bin").empty());
  const Deadline deadline;
  for (std::size_t i = 0; gateway.Metrics().mQueuedBytes < 3u << 20 && !deadline.IsOver(); ++i) {
    SendInStep(gateway, std::string((1 << 19) + i, 'x'));
  }
  EXPECT_GE(gateway.Metrics().mQueuedBytes, 3u << 20);
  EXPECT_EQ(gateway.Metrics().mSlowPages, 0u);
}

TEST_F(StrangersTest, ThePageForWhichMostWaitsGivesWay) {
  mOptions.mLimits.mQueuedOfAll = 28u << 20;
  RunningGateway gateway(mOptions);
  Hold("big.bin", 5u << 20);
  WebSocketPeer hog, modest;
  ASSERT_TRUE(hog.EnterSlow(gateway.Port()) && modest.EnterSlow(gateway.Port()));
  for (int i = 0; i < 4; ++i) Ask(hog, "big.bin");
  ASSERT_TRUE(WaitUntilQueued(gateway, 20u << 20));
  Ask(modest, "big.bin");
  ASSERT_TRUE(WaitUntilQueued(gateway, 25u << 20));
  Ask(modest, "big.bin");
  const Deadline deadline;
  while (gateway.Metrics().mSlowPages == 0 && !deadline.IsOver()) {
  }
  ExpectTwoFiles(modest, "big.bin", 5u << 20);
  EXPECT_EQ(gateway.Metrics().mSlowPages, 1u);
}

// Closing it would leave what is being written to it for as long as a close may take.
TEST_F(StrangersTest, APageThatGivesWayIsCutOffWhenThatMakesTheRoom) {
  mOptions.mLimits.mQueuedOfAll = 28u << 20;
  mOptions.mTimes.mClose = Ms(600'000);
  RunningGateway gateway(mOptions);
  Hold("big.bin", 5u << 20);
  Hold("huge.bin", 20u << 20);
  WebSocketPeer hog, modest;
  ASSERT_TRUE(hog.EnterSlow(gateway.Port()) && modest.EnterSlow(gateway.Port()));
  Ask(hog, "huge.bin");
  ASSERT_TRUE(WaitUntilQueued(gateway, 20u << 20));
  Ask(modest, "big.bin");
  ASSERT_TRUE(WaitUntilQueued(gateway, 25u << 20));
  Ask(modest, "big.bin");
  EXPECT_TRUE(mHost.WaitForConnections(1));
  ExpectTwoFiles(modest, "big.bin", 5u << 20);
  EXPECT_EQ(gateway.Metrics().mSlowPages, 1u);
  EXPECT_EQ(gateway.Metrics().mPages, 1u);
}

}  // namespace
