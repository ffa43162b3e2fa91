// Tests of closing, sending and receiving, and of the log.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "dorn/net/KZSocket.h"
#include "tests/net/ResolverSpy.h"
#include "tests/net/TestSockets.h"
#include "tests/support/CapturedStdout.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestPipe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using KZSocketTransferTest = SocketTest;

// --- Closing ---

TEST_F(KZSocketTransferTest, CloseShutsDownClosesAsksForRemovalAndCallsItsHookLast) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  const int fd = socket.GetFD();
  int statusInHook = -1;
  int descriptorInHook = 0;
  bool openInHook = true;
  socket.mOnClose = [&] {
    statusInHook = socket.GetFDStatus();
    descriptorInHook = socket.GetFD();
    openInHook = fcntl(fd, F_GETFD) != -1;
  };
  EXPECT_EQ(socket.Close(), 0);
  EXPECT_THAT(socket.mEvents, ElementsAre("close"));
  EXPECT_EQ(statusInHook, 4);
  EXPECT_EQ(descriptorInHook, -1);
  EXPECT_FALSE(openInHook);
  EXPECT_EQ(List()->mRequest, 1);
  EXPECT_TRUE(peer.WaitForClose());
  EXPECT_THAT(mLog.mCalls, IsEmpty());
}

TEST_F(KZSocketTransferTest, CloseEndsTheStreamThoughSomebodyElseHoldsTheDescriptor) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  const TcpPeer copy(dup(socket.GetFD()));
  socket.Close();
  EXPECT_TRUE(peer.WaitForClose());
}

TEST_F(KZSocketTransferTest, CloseLeavesTheOtherDirectionToWhoeverHoldsTheDescriptor) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  TcpPeer copy(dup(socket.GetFD()));
  socket.Close();
  EXPECT_TRUE(peer.Send("x"));
  EXPECT_TRUE(copy.WaitFor(1));
  EXPECT_EQ(copy.Received(), "x");
}

TEST_F(KZSocketTransferTest, CloseWithoutAListLeavesTheDescriptorGone) {
  TestSocket socket(kLogSize, &mLog, nullptr);
  const TcpPeer peer = Join(socket);
  EXPECT_EQ(socket.Close(), 0);
  EXPECT_EQ(socket.GetFDStatus(), 3);
  EXPECT_THAT(socket.mEvents, ElementsAre("close"));
}

TEST_F(KZSocketTransferTest, ClosingTwiceIsHarmless) {
  TestSocket socket(kLogSize, &mLog, List());
  const TcpPeer peer = Join(socket);
  EXPECT_EQ(socket.Close(), 0);
  socket.TakeEvents();
  EXPECT_EQ(socket.Close(), -1);
  EXPECT_THAT(socket.mEvents, IsEmpty());
  EXPECT_THAT(mLog.mCalls, IsEmpty());
}

TEST_F(KZSocketTransferTest, ClosingTwiceWithinOnePassStillDestroysAnAutoDeleteSocket) {
  bool destroyed = false;
  class Dying : public TestSocket {
   public:
    Dying(KZStream* stream, KZFdDataList* list, bool* flag)
        : TestSocket(kLogSize, stream, list), mFlag(flag) {}
    ~Dying() override { *mFlag = true; }

   private:
    bool* const mFlag;
  };
  auto* const socket = new Dying(&mLog, List(), &destroyed);
  const TcpPeer peer = Join(*socket);
  socket->SetAutoDelete(1);
  socket->AddEvent();
  Settle();
  ASSERT_TRUE(IsLinked(socket));
  EXPECT_EQ(socket->Close(), 0);
  EXPECT_EQ(socket->Close(), -1);
  Settle();
  EXPECT_TRUE(destroyed);
}

TEST_F(KZSocketTransferTest, AFailedShutdownIsLoggedAndTheSocketClosedAllTheSame) {
  TestSocket socket(kLogSize, &mLog, List());
  const int fd = socket.Socket(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(socket.Close(), 0);
  EXPECT_THAT(mLog.Messages(),
              ElementsAre("ERROR: shutdown: Transport endpoint is not connected\n"));
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_THAT(socket.mEvents, ElementsAre("close"));
}

// Puts a pipe on descriptor 0 for a test, so that it shows whether 0 is closed or written to.
class PipeOnDescriptor0 {
 public:
  PipeOnDescriptor0() : mSaved(dup(0)) { dup2(mPipe.ReadEnd(), 0); }
  ~PipeOnDescriptor0() {
    if (mSaved < 0) {
      close(0);
      return;
    }
    dup2(mSaved, 0);
    close(mSaved);
  }
  bool IsOpen() const { return fcntl(0, F_GETFD) != -1; }

 private:
  TestPipe mPipe;
  int mSaved;
};

TEST_F(KZSocketTransferTest, ClosingASocketThatWasNeverOpenedClosesNothing) {
  const PipeOnDescriptor0 standardInput;
  TestSocket socket(kLogSize, &mLog, List());
  EXPECT_EQ(socket.Close(), -1);
  EXPECT_TRUE(standardInput.IsOpen());
  EXPECT_EQ(socket.GetFD(), 0);
  EXPECT_EQ(socket.GetFDStatus(), 0);
  EXPECT_THAT(socket.mEvents, IsEmpty());
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  EXPECT_EQ(List()->mRequest, 0);
}

TEST_F(KZSocketTransferTest, ClosingAfterAFailedOpenClosesNothing) {
  const PipeOnDescriptor0 standardInput;
  ResolverSpy spy;
  spy.mFailure = [](const ResolverSpy::Call&) { return EAI_FAIL; };
  TestClient client(kLogSize, &mLog, List());
  TestServer server(kLogSize, &mLog, List());
  TestUdp udp(kLogSize, &mLog, List());
  EXPECT_EQ(client.Open("host.invalid", 1, 3000), -1);
  EXPECT_EQ(server.Open("host.invalid", 1), -1);
  EXPECT_EQ(udp.Open("host.invalid", 1, 3000), -1);
  EXPECT_EQ(client.Close(), -1);
  EXPECT_EQ(server.Close(), -1);
  EXPECT_EQ(udp.Close(), -1);
  EXPECT_TRUE(standardInput.IsOpen());
}

TEST_F(KZSocketTransferTest, ASocketThatGotDescriptor0IsClosedLikeAnyOther) {
  const PipeOnDescriptor0 standardInput;
  TestSocket socket(kLogSize, &mLog, List());
  const TcpPeer peer = Join(socket);
  const int fd = socket.SetFD(0);
  dup2(fd, 0);
  close(fd);
  EXPECT_EQ(socket.Close(), 0);
  EXPECT_FALSE(standardInput.IsOpen());
}

TEST_F(KZSocketTransferTest, DestructionDoesNotClose) {
  int fd = -1;
  {
    TestSocket socket(kLogSize, &mLog, List());
    fd = socket.Socket(AF_INET, SOCK_STREAM, 0);
  }
  EXPECT_EQ(close(fd), 0);
}

// --- Sending ---

TEST_F(KZSocketTransferTest, SendReturnsTheNumberOfBytesSilently) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  EXPECT_EQ(socket.Send("hello", 5), 5);
  EXPECT_EQ(socket.Send("", 0), 0);
  ASSERT_TRUE(peer.WaitFor(5));
  EXPECT_EQ(peer.Received(), "hello");
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  socket.Close();
}

TEST_F(KZSocketTransferTest, SendTakesWhatFitsThenFailsWithoutBlockingOrClosing) {
  TestSocket socket(kLogSize, &mLog, List());
  const TcpPeer peer = Join(socket);
  const std::string bytes(50 * 1024 * 1024, 'x');
  const int first = socket.Send(bytes.data(), static_cast<int>(bytes.size()));
  EXPECT_GT(first, 0);
  EXPECT_LT(first, static_cast<int>(bytes.size()));
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  int result = 0;
  do {
    result = socket.Send(bytes.data(), static_cast<int>(bytes.size()));
  } while (result > 0);
  EXPECT_EQ(result, -1);
  EXPECT_THAT(mLog.Messages(),
              ElementsAre("sendエラー (Resource temporarily unavailable) result:-1\n"));
  EXPECT_EQ(socket.GetFDStatus(), 2);
  EXPECT_THAT(socket.mEvents, IsEmpty());
  socket.Close();
}

TEST_F(KZSocketTransferTest, AFailedSendKeepsItsErrnoThroughTheLog) {
  SpoilingStream log;
  TestSocket socket(kLogSize, &log, List());
  socket.Socket(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(socket.Send("x", 1), -1);
  EXPECT_EQ(errno, EPIPE);
  EXPECT_THAT(log.Messages(), ElementsAre("sendエラー (Broken pipe) result:-1\n"));
  socket.Close();
}

TEST_F(KZSocketTransferTest, SendingOnAClosedSocketFails) {
  TestSocket socket(kLogSize, &mLog, List());
  const TcpPeer peer = Join(socket);
  socket.Close();
  EXPECT_EQ(socket.Send("x", 1), -1);
  EXPECT_THAT(mLog.Messages(), ElementsAre("sendエラー (Bad file descriptor) result:-1\n"));
}

TEST_F(KZSocketTransferTest, ANegativeLengthSendsNothing) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  const std::string bytes(1000, 'x');
  EXPECT_EQ(socket.Send(bytes.data(), -1), -1);
  EXPECT_EQ(errno, EINVAL);
  const sockaddr_in address = LoopbackAddress(9);
  EXPECT_EQ(socket.SendTo(bytes.data(), -1, Generic(address), sizeof address), -1);
  EXPECT_THAT(mLog.Messages(), ElementsAre("sendエラー (Invalid argument) result:-1\n",
                                           "ERROR! KZSocket::SendTo sendto=(Invalid argument)\n"));
  EXPECT_EQ(socket.Send("y", 1), 1);
  ASSERT_TRUE(peer.WaitFor(1));
  EXPECT_EQ(peer.Received(), "y");
  socket.Close();
}

TEST_F(KZSocketTransferTest, SendToLogsAddressPortAndBytesAndReturnsZero) {
  UdpPeer peer;
  TestSocket socket(kLogSize, &mLog, List());
  socket.Socket(AF_INET, SOCK_DGRAM, 0);
  const sockaddr_in address = LoopbackAddress(peer.Port());
  EXPECT_EQ(socket.SendTo("hello", 5, Generic(address), sizeof address), 0);
  EXPECT_THAT(
      mLog.Messages(),
      ElementsAre("KZSocket::SendTo  127.0.0.1:" + std::to_string(peer.Port()) + " 5 byte\n"));
  std::string datagram;
  ASSERT_TRUE(peer.Receive(&datagram));
  EXPECT_EQ(datagram, "hello");
  socket.Close();
}

TEST_F(KZSocketTransferTest, AFailedSendToLogsAndReturnsMinus1WithoutClosing) {
  TestSocket socket(kLogSize, &mLog, List());
  socket.Socket(AF_INET, SOCK_DGRAM, 0);
  const std::string tooLong(70000, 'x');
  const sockaddr_in address = LoopbackAddress(9);
  EXPECT_EQ(socket.SendTo(tooLong.data(), 70000, Generic(address), sizeof address), -1);
  EXPECT_THAT(mLog.Messages(), ElementsAre("ERROR! KZSocket::SendTo sendto=(Message too long)\n"));
  EXPECT_EQ(socket.GetFDStatus(), 1);
  socket.Close();
}

TEST_F(KZSocketTransferTest, SendToWithoutADescriptorReturnsMinus1AndLogsNothing) {
  const sockaddr_in address = LoopbackAddress(9);
  TestSocket fresh(kLogSize, &mLog, List());
  EXPECT_EQ(fresh.SendTo("x", 1, Generic(address), sizeof address), -1);
  TestSocket closed(kLogSize, &mLog, List());
  const TcpPeer peer = Join(closed);
  closed.Close();
  EXPECT_EQ(closed.SendTo("x", 1, Generic(address), sizeof address), -1);
  EXPECT_THAT(mLog.mCalls, IsEmpty());
}

// --- Receiving ---

TEST_F(KZSocketTransferTest, ReceivedBytesAreAppendedAndAnnouncedWithTheSender) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  socket.CreateBuffer(5000);
  peer.Send("hello");
  socket.ReadyToRead();
  peer.Send(" you");
  socket.ReadyToRead();
  EXPECT_THAT(socket.mEvents, ElementsAre("receive", "receive"));
  EXPECT_EQ(socket.Take(), "hello you");
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  socket.Close();
}

TEST_F(KZSocketTransferTest, ReceivesAtMost1500BytesAtOnce) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  socket.CreateBuffer(5000);
  peer.Send(std::string(1700, 'x'));
  socket.ReadyToRead();
  EXPECT_EQ(socket.GetDataLength(), 1500);
  socket.ReadyToRead();
  EXPECT_EQ(socket.GetDataLength(), 1700);
  socket.Close();
}

TEST_F(KZSocketTransferTest, WithoutReadinessOnlyAnnouncesBufferedData) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  socket.CreateBuffer(1400);
  peer.Send("unread");
  socket.SetSelect(0);
  socket.ReadyToRead();
  EXPECT_THAT(socket.mEvents, ElementsAre("receive null 0", "notice 1000 0"));
  EXPECT_EQ(socket.GetDataLength(), 0);
  socket.Close();
}

TEST_F(KZSocketTransferTest, ANearlyFullBufferIsNoticedAfterTheReceiveHook) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  socket.CreateBuffer(1502);
  peer.Send("abc");
  socket.ReadyToRead();
  EXPECT_THAT(socket.TakeEvents(), ElementsAre("receive", "notice 1000 0"));
  socket.mOnReceive = [&] { socket.Take(); };
  peer.Send("abc");
  socket.ReadyToRead();
  EXPECT_THAT(socket.TakeEvents(), ElementsAre("receive"));
  socket.Close();
}

TEST_F(KZSocketTransferTest, BytesThatDoNotFitAreLost) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  socket.CreateBuffer(4);
  peer.Send("abcdef");
  socket.ReadyToRead();
  EXPECT_EQ(socket.Take(), "abcd");
  socket.Close();
}

TEST_F(KZSocketTransferTest, APeerThatClosesGivesOnCloseAndNothingElse) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  socket.CreateBuffer(100);
  peer.Close();
  socket.ReadyToRead();
  EXPECT_THAT(socket.mEvents, ElementsAre("close"));
  EXPECT_EQ(socket.GetFD(), -1);
}

TEST_F(KZSocketTransferTest, AReceiveFailureIsNoticedLoggedAndCloses) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  socket.CreateBuffer(100);
  peer.Reset();
  socket.ReadyToRead();
  EXPECT_THAT(socket.mEvents, ElementsAre("notice 1002 " + std::to_string(ECONNRESET), "close"));
  EXPECT_EQ(mLog.Messages().front(), "recvfrom (Connection reset by peer)\n");
  EXPECT_EQ(socket.GetFDStatus(), 4);
}

TEST_F(KZSocketTransferTest, AReceiveFailureIsNoticedBeforeItIsLogged) {
  struct Notified : KZSocket {
    using KZSocket::KZSocket;
    int OnNotice(int, int) override {
      logged = log->Messages();
      return 0;
    }
    const RecordingStream* log = nullptr;
    std::vector<std::string> logged = {"no notice"};
  } socket(kLogSize, &mLog, List());
  socket.log = &mLog;
  const TcpPeer peer = Join(socket);
  socket.ReadyToRead();
  EXPECT_THAT(socket.logged, IsEmpty());
  EXPECT_EQ(mLog.Messages().front(), "recvfrom (Resource temporarily unavailable)\n");
}

TEST_F(KZSocketTransferTest, AReceiveThatWouldBlockCountsAsAFailure) {
  TestSocket socket(kLogSize, &mLog, List());
  const TcpPeer peer = Join(socket);
  socket.CreateBuffer(100);
  socket.ReadyToRead();
  EXPECT_THAT(socket.mEvents, ElementsAre("notice 1002 " + std::to_string(EAGAIN), "close"));
  EXPECT_EQ(mLog.Messages().front(), "recvfrom (Resource temporarily unavailable)\n");
}

TEST_F(KZSocketTransferTest, ASelectedSocketWithoutADescriptorReceivesNothing) {
  TestSocket socket(kLogSize, &mLog, List());
  const TcpPeer peer = Join(socket);
  socket.CreateBuffer(100);
  socket.Close();
  socket.TakeEvents();
  socket.ReadyToRead();
  EXPECT_THAT(socket.mEvents, IsEmpty());
}

TEST_F(KZSocketTransferTest, AReceiveHookMayCloseTheSocket) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  socket.CreateBuffer(5000);
  socket.mOnReceive = [&] { socket.Close(); };
  peer.Send("x");
  socket.ReadyToRead();
  EXPECT_THAT(socket.mEvents, ElementsAre("receive", "close"));
  EXPECT_EQ(socket.GetFD(), -1);
}

TEST_F(KZSocketTransferTest, ANearlyFullBufferIsNoticedThoughTheReceiveHookClosed) {
  TestSocket socket(kLogSize, &mLog, List());
  TcpPeer peer = Join(socket);
  socket.CreateBuffer(1500);
  socket.mOnReceive = [&] { socket.Close(); };
  peer.Send("x");
  socket.ReadyToRead();
  EXPECT_THAT(socket.mEvents, ElementsAre("receive", "close", "notice 1000 0"));
}

// --- Logs ---

TEST_F(KZSocketTransferTest, MessagesCarryTheTimeSinceTheSocketWasMade) {
  FakeClock clock;
  TestSocket socket(kLogSize, &mLog, List());
  clock.AdvanceMs(3725500);
  socket.Socket(9999, SOCK_STREAM, 0);
  EXPECT_EQ(mLog.mCalls.front(), " 01:02:05.500 ");
}

TEST_F(KZSocketTransferTest, WithoutASinkMessagesGoToStandardOutput) {
  const FakeClock clock;
  CapturedStdout captured;
  TestSocket socket(kLogSize, nullptr, List());
  socket.Socket(9999, SOCK_STREAM, 0);
  EXPECT_EQ(
      captured.Text(),
      " 00:00:00.000 ソケット作成できませんでした (Address family not supported by protocol)\n");
}

}  // namespace
