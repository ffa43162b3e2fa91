// Frames that are sent past Beast, and what Beast sends itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/io_context.hpp>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "station/Framing.h"
#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"
#include "tests/support/TcpPeer.h"
#include "tools/dorn-gateway/DirectStream.h"

namespace {

using dorn::gateway::DirectStream;
using dorn::gateway::FrameHead;
using Taken = DirectStream::Taken;

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

// A stream whose other end does not read at first, held as a page's is: by what it still has to do.
class StuckStreamTest : public testing::Test {
 protected:
  static constexpr int kSmallBuffer = 4096;

  struct Held {
    explicit Held(dorn::gateway::TcpSocket&& socket)
        : mStream(dorn::gateway::TcpStream(std::move(socket))) {}
    DirectStream mStream;
    bool mIsFinished = false;
    boost::beast::error_code mAnswered = boost::asio::error::in_progress;
  };

  StuckStreamTest() {
    using boost::asio::ip::tcp;
    boost::asio::basic_socket_acceptor<tcp, dorn::gateway::Executor> acceptor(
        *mIo, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0));
    EXPECT_TRUE(mPeer.Connect(acceptor.local_endpoint().port(), kSmallBuffer));
    dorn::gateway::TcpSocket socket = acceptor.accept();
    socket.set_option(boost::asio::socket_base::send_buffer_size(kSmallBuffer));
    mHeld = std::make_shared<Held>(std::move(socket));
  }

  Taken Offer(const std::string& payload) const {
    return mHeld->mStream.Offer(FrameHead(true, payload.size()), payload);
  }
  void Finish() const {
    mHeld->mStream.Finish(
        mLong, [held = mHeld](const boost::beast::error_code&) { held->mIsFinished = true; });
  }
  // As Beast writes what it has to say itself.
  void Answer(const std::string& bytes) const {
    boost::asio::async_write(mHeld->mStream, boost::asio::buffer(bytes),
                             [held = mHeld](const boost::beast::error_code& error, std::size_t) {
                               held->mAnswered = error;
                             });
  }
  bool HasAnswered() const { return mHeld->mAnswered != boost::asio::error::in_progress; }
  // Reads what comes until the answer has gone.
  std::string ReadUntilAnswered() {
    std::string bytes;
    for (const Deadline deadline; !HasAnswered() && !deadline.IsOver();) {
      mIo->restart();
      mIo->poll();
      bytes += mPeer.Take();
    }
    EXPECT_EQ(mHeld->mAnswered, boost::beast::error_code());
    return bytes;
  }
  static std::string Framed(const std::string& payload) {
    return std::string(FrameHead(true, payload.size()).Bytes()) + payload;
  }

  const std::string mLong = std::string(1'000'000, 'a');
  const std::string mPong = "\x8A\1?";
  std::unique_ptr<boost::asio::io_context> mIo = std::make_unique<boost::asio::io_context>();
  TcpPeer mPeer;
  std::shared_ptr<Held> mHeld;
};

// Where both wait for room, the system would give it to one after the other, and in parts.
TEST_F(StuckStreamTest, HoldsAnAnswerBackUntilTheFrameHasGone) {
  ASSERT_EQ(Offer(mLong), Taken::kPart);
  Finish();
  Answer(mPong);
  EXPECT_EQ(Offer("b"), Taken::kNothing);
  std::string bytes = ReadUntilAnswered();
  ASSERT_EQ(Offer("c"), Taken::kAll);
  const std::string expected = Framed(mLong) + mPong + Framed("c");
  for (const Deadline deadline; bytes.size() < expected.size() && !deadline.IsOver();) {
    bytes += mPeer.Take();
  }
  EXPECT_TRUE(bytes == expected) << bytes.size() << " bytes of " << expected.size();
  EXPECT_TRUE(mHeld->mIsFinished);
}

TEST_F(StuckStreamTest, TakesNoFrameInTheMidstOfAnAnswer) {
  Answer(mLong);
  mIo->poll();
  ASSERT_FALSE(HasAnswered());
  std::string bytes;
  for (const Deadline deadline; bytes.empty() && !deadline.IsOver();) bytes = mPeer.Take();
  EXPECT_EQ(Offer("b"), Taken::kNothing);
  bytes += ReadUntilAnswered();
  for (const Deadline deadline; bytes.size() < mLong.size() && !deadline.IsOver();) {
    bytes += mPeer.Take();
  }
  EXPECT_TRUE(bytes == mLong) << bytes.size() << " bytes";
}

TEST_F(StuckStreamTest, TellsWhoeverWasHeldBackThatTheOtherEndHasGone) {
  ASSERT_EQ(Offer(mLong), Taken::kPart);
  Finish();
  Answer(mPong);
  mPeer.Reset();
  for (const Deadline deadline; !HasAnswered() && !deadline.IsOver();) {
    mIo->restart();
    mIo->poll();
  }
  EXPECT_TRUE(HasAnswered());
  EXPECT_TRUE(mHeld->mAnswered);
  EXPECT_TRUE(mHeld->mIsFinished);
}

// The stream lives by what it has to do: nothing of that may live by the stream.
TEST_F(StuckStreamTest, GoesWithTheLoopAlthoughSomethingIsHeldBack) {
  ASSERT_EQ(Offer(mLong), Taken::kPart);
  Finish();
  Answer(mPong);
  const std::weak_ptr<Held> held = std::exchange(mHeld, nullptr);
  ASSERT_FALSE(held.expired());
  mIo.reset();
  EXPECT_TRUE(held.expired());
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

  // The page is logged in, part of a frame has gone to it, the rest waits, and it has sent a ping.
  void GetStuck(RunningGateway& gateway) {
    ASSERT_TRUE(mPage.EnterSlow(gateway.Port()));
    SendUpdate('a');
    const Deadline deadline;
    while (gateway.Metrics().mQueuedBytes == 0 && !deadline.IsOver()) std::this_thread::yield();
    ASSERT_GT(gateway.Metrics().mQueuedBytes, 0u);
    ASSERT_TRUE(mPage.SendFrame(kPing, "still there?"));
  }

  FakeHost mHost;
  dorn::gateway::Options mOptions;
  WebSocketPeer mPage;
};

// The kernel takes the first of them in many parts: an answer to a ping must not come between two.
TEST_F(SlowPageTest, GetsFramesInOnePieceWhateverElseIsWritten) {
  RunningGateway gateway(mOptions);
  ASSERT_NO_FATAL_FAILURE(GetStuck(gateway));
  SendUpdate('b');
  SendUpdate('c');
  std::string letters;
  int pongs = 0;
  while (letters.size() < 3) {
    const auto message = mPage.Next();
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
    const auto last = mPage.Next();
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
  ASSERT_NO_FATAL_FAILURE(GetStuck(gateway));
  mPage.Tcp().Reset();
  const Deadline deadline;
  while (gateway.Metrics().mConnections > 0 && !deadline.IsOver()) std::this_thread::yield();
  EXPECT_EQ(gateway.Metrics().mConnections, 0u);
  EXPECT_EQ(gateway.Metrics().mQueuedBytes, 0u);
}

}  // namespace
