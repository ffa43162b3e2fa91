#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "dorn/net/KZSocket.h"
#include "tests/net/ResolverSpy.h"
#include "tests/net/TestSockets.h"
#include "tests/support/VirtualSlot.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using KZServerSocketTest = SocketTest;

std::string Number(int number) { return std::to_string(number); }

TEST_F(KZServerSocketTest, IsARecordOfType2ThatIsNotOpenYet) {
  KZServerSocket server(512, &mLog, List());
  EXPECT_EQ(server.GetType(), 2);
  EXPECT_EQ(server.GetFDStatus(), 0);
  EXPECT_EQ(server.GetAutoDelete(), 0);
  EXPECT_EQ(server.GetFdDataList(), List());
  EXPECT_EQ(server.Log().GetSize(), 512);
}

TEST_F(KZServerSocketTest, AddsNoFieldsAndNoSlots) {
  EXPECT_EQ(sizeof(KZServerSocket), sizeof(KZSocket));
  EXPECT_EQ(VirtualSlot(&KZServerSocket::OnAccept), 11);
  EXPECT_EQ(VirtualSlot(&KZServerSocket::ReadyToRead), 2);
  EXPECT_EQ(VirtualSlot(&KZServerSocket::OnOpen), 7);
  EXPECT_EQ(VirtualSlot(&KZServerSocket::OnClose), 8);
  EXPECT_EQ(VirtualSlot(&KZServerSocket::OnListen), 9);
  EXPECT_EQ(VirtualSlot(&KZServerSocket::Open), -1);
}

TEST_F(KZServerSocketTest, OpenListensThenCallsOnOpen) {
  TestServer server(kLogSize, &mLog, List());
  const int fd = server.Open("127.0.0.1", 0);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(server.GetFD(), fd);
  EXPECT_EQ(server.GetFDStatus(), 2);
  EXPECT_THAT(List()->mAddRequest, ElementsAre(&server));
  EXPECT_THAT(server.mEvents, ElementsAre("listen", "open"));
  EXPECT_THAT(mLog.Messages(), ElementsAre("待ち受け開始しました\n",
                                           "待受けソケットオープンしました(" + Number(fd) + ")\n"));
  TcpPeer peer;
  EXPECT_TRUE(peer.Connect(PortOf(fd)));
  server.Close();
  Settle();
}

TEST_F(KZServerSocketTest, OpenAsksForAPassiveStreamAddress) {
  TestServer server(kLogSize, &mLog, List());
  ResolverSpy spy;
  ASSERT_GE(server.Open(nullptr, 0), 0);
  ASSERT_FALSE(spy.mCalls.empty());
  EXPECT_EQ(spy.mCalls[0].mHost, std::nullopt);
  EXPECT_EQ(spy.mCalls[0].mHints.ai_flags, 33);
  EXPECT_EQ(spy.mCalls[0].mHints.ai_family, AF_INET);
  EXPECT_EQ(spy.mCalls[0].mHints.ai_socktype, SOCK_STREAM);
  server.Close();
  Settle();
}

TEST_F(KZServerSocketTest, OpenGivesBackTheAddressItHasFound) {
  TestServer server(kLogSize, &mLog, List());
  const ResolverSpy spy;
  server.Open("127.0.0.1", 0);
  EXPECT_EQ(spy.mFreed.size(), 1u);
  server.Close();
  Settle();
}

TEST_F(KZServerSocketTest, OpenWithoutAHostListensOnAllAddresses) {
  TestServer server(kLogSize, &mLog, List());
  const int fd = server.Open(nullptr, 0);
  ASSERT_GE(fd, 0);
  sockaddr_in address{};
  socklen_t length = sizeof address;
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_ANY));
  server.Close();
  Settle();
}

TEST_F(KZServerSocketTest, TheBacklogIs128) {
  TestServer server(kLogSize, &mLog, List());
  const int fd = server.Open("127.0.0.1", 0);
  tcp_info info{};
  socklen_t length = sizeof info;
  ASSERT_EQ(getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &length), 0);
  EXPECT_EQ(info.tcpi_sacked, 128u);  // Where Linux tells the backlog of a listening socket.
  server.Close();
  Settle();
}

TEST_F(KZServerSocketTest, OpenWithAHostThatDoesNotResolveReturnsMinus1) {
  TestServer server(kLogSize, &mLog, List());
  ResolverSpy spy;
  spy.mFailure = [](const ResolverSpy::Call&) { return EAI_NONAME; };
  EXPECT_EQ(server.Open("host.invalid", 0), -1);
  EXPECT_THAT(mLog.Messages(), ElementsAre("エラー getaddrinfo: (Name or service not known)\n"));
  EXPECT_THAT(server.mEvents, IsEmpty());
  EXPECT_EQ(server.GetFDStatus(), 0);
}

TEST_F(KZServerSocketTest, OpenWithoutAFreeDescriptorReturnsMinus1AndDoesNothingMore) {
  TestServer server(kLogSize, &mLog, List());
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const int next = dup(2);
  close(next);
  const rlimit none{static_cast<rlim_t>(next), before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const int result = server.Open("127.0.0.1", 0);
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(result, -1);
  EXPECT_THAT(mLog.Messages(), ElementsAre("ソケット作成できませんでした (Too many open files)\n"));
  EXPECT_THAT(server.mEvents, IsEmpty());
}

TEST_F(KZServerSocketTest, OpenOfATakenPortGoesOnAndReturnsTheClosedDescriptor) {
  const TcpAcceptor taken;
  TestServer server(kLogSize, &mLog, List());
  const int fd = server.Open("127.0.0.1", taken.Port());
  EXPECT_GE(fd, 0);
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_EQ(server.GetFD(), -1);
  EXPECT_NE(server.GetFDStatus(), 2);
  EXPECT_THAT(server.mEvents, ElementsAre("close", "open"));
  EXPECT_THAT(mLog.Messages(), ElementsAre("バインドできませんでした (Address already in use)\n",
                                           "ERROR: shutdown: Transport endpoint is not connected\n",
                                           "待ち受けを中止しました\n",
                                           "待受け開始できませんでした。 Bad file descriptor\n",
                                           "待受けソケットオープンしました(-1)\n"));
  Settle();
  EXPECT_FALSE(IsLinked(&server));
}

TEST_F(KZServerSocketTest, AFailedOpenMayBeRepeatedOnceThePortIsFree) {
  auto taken = std::make_unique<TcpAcceptor>();
  const int port = taken->Port();
  TestServer server(kLogSize, &mLog, List());
  server.Open("127.0.0.1", port);
  Settle();
  taken.reset();
  const int fd = server.Open("127.0.0.1", port);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(server.GetFDStatus(), 2);
  Settle();
  EXPECT_TRUE(IsLinked(&server));
  server.Close();
  Settle();
}

TEST_F(KZServerSocketTest, AWaitingConnectionIsAcceptedByTheLoopAndLogged) {
  TestServer server(kLogSize, &mLog, List());
  const int fd = server.Open("127.0.0.1", 0);
  mLog.Clear();
  TcpPeer peer;
  ASSERT_TRUE(peer.Connect(PortOf(fd)));
  ASSERT_TRUE(RunUntil([&] { return !server.mAccepted.empty(); }));
  EXPECT_EQ(server.mSenderPort, peer.LocalPort());
  EXPECT_EQ(server.mAddressLength, 16u);
  EXPECT_THAT(mLog.Messages(),
              ElementsAre("接続許可\n", "相手は 127.0.0.1:" + Number(peer.LocalPort()) + "\n"));
  // The base neither keeps nor closes the connection.
  EXPECT_NE(fcntl(server.mAccepted[0], F_GETFD), -1);
  EXPECT_FALSE(peer.IsClosed());
  close(server.mAccepted[0]);
  server.Close();
  Settle();
}

TEST_F(KZServerSocketTest, EachReadinessAcceptsOneConnection) {
  TestServer server(kLogSize, &mLog, List());
  const int fd = server.Open("127.0.0.1", 0);
  std::vector<TcpPeer> peers(3);
  for (TcpPeer& peer : peers) ASSERT_TRUE(peer.Connect(PortOf(fd)));
  server.ReadyToRead();
  EXPECT_EQ(server.mAccepted.size(), 1u);
  ASSERT_TRUE(RunUntil([&] { return server.mAccepted.size() == 3; }));
  EXPECT_EQ(server.GetFDStatus(), 2);
  for (const int sd : server.mAccepted) close(sd);
  server.Close();
  Settle();
}

TEST_F(KZServerSocketTest, AnAcceptWithoutAnAddressLogsNoAddress) {
  KZServerSocket server(kLogSize, &mLog, List());
  unsigned int length = 0;
  server.OnAccept(-1, nullptr, &length);
  server.OnAccept(-1, nullptr, nullptr);
  EXPECT_THAT(mLog.Messages(), ElementsAre("接続許可\n", "接続許可\n"));
}

TEST_F(KZServerSocketTest, AFailedAcceptClosesTheListener) {
  TestServer server(kLogSize, &mLog, List());
  const int fd = server.Open("127.0.0.1", 0);
  Settle();
  mLog.Clear();
  server.ReadyToRead();  // Nobody is there.
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_TRUE(server.Has("close"));
  ASSERT_EQ(mLog.Messages().size(), 2u);
  EXPECT_EQ(mLog.Messages()[0].rfind("接続を許可出来ませんでした。 ", 0), 0u);
  EXPECT_EQ(mLog.Messages()[1], "待ち受けを中止しました\n");
  Settle();
  EXPECT_FALSE(IsLinked(&server));
}

TEST_F(KZServerSocketTest, CloseIsLoggedAndEndsTheListening) {
  TestServer server(kLogSize, &mLog, List());
  const int port = PortOf(server.Open("127.0.0.1", 0));
  Settle();
  mLog.Clear();
  EXPECT_EQ(server.Close(), 0);
  EXPECT_THAT(mLog.Messages(), ElementsAre("待ち受けを中止しました\n"));
  TcpPeer peer;
  EXPECT_FALSE(peer.Connect(port));
  Settle();
  EXPECT_FALSE(IsLinked(&server));
}

TEST_F(KZServerSocketTest, AClosedListenerMayBeOpenedAgainInTheSamePass) {
  TestServer server(kLogSize, &mLog, List());
  server.Open("127.0.0.1", 0);
  Settle();
  server.Close();
  const int fd = server.Open("127.0.0.1", 0);
  Settle();
  EXPECT_TRUE(IsLinked(&server));
  TcpPeer peer;
  ASSERT_TRUE(peer.Connect(PortOf(fd)));
  EXPECT_TRUE(RunUntil([&] { return server.mAccepted.size() == 1; }));
  close(server.mAccepted.at(0));
  server.Close();
  Settle();
}

}  // namespace
