// Frames that are sent past Beast, and what Beast sends itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "station/Framing.h"
#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"
#include "tools/dorn-gateway/DirectStream.h"

namespace {

using dorn::gateway::FrameHead;

TEST(DirectStreamTest, WritesLengthsAsWebSocketsReadThem) {
  const auto head = [](std::size_t length) { return std::string(FrameHead(true, length).Bytes()); };
  EXPECT_EQ(head(0), std::string("\x81\0", 2));
  EXPECT_EQ(head(125), "\x81\x7D");
  EXPECT_EQ(head(126), std::string("\x81\x7E\0\x7E", 4));
  EXPECT_EQ(head(0x1234), "\x81\x7E\x12\x34");
  EXPECT_EQ(head(65535), "\x81\x7E\xFF\xFF");
  EXPECT_EQ(head(65536), std::string("\x81\x7F\0\0\0\0\0\1\0\0", 10));
  EXPECT_EQ(FrameHead(false, 1).Bytes(), "\x82\x01");
}

class SlowPageTest : public testing::Test {
 protected:
  static constexpr std::size_t kLength = 60000;  // Of a message that goes as one frame.

  SlowPageTest() : mOptions(RunningGateway::OptionsFor(mHost.Port())) {
    mOptions.mLimits.mSendBuffer = 4096;
  }

  void SendUpdate(char letter) {
    mHost.SendAll(dorn::station::Framed(R"({"Command":"UPDATE","Objects":[{"Value":")" +
                                        std::string(kLength, letter) + R"(","Name":"a"}]})"));
  }

  // Until part of a frame has gone to the page, and the rest waits.
  static bool WaitForQueue(RunningGateway& gateway) {
    const Deadline deadline;
    while (gateway.Metrics().mQueuedBytes == 0 && !deadline.IsOver()) std::this_thread::yield();
    return gateway.Metrics().mQueuedBytes > 0;
  }

  FakeHost mHost;
  dorn::gateway::Options mOptions;
};

// The kernel takes the first of them in many parts: an answer to a ping must not come between two.
TEST_F(SlowPageTest, GetsFramesInOnePieceWhateverElseIsWritten) {
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.EnterSlow(gateway.Port()));
  SendUpdate('a');
  ASSERT_TRUE(WaitForQueue(gateway));
  ASSERT_TRUE(page.SendFrame(kPing, "still there?"));
  gateway.Metrics();
  SendUpdate('b');
  SendUpdate('c');
  std::string letters;
  int pongs = 0;
  while (letters.size() < 3) {
    const auto message = page.Next();
    ASSERT_TRUE(message) << "after " << letters;
    if (message->mOpcode == kPong) {
      ++pongs;
      EXPECT_EQ(message->mPayload, "still there?");
      continue;
    }
    const char letter = static_cast<char>('a' + letters.size());
    ASSERT_NE(message->mPayload.find(std::string(kLength, letter)), std::string::npos);
    letters += letter;
  }
  if (pongs == 0) {
    const auto last = page.Next();
    ASSERT_TRUE(last);
    EXPECT_EQ(last->mOpcode, kPong);
  }
  const Deadline written;
  while (gateway.Metrics().mQueuedBytes > 0 && !written.IsOver()) std::this_thread::yield();
  EXPECT_EQ(gateway.Metrics().mQueuedBytes, 0u);
}

// What is held back for it goes with it.
TEST_F(SlowPageTest, MayGoInTheMidstOfAFrame) {
  RunningGateway gateway(mOptions);
  WebSocketPeer page;
  ASSERT_TRUE(page.EnterSlow(gateway.Port()));
  SendUpdate('a');
  ASSERT_TRUE(WaitForQueue(gateway));
  ASSERT_TRUE(page.SendFrame(kPing, "?"));
  page.Tcp().Reset();
  const Deadline deadline;
  while (gateway.Metrics().mConnections > 0 && !deadline.IsOver()) std::this_thread::yield();
  EXPECT_EQ(gateway.Metrics().mConnections, 0u);
  EXPECT_EQ(gateway.Metrics().mQueuedBytes, 0u);
}

// So that nothing is lost when the gateway goes first, either.
TEST_F(SlowPageTest, MayOutliveTheGateway) {
  mOptions.mTimes.mClose = dorn::gateway::Ms(10);
  WebSocketPeer page;
  {
    RunningGateway gateway(mOptions);
    ASSERT_TRUE(page.EnterSlow(gateway.Port()));
    SendUpdate('a');
    ASSERT_TRUE(WaitForQueue(gateway));
    ASSERT_TRUE(page.SendFrame(kPing, "?"));
  }
  EXPECT_TRUE(page.Tcp().WaitForClose());
}

}  // namespace
