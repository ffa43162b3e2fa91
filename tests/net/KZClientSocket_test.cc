#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "dorn/net/KZSocket.h"
#include "tests/net/ResolverSpy.h"
#include "tests/net/TestSockets.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/TestPipe.h"
#include "tests/support/VirtualSlot.h"

namespace {

// Of the last poll().
int gPollTimeoutMs = 0;

}  // namespace

// The linker sends the library's calls of poll() here.
extern "C" {
int __real_poll(pollfd* entries, nfds_t count, int timeoutMs);
int __wrap_poll(pollfd* entries, nfds_t count, int timeoutMs);
int __wrap_poll(pollfd* entries, nfds_t count, int timeoutMs) {
  gPollTimeoutMs = timeoutMs;
  return __real_poll(entries, count, timeoutMs);
}
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using KZClientSocketTest = SocketTest;

TEST_F(KZClientSocketTest, IsARecordOfType3WithAnUnusedBackPointer) {
  const KZClientSocket client(512, &mLog, List());
  EXPECT_EQ(client.GetType(), 3);
  EXPECT_EQ(client.KZFdData::mStatus, 0);
  EXPECT_EQ(client.GetAutoDelete(), 0);
  EXPECT_EQ(client.mApp, nullptr);
  EXPECT_TRUE(AreInOrder({MemberAddress(client.mLog), MemberAddress(client.mApp)}));
  static_assert(std::is_same_v<decltype(KZClientSocket::mApp), KZApplication*>);
}

TEST_F(KZClientSocketTest, AddsNoSlots) {
  EXPECT_EQ(VirtualSlot(&KZClientSocket::ReadyToWrite), 3);
  EXPECT_EQ(VirtualSlot(&KZClientSocket::OnClose), 8);
  EXPECT_EQ(VirtualSlot(&KZClientSocket::Open), -1);
  EXPECT_EQ(VirtualSlot(&KZClientSocket::Create), -1);
}

TEST_F(KZClientSocketTest, OpenRaisesASmallBufferTo3000) {
  const struct {
    int asked;
    int expected;
  } rows[] = {{100, 3000}, {0, 3000}, {-5, 3000}, {2999, 3000}, {3000, 3000}, {3001, 3001}};
  const TcpAcceptor acceptor;
  for (const auto& row : rows) {
    TestClient client(kLogSize, &mLog, List());
    ASSERT_GE(client.Open("127.0.0.1", acceptor.Port(), row.asked), 0);
    EXPECT_EQ(client.mBufferSize, row.expected);
    client.Close();
    Settle();
  }
}

TEST_F(KZClientSocketTest, OpenStartsToConnectAndIsWatchedForWritability) {
  const TcpAcceptor acceptor;
  TestClient client(kLogSize, &mLog, List());
  ResolverSpy spy;
  const int fd = client.Open("127.0.0.1", acceptor.Port(), 3000);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(client.GetFD(), fd);
  EXPECT_EQ(client.GetFDStatus(), 1);
  EXPECT_EQ(client.GetStatus(), 0);
  EXPECT_THAT(List()->mAddRequest, ElementsAre(&client));
  EXPECT_TRUE(fcntl(fd, F_GETFL) & O_NONBLOCK);
  EXPECT_EQ(spy.mCalls.at(0).mHints.ai_flags, 32);
  EXPECT_EQ(spy.mCalls.at(0).mHints.ai_family, AF_INET);
  EXPECT_EQ(spy.mCalls.at(0).mHints.ai_socktype, SOCK_STREAM);
  EXPECT_THAT(client.mEvents, IsEmpty());
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  client.Close();
  Settle();
}

TEST_F(KZClientSocketTest, AnEstablishedConnectionCallsOnOpenAndIsReadFromThenOn) {
  TcpAcceptor acceptor;
  TestClient client(kLogSize, &mLog, List());
  client.Open("127.0.0.1", acceptor.Port(), 3000);
  ASSERT_TRUE(RunUntil([&] { return client.GetFDStatus() == 2; }));
  EXPECT_THAT(client.TakeEvents(), ElementsAre("open"));
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  TcpPeer peer = acceptor.Accept();
  client.Send("to you", 6);
  peer.Send("to me");
  ASSERT_TRUE(RunUntil([&] { return client.GetDataLength() == 5; }));
  EXPECT_EQ(client.TakeEvents().front(), "receive");
  EXPECT_EQ(client.Take(), "to me");
  ASSERT_TRUE(peer.WaitFor(6));
  EXPECT_EQ(peer.Received(), "to you");
  client.Close();
  Settle();
}

TEST_F(KZClientSocketTest, OnOpenFindsTheSocketConnected) {
  struct Opened : KZClientSocket {
    using KZClientSocket::KZClientSocket;
    void OnOpen() override { status = GetFDStatus(); }
    int status = -1;
  } client(kLogSize, &mLog, List());
  const TcpAcceptor acceptor;
  client.Open("127.0.0.1", acceptor.Port(), 3000);
  ASSERT_TRUE(RunUntil([&] { return client.GetFDStatus() == 2; }));
  EXPECT_EQ(client.status, 2);
  client.Close();
  Settle();
}

TEST_F(KZClientSocketTest, ARefusedConnectionIsLoggedAndCloses) {
  TestClient client(kLogSize, &mLog, List());
  const int fd = client.Open("127.0.0.1", UnusedPort(), 3000);
  EXPECT_GE(fd, 0);
  ASSERT_TRUE(RunUntil([&] { return client.GetFD() < 0; }));
  EXPECT_THAT(client.mEvents, ElementsAre("close"));
  EXPECT_EQ(mLog.Messages().front(), "接続できませんでした。 (Connection refused)\n");
  EXPECT_EQ(mLog.Messages().back(), "切断しました\n");
  EXPECT_EQ(mLog.Count("切断しました\n"), 1);
  Settle();
  EXPECT_FALSE(IsLinked(&client));
}

TEST_F(KZClientSocketTest, OpenGivesBackTheAddressItHasFound) {
  const TcpAcceptor acceptor;
  TestClient client(kLogSize, &mLog, List());
  const ResolverSpy spy;
  client.Open("127.0.0.1", acceptor.Port(), 3000);
  EXPECT_EQ(spy.mFreed.size(), 1u);
  client.Close();
  Settle();
}

TEST_F(KZClientSocketTest, AHostThatDoesNotResolveReturnsMinus1) {
  TestClient client(kLogSize, &mLog, List());
  ResolverSpy spy;
  spy.mFailure = [](const ResolverSpy::Call&) { return EAI_NONAME; };
  EXPECT_EQ(client.Open("host.invalid", 1, 100), -1);
  EXPECT_THAT(mLog.Messages(), ElementsAre("エラー getaddrinfo: (Name or service not known)\n"));
  EXPECT_EQ(client.mBufferSize, 3000);
  EXPECT_EQ(client.GetFDStatus(), 0);
  EXPECT_TRUE(List()->mAddRequest.empty());
}

TEST_F(KZClientSocketTest, AStateThatCannotBeReadIsLoggedAndCloses) {
  const TestPipe pipe;
  TestClient client(kLogSize, &mLog, List());
  client.SetFD(dup(pipe.WriteEnd()));
  client.SetFDStatus(1);
  client.ReadyToWrite();
  EXPECT_EQ(mLog.Messages().front(), "接続できませんでした。 .(Socket operation on non-socket)\n");
  EXPECT_EQ(client.GetFD(), -1);
  EXPECT_THAT(client.mEvents, ElementsAre("close"));
}

TEST_F(KZClientSocketTest, AConnectThatIsStillUnderWayIsNotTakenForConnected) {
  const FullListener listener;
  TestClient client(kLogSize, &mLog, List());
  client.Open("127.0.0.1", listener.Port(), 3000);
  client.ReadyToWrite();
  EXPECT_EQ(client.GetFDStatus(), 1);
  EXPECT_GE(client.GetFD(), 0);
  EXPECT_THAT(client.mEvents, IsEmpty());
  EXPECT_THAT(mLog.mCalls, IsEmpty());
  client.Close();
}

TEST_F(KZClientSocketTest, AConnectedSocketIsOpenThoughNothingCanBeWritten) {
  TestClient client(kLogSize, &mLog, List());
  const TcpPeer peer = Join(client);
  const std::string bytes(1024 * 1024, 'x');
  while (send(client.GetFD(), bytes.data(), bytes.size(), MSG_NOSIGNAL) > 0) {
  }
  client.SetFDStatus(1);
  errno = ENOTCONN;  // Of something else.
  client.ReadyToWrite();
  EXPECT_EQ(client.GetFDStatus(), 2);
  EXPECT_THAT(client.mEvents, ElementsAre("open"));
  client.Close();
}

TEST_F(KZClientSocketTest, TheLoopDoesNotWaitForAConnectThatIsUnderWay) {
  const FullListener listener;
  TestClient client(kLogSize, &mLog, List());
  client.Open("127.0.0.1", listener.Port(), 3000);
  gPollTimeoutMs = -1;
  client.ReadyToWrite();
  EXPECT_EQ(gPollTimeoutMs, 0);
  client.Close();
}

TEST_F(KZClientSocketTest, AConnectingSocketWithBufferedDataIsNotTakenForConnected) {
  const FullListener listener;
  TestClient client(kLogSize, &mLog, List());
  client.Open("127.0.0.1", listener.Port(), 3000);
  char byte = 'x';
  client.SetDataToBuffer(&byte, 1);
  Settle();
  EXPECT_TRUE(IsLinked(&client));
  EXPECT_EQ(client.GetFDStatus(), 1);
  EXPECT_FALSE(client.Has("open"));
  EXPECT_FALSE(client.Has("close"));
  client.Close();
  Settle();
}

TEST_F(KZClientSocketTest, AConnectionThatThePeerHasEndedAlreadyIsStillOpened) {
  TcpAcceptor acceptor;
  TestClient client(kLogSize, &mLog, List());
  client.Open("127.0.0.1", acceptor.Port(), 3000);
  {
    TcpPeer peer = acceptor.Accept();
    peer.Send("bye");
  }
  ASSERT_TRUE(RunUntil([&] { return client.GetFD() < 0; }));
  EXPECT_THAT(client.mEvents, ElementsAre("open", "receive", "close"));
  EXPECT_EQ(client.Take(), "bye");
}

TEST_F(KZClientSocketTest, CreateTakesOverADescriptorWithTheExactBufferAndGivesItselfToTheList) {
  TcpAcceptor acceptor;
  TcpPeer peer;
  ASSERT_TRUE(peer.Connect(acceptor.Port()));
  const TcpPeer accepted = acceptor.Accept();
  auto* const client = new TestClient(kLogSize, &mLog, List());
  const int fd = dup(accepted.Fd());
  EXPECT_EQ(client->Create(fd, 100), 1);
  EXPECT_EQ(client->GetFD(), fd);
  EXPECT_EQ(client->mBufferSize, 100);
  EXPECT_EQ(client->GetAutoDelete(), 1);
  EXPECT_EQ(client->GetFDStatus(), 2);
  EXPECT_EQ(client->GetStatus(), 1);
  EXPECT_THAT(List()->mAddRequest, ElementsAre(client));
  EXPECT_THAT(client->mEvents, IsEmpty());
  client->Close();
  Settle();
  EXPECT_TRUE(List()->mAddRequest.empty());
}

TEST_F(KZClientSocketTest, CreateWithoutABufferSizeEmptiesTheBufferThatIsThere) {
  TcpAcceptor acceptor;
  TcpPeer peer;
  ASSERT_TRUE(peer.Connect(acceptor.Port()));
  const TcpPeer accepted = acceptor.Accept();
  auto* const client = new TestClient(kLogSize, &mLog, List());
  client->CreateBuffer(100);
  std::string old = "old";
  client->SetDataToBuffer(old.data(), 3);
  EXPECT_EQ(client->Create(dup(accepted.Fd()), 0), 1);
  EXPECT_EQ(client->mBufferSize, 100);
  EXPECT_EQ(client->GetDataLength(), 0);
  client->Close();
  Settle();
}

TEST_F(KZClientSocketTest, OnCloseIsLogged) {
  KZClientSocket client(kLogSize, &mLog, List());
  client.OnClose();
  EXPECT_THAT(mLog.Messages(), ElementsAre("切断しました\n"));
}

// A connection that sends back what it receives; those that exist are counted.
class EchoConnection : public KZClientSocket {
 public:
  EchoConnection(KZStream* stream, KZFdDataList* list, int* alive)
      : KZClientSocket(1024, stream, list), mAlive(alive) {
    ++*mAlive;
  }
  ~EchoConnection() override { --*mAlive; }
  int OnReceive(sockaddr*, unsigned int) override {
    char bytes[1500];
    const int length = GetData(bytes, sizeof bytes);
    if (length > 0) Send(bytes, length);
    return 0;
  }

 private:
  int* const mAlive;
};

class EchoServer : public KZServerSocket {
 public:
  EchoServer(KZStream* stream, KZFdDataList* list, int* alive)
      : KZServerSocket(1024, stream, list), mStream(stream), mAlive(alive) {}
  void OnAccept(int sd, sockaddr*, unsigned int*) override {
    auto* const connection = new EchoConnection(mStream, GetFdDataList(), mAlive);
    connection->Create(sd, 5000);
  }

 private:
  KZStream* const mStream;
  int* const mAlive;
};

TEST_F(KZClientSocketTest, AcceptedConnectionsAreServedAndDestroyedWhenThePeerCloses) {
  int alive = 0;
  EchoServer server(&mLog, List(), &alive);
  const int port = PortOf(server.Open("127.0.0.1", 0));
  std::vector<TcpPeer> peers(5);
  for (TcpPeer& peer : peers) {
    ASSERT_TRUE(peer.Connect(port));
    peer.Send("hello");
  }
  ASSERT_TRUE(RunUntil([&] {
    for (TcpPeer& peer : peers) {
      if (peer.Received() != "hello") return false;
    }
    return true;
  }));
  EXPECT_EQ(alive, 5);
  peers[0].Close();
  peers[1].Reset();
  ASSERT_TRUE(RunUntil([&] { return alive == 3; }));
  peers.clear();
  ASSERT_TRUE(RunUntil([&] { return alive == 0; }));
  server.Close();
  Settle();
  EXPECT_EQ(List()->size(), 1u);
}

TEST_F(KZClientSocketTest, APeerThatClosesGivesOneOnCloseThenTheRecordIsUnlinked) {
  TcpAcceptor acceptor;
  TestClient client(kLogSize, &mLog, List());
  client.Open("127.0.0.1", acceptor.Port(), 3000);
  ASSERT_TRUE(RunUntil([&] { return client.GetFDStatus() == 2; }));
  acceptor.Accept();  // And closes.
  ASSERT_TRUE(RunUntil([&] { return client.GetFD() < 0; }));
  Settle();
  EXPECT_FALSE(IsLinked(&client));
  EXPECT_THAT(client.mEvents, ElementsAre("open", "close"));
  mLog.Clear();
  EXPECT_EQ(client.Close(), -1);
  EXPECT_THAT(mLog.mCalls, IsEmpty());
}

TEST_F(KZClientSocketTest, OnCloseMayOpenTheSocketAgain) {
  TcpAcceptor acceptor;
  TestClient client(kLogSize, &mLog, List());
  client.mOnClose = [&] {
    client.mOnClose = nullptr;
    client.Open("127.0.0.1", acceptor.Port(), 3000);
  };
  client.Open("127.0.0.1", acceptor.Port(), 3000);
  ASSERT_TRUE(RunUntil([&] { return client.GetFDStatus() == 2; }));
  acceptor.Accept();  // And closes.
  ASSERT_TRUE(RunUntil([&] { return client.mEvents.size() == 3; }));
  EXPECT_THAT(client.mEvents, ElementsAre("open", "close", "open"));
  TcpPeer peer = acceptor.Accept();
  peer.Send("again");
  ASSERT_TRUE(RunUntil([&] { return client.GetDataLength() == 5; }));
  client.Close();
  Settle();
  EXPECT_EQ(List()->size(), 1u);
}

TEST_F(KZClientSocketTest, ClosingAndOpeningWithinOnePassGivesOnOpenForTheNewConnectionOnly) {
  TcpAcceptor acceptor;
  TestClient client(kLogSize, &mLog, List());
  client.Open("127.0.0.1", acceptor.Port(), 3000);
  Settle();
  client.TakeEvents();
  client.Close();
  client.Open("127.0.0.1", acceptor.Port(), 3000);
  ASSERT_TRUE(RunUntil([&] { return client.GetFDStatus() == 2; }));
  EXPECT_THAT(client.mEvents, ElementsAre("close", "open"));
  Settle();
  EXPECT_TRUE(IsLinked(&client));
  client.Close();
  Settle();
}

TEST_F(KZClientSocketTest, ARefusedConnectionMayBeTriedAgainFromOnClose) {
  const int port = UnusedPort();
  TestClient client(kLogSize, &mLog, List());
  int attempts = 1;
  client.mOnClose = [&] {
    if (++attempts <= 5) client.Open("127.0.0.1", port, 3000);
  };
  client.Open("127.0.0.1", port, 3000);
  ASSERT_TRUE(RunUntil([&] { return attempts == 6; }));
  Settle();
  EXPECT_EQ(mLog.Count("接続できませんでした。 (Connection refused)\n"), 5);
  EXPECT_FALSE(IsLinked(&client));
}

// Whoever asks first gets the error of a refused connection, and nobody else does.
TEST_F(KZClientSocketTest, ARefusalThatSomebodyElseHasSeenOpensAndTheReadCloses) {
  const struct {
    const char* name;
    void (*consume)(int fd);
  } rows[] = {
      {"getsockopt",
       [](int fd) {
         int error = 0;
         socklen_t length = sizeof error;
         getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length);
       }},
      {"send", [](int fd) { EXPECT_LT(send(fd, "x", 1, MSG_NOSIGNAL), 0); }},
      {"recv",
       [](int fd) {
         char byte;
         EXPECT_LE(recv(fd, &byte, 1, 0), 0);
       }},
  };
  for (const auto& row : rows) {
    TestClient client(kLogSize, &mLog, List());
    const int fd = client.Open("127.0.0.1", UnusedPort(), 3000);
    ASSERT_GE(fd, 0);
    pollfd refused = {fd, POLLOUT, 0};
    ASSERT_EQ(poll(&refused, 1, 5000), 1);
    row.consume(fd);
    EXPECT_TRUE(RunUntil([&] { return client.GetFD() < 0; })) << row.name;
    EXPECT_EQ(client.mEvents.front(), "open") << row.name;
    EXPECT_EQ(client.mEvents.back(), "close") << row.name;
    client.Close();
    Settle();
  }
}

}  // namespace
