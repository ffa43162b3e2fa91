#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <type_traits>

#include "dorn/net/KZSocket.h"
#include "tests/net/ResolverSpy.h"
#include "tests/net/TestSockets.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/VirtualSlot.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using KZSocketUdpTest = SocketTest;

TEST_F(KZSocketUdpTest, IsARecordOfType2WithAnUnusedBackPointer) {
  const KZSocketUdp udp(512, &mLog, List());
  EXPECT_EQ(udp.GetType(), 2);
  EXPECT_EQ(udp.KZFdData::mStatus, 0);
  EXPECT_EQ(udp.GetAutoDelete(), 0);
  EXPECT_EQ(udp.mApp, nullptr);
  EXPECT_EQ(udp.mLog.GetSize(), 512);
  EXPECT_TRUE(AreInOrder({MemberAddress(udp.mLog), MemberAddress(udp.mApp)}));
  static_assert(std::is_same_v<decltype(KZSocketUdp::mApp), KZApplication*>);
}

TEST_F(KZSocketUdpTest, AddsNoSlots) {
  EXPECT_EQ(VirtualSlot(&KZSocketUdp::OnOpen), 7);
  EXPECT_EQ(VirtualSlot(&KZSocketUdp::OnClose), 8);
  EXPECT_EQ(VirtualSlot(&KZSocketUdp::Open), -1);
  using ByHost = int (KZSocketUdp::*)(const void*, unsigned int, const char*, unsigned short);
  EXPECT_EQ(VirtualSlot<ByHost>(&KZSocketUdp::SendTo), -1);
}

TEST_F(KZSocketUdpTest, OpenBindsIsActiveAndCallsOnOpen) {
  TestUdp udp(kLogSize, &mLog, List());
  ResolverSpy spy;
  const int fd = udp.Open("127.0.0.1", 0, 5000);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(udp.GetFD(), fd);
  EXPECT_EQ(udp.GetFDStatus(), 2);
  EXPECT_EQ(udp.mBufferSize, 5000);
  EXPECT_GT(PortOf(fd), 0);
  EXPECT_THAT(List()->mAddRequest, ElementsAre(&udp));
  EXPECT_THAT(udp.mEvents, ElementsAre("open"));
  EXPECT_THAT(mLog.Messages(), ElementsAre("接続待ち開始 127.0.0.1:0\n",
                                           "接続しました(" + std::to_string(fd) + ")\n"));
  EXPECT_EQ(spy.mCalls.at(0).mHints.ai_flags, 33);
  EXPECT_EQ(spy.mCalls.at(0).mHints.ai_family, AF_INET);
  EXPECT_EQ(spy.mCalls.at(0).mHints.ai_socktype, SOCK_DGRAM);
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, OnOpenFindsTheSocketActiveAndGivenToTheList) {
  struct Opened : KZSocketUdp {
    using KZSocketUdp::KZSocketUdp;
    void OnOpen() override {
      status = GetFDStatus();
      id = GetId();
    }
    int status = -1;
    int id = -1;
  } udp(kLogSize, &mLog, List());
  ASSERT_GE(udp.Open("127.0.0.1", 0, 0), 0);
  EXPECT_EQ(udp.status, 2);
  EXPECT_EQ(udp.id, 0x10000000);
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, TheSocketIsNonBlockingReusableAndNotInherited) {
  TestUdp udp(kLogSize, &mLog, List());
  const int fd = udp.Open("127.0.0.1", 0, 0);
  EXPECT_TRUE(fcntl(fd, F_GETFL) & O_NONBLOCK);
  EXPECT_TRUE(fcntl(fd, F_GETFD) & FD_CLOEXEC);
  int reuse = 0;
  socklen_t length = sizeof reuse;
  getsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &reuse, &length);
  EXPECT_EQ(reuse, 1);
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, OpenRaisesASmallBufferTo3000) {
  const struct {
    int asked;
    int expected;
  } rows[] = {{0, 3000}, {-1, 3000}, {2999, 3000}, {3000, 3000}, {4000, 4000}};
  for (const auto& row : rows) {
    TestUdp udp(kLogSize, &mLog, List());
    udp.Open("127.0.0.1", 0, row.asked);
    EXPECT_EQ(udp.mBufferSize, row.expected) << row.asked;
    udp.Close();
    Settle();
  }
}

TEST_F(KZSocketUdpTest, OpenAndSendToGiveBackTheAddressesTheyHaveFound) {
  const UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  const ResolverSpy spy;
  udp.Open("127.0.0.1", 0, 0);
  EXPECT_EQ(spy.mFreed.size(), 1u);
  udp.SendTo("x", 1u, "127.0.0.1", static_cast<unsigned short>(peer.Port()));
  EXPECT_EQ(spy.mFreed.size(), 2u);
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, OpenWithoutAHostBindsAllAddresses) {
  TestUdp udp(kLogSize, &mLog, List());
  const int fd = udp.Open(nullptr, 0, 0);
  ASSERT_GE(fd, 0);
  sockaddr_in address{};
  socklen_t length = sizeof address;
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_ANY));
  EXPECT_TRUE(udp.Has("open"));
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, OpenWithoutAHostLogsThatThereIsNone) {
  TestUdp udp(kLogSize, &mLog, List());
  udp.Open(nullptr, 0, 0);
  EXPECT_EQ(mLog.Messages().front(), "接続待ち開始 (null):0\n");
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, OpenWithAHostThatDoesNotResolveReturnsMinus1) {
  TestUdp udp(kLogSize, &mLog, List());
  ResolverSpy spy;
  spy.mFailure = [](const ResolverSpy::Call&) { return EAI_NONAME; };
  EXPECT_EQ(udp.Open("host.invalid", 0, 0), -1);
  EXPECT_THAT(mLog.Messages(), ElementsAre("エラー getaddrinfo: (Name or service not known)\n"));
  EXPECT_EQ(udp.GetFDStatus(), 0);
  EXPECT_EQ(udp.mBufferSize, 3000);
}

TEST_F(KZSocketUdpTest, OpenOfATakenPortGoesOnAndReturnsTheClosedDescriptor) {
  const UdpPeer taken;
  TestUdp udp(kLogSize, &mLog, List());
  const int fd = udp.Open("127.0.0.1", taken.Port(), 0);
  EXPECT_GE(fd, 0);
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_EQ(udp.GetFD(), -1);
  EXPECT_THAT(udp.mEvents, ElementsAre("close", "open"));
  EXPECT_THAT(
      mLog.Messages(),
      ElementsAre("バインドできませんでした (Address already in use)\n",
                  "ERROR: shutdown: Transport endpoint is not connected\n", "切断しました\n",
                  "接続待ち開始 127.0.0.1:" + std::to_string(taken.Port()) + "\n",
                  "接続しました(-1)\n"));
}

TEST_F(KZSocketUdpTest, AFailedOpenMayBeRepeatedOnceThePortIsFree) {
  auto taken = std::make_unique<UdpPeer>();
  const int port = taken->Port();
  TestUdp udp(kLogSize, &mLog, List());
  udp.Open("127.0.0.1", port, 0);
  Settle();
  taken.reset();
  udp.Open("127.0.0.1", port, 0);
  Settle();
  EXPECT_TRUE(IsLinked(&udp));
  UdpPeer peer;
  ASSERT_TRUE(peer.Send(port, "hello"));
  EXPECT_TRUE(RunUntil([&] { return udp.GetDataLength() == 5; }));
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, ASocketReopenedInThePassInWhichItWasReadyStaysOpen) {
  UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  TestUdp other(kLogSize, &mLog, List());
  const int otherPort = PortOf(other.Open("127.0.0.1", 0, 0));
  const int port = PortOf(udp.Open("127.0.0.1", 0, 0));
  Settle();
  other.mOnReceive = [&] {
    other.Take();
    udp.Close();
    udp.Open("127.0.0.1", port, 0);
  };
  ASSERT_TRUE(peer.Send(port, "lost with the old socket"));
  ASSERT_TRUE(peer.Send(otherPort, "x"));
  mApp.RunPass();
  EXPECT_TRUE(udp.Has("close"));
  EXPECT_GE(udp.GetFD(), 0);
  Settle();
  ASSERT_TRUE(peer.Send(port, "hello"));
  EXPECT_TRUE(RunUntil([&] { return udp.GetDataLength() == 5; }));
  udp.Close();
  other.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, ADatagramArrivesInTheBufferWithItsSender) {
  UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  const int port = PortOf(udp.Open("127.0.0.1", 0, 0));
  udp.TakeEvents();
  ASSERT_TRUE(peer.Send(port, "hello"));
  ASSERT_TRUE(RunUntil([&] { return udp.GetDataLength() == 5; }));
  EXPECT_EQ(udp.mEvents.front(), "receive");
  EXPECT_EQ(udp.mSenderPort, peer.Port());
  EXPECT_EQ(udp.Take(), "hello");
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, DatagramsAreAppendedOneForEachReadiness) {
  UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  const int port = PortOf(udp.Open("127.0.0.1", 0, 6000));
  udp.TakeEvents();
  peer.Send(port, "one ");
  peer.Send(port, "two");
  udp.SetSelect(1);
  udp.ReadyToRead();
  EXPECT_EQ(udp.GetDataLength(), 4);
  udp.ReadyToRead();
  EXPECT_EQ(udp.Take(), "one two");
  EXPECT_THAT(udp.mEvents, ElementsAre("receive", "receive"));
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, ALongDatagramIsCutTo1500Bytes) {
  UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  const int port = PortOf(udp.Open("127.0.0.1", 0, 6000));
  peer.Send(port, std::string(1501, 'x'));
  peer.Send(port, "next");
  udp.SetSelect(1);
  udp.ReadyToRead();
  EXPECT_EQ(udp.GetDataLength(), 1500);
  udp.ReadyToRead();
  EXPECT_EQ(udp.GetDataLength(), 1504);
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, AnEmptyDatagramClosesTheSocket) {
  UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  const int port = PortOf(udp.Open("127.0.0.1", 0, 0));
  Settle();
  udp.TakeEvents();
  mLog.Clear();
  ASSERT_TRUE(peer.Send(port, ""));
  ASSERT_TRUE(RunUntil([&] { return udp.GetFD() < 0; }));
  EXPECT_THAT(udp.mEvents, ElementsAre("close"));
  EXPECT_EQ(mLog.Messages().back(), "切断しました\n");
  Settle();
  EXPECT_FALSE(IsLinked(&udp));
}

TEST_F(KZSocketUdpTest, OnCloseMayOpenTheSocketAgainAfterAnEmptyDatagram) {
  UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  const int port = PortOf(udp.Open("127.0.0.1", 0, 0));
  Settle();
  udp.mOnClose = [&] {
    udp.mOnClose = nullptr;
    udp.Open("127.0.0.1", port, 0);
  };
  ASSERT_TRUE(peer.Send(port, ""));
  ASSERT_TRUE(RunUntil([&] { return udp.Has("close"); }));
  ASSERT_TRUE(peer.Send(port, "still there"));
  ASSERT_TRUE(RunUntil([&] { return udp.GetDataLength() == 11; }));
  EXPECT_TRUE(IsLinked(&udp));
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, SendToSendsOneDatagramToHostAndPort) {
  UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  const int port = PortOf(udp.Open("127.0.0.1", 0, 0));
  mLog.Clear();
  ResolverSpy spy;
  const auto peerPort = static_cast<unsigned short>(peer.Port());
  EXPECT_EQ(udp.SendTo("hello", 5u, "127.0.0.1", peerPort), 0);
  std::string datagram;
  ASSERT_TRUE(peer.Receive(&datagram));
  EXPECT_EQ(datagram, "hello");
  EXPECT_THAT(mLog.Messages(),
              ElementsAre("KZSocket::SendTo  127.0.0.1:" + std::to_string(peerPort) + " 5 byte\n"));
  EXPECT_EQ(spy.mCalls.at(0).mHints.ai_flags, 32);
  EXPECT_EQ(spy.mCalls.at(0).mHints.ai_family, AF_INET);
  EXPECT_EQ(spy.mCalls.at(0).mHints.ai_socktype, SOCK_DGRAM);
  EXPECT_EQ(spy.mCalls.at(0).mPort, std::to_string(peerPort));
  EXPECT_NE(port, peerPort);
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, AnEmptyDatagramIsSentAndNoFailure) {
  UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  ASSERT_GE(udp.Open("127.0.0.1", 0, 0), 0);
  mLog.Clear();
  const auto port = static_cast<unsigned short>(peer.Port());
  EXPECT_EQ(udp.SendTo("", 0u, "127.0.0.1", port), 0);
  std::string datagram = "none";
  ASSERT_TRUE(peer.Receive(&datagram));
  EXPECT_EQ(datagram, "");
  EXPECT_THAT(mLog.Messages(),
              ElementsAre("KZSocket::SendTo  127.0.0.1:" + std::to_string(port) + " 0 byte\n"));
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, SendToAnUnresolvableHostReturnsMinus1AfterLogging) {
  TestUdp udp(kLogSize, &mLog, List());
  udp.Open("127.0.0.1", 0, 0);
  mLog.Clear();
  ResolverSpy spy;
  spy.mFailure = [](const ResolverSpy::Call&) { return EAI_NONAME; };
  EXPECT_EQ(udp.SendTo("x", 1u, "host.invalid", static_cast<unsigned short>(9)), -1);
  EXPECT_THAT(mLog.Messages(), ElementsAre("エラー getaddrinfo: (Name or service not known)\n"));
  EXPECT_EQ(udp.GetFDStatus(), 2);
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, AFailedSendToReturnsMinus1AndKeepsTheSocket) {
  TestUdp udp(kLogSize, &mLog, List());
  udp.Open("127.0.0.1", 0, 0);
  mLog.Clear();
  const std::string tooLong(70000, 'x');
  EXPECT_EQ(udp.SendTo(tooLong.data(), 70000u, "127.0.0.1", static_cast<unsigned short>(9)), -1);
  EXPECT_THAT(mLog.Messages(), ElementsAre("ERROR! KZSocket::SendTo sendto=(Message too long)\n"));
  EXPECT_EQ(udp.GetFDStatus(), 2);
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, SendToWithoutADescriptorReturnsMinus1Silently) {
  TestUdp udp(kLogSize, &mLog, List());
  EXPECT_EQ(udp.SendTo("x", 1u, "127.0.0.1", static_cast<unsigned short>(9)), -1);
  EXPECT_THAT(mLog.mCalls, IsEmpty());
}

TEST_F(KZSocketUdpTest, TheSendToOfTheBaseIsReachableToo) {
  UdpPeer peer;
  TestUdp udp(kLogSize, &mLog, List());
  udp.Open("127.0.0.1", 0, 0);
  const sockaddr_in address = LoopbackAddress(peer.Port());
  EXPECT_EQ(udp.SendTo("x", 1, Generic(address), static_cast<unsigned int>(sizeof address)), 0);
  std::string datagram;
  ASSERT_TRUE(peer.Receive(&datagram));
  EXPECT_EQ(datagram, "x");
  udp.Close();
  Settle();
}

TEST_F(KZSocketUdpTest, ItsHooksWriteLogLines) {
  KZSocketUdp udp(kLogSize, &mLog, List());
  udp.SetFD(77);
  udp.OnOpen();
  udp.OnClose();
  EXPECT_THAT(mLog.Messages(), ElementsAre("接続しました(77)\n", "切断しました\n"));
}

}  // namespace
