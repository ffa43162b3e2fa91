// A host may run with standard input closed: then a socket may get descriptor 0.
#include <gmock/gmock.h>

#include "tests/net/TestSockets.h"
#include "tests/support/NoStandardInput.h"

namespace {

using ::testing::ElementsAre;

class DescriptorZeroTest : public SocketTest {
 protected:
  const NoStandardInput mClosed;
};

TEST_F(DescriptorZeroTest, AClientThatGotItConnectsReceivesAndSends) {
  TestClient client(kLogSize, &mLog, List());
  const int filler = open("/dev/null", O_RDONLY | O_CLOEXEC);
  TcpAcceptor acceptor;
  close(filler);
  ASSERT_EQ(client.Open("127.0.0.1", acceptor.Port(), 3000), 0);
  ASSERT_TRUE(RunUntil([&] { return client.GetFDStatus() == 2; }));
  EXPECT_THAT(client.TakeEvents(), ElementsAre("open"));
  TcpPeer peer = acceptor.Accept();
  EXPECT_EQ(client.Send("to you", 6), 6);
  peer.Send("to me");
  ASSERT_TRUE(RunUntil([&] { return client.GetDataLength() == 5; }));
  EXPECT_EQ(client.Take(), "to me");
  ASSERT_TRUE(peer.WaitFor(6));
  EXPECT_EQ(client.Close(), 0);
  Settle();
  EXPECT_FALSE(mClosed.IsTaken());
  EXPECT_FALSE(IsLinked(&client));
}

TEST_F(DescriptorZeroTest, AListenerThatGotItAccepts) {
  TestServer server(kLogSize, &mLog, List());
  ASSERT_EQ(server.Open("127.0.0.1", 0), 0);
  EXPECT_THAT(server.TakeEvents(), ElementsAre("listen", "open"));
  EXPECT_EQ(server.GetFDStatus(), 2);
  TcpPeer peer;
  ASSERT_TRUE(peer.Connect(PortOf(0)));
  ASSERT_TRUE(RunUntil([&] { return !server.mAccepted.empty(); }));
  close(server.mAccepted[0]);
  server.Close();
  Settle();
}

TEST_F(DescriptorZeroTest, AnAcceptedConnectionMayHaveIt) {
  const int filler = open("/dev/null", O_RDONLY | O_CLOEXEC);
  TestServer server(kLogSize, &mLog, List());
  const int fd = server.Open("127.0.0.1", 0);
  server.TakeEvents();
  TcpPeer peer;
  ASSERT_TRUE(peer.Connect(PortOf(fd)));
  close(filler);
  EXPECT_EQ(server.Accept(), 0);
  EXPECT_EQ(server.GetFDStatus(), 2);
  EXPECT_THAT(server.TakeEvents(), ElementsAre("accept"));
  server.Close();
  Settle();
}

TEST_F(DescriptorZeroTest, ADatagramSocketThatGotItReceivesAndSends) {
  TestUdp udp(kLogSize, &mLog, List());
  ASSERT_EQ(udp.Open("127.0.0.1", 0, 0), 0);
  EXPECT_THAT(udp.TakeEvents(), ElementsAre("open"));
  const int port = PortOf(0);
  EXPECT_EQ(udp.SendTo("hello", 5, "127.0.0.1", static_cast<unsigned short>(port)), 0);
  ASSERT_TRUE(RunUntil([&] { return udp.GetDataLength() == 5; }));
  EXPECT_EQ(udp.Take(), "hello");
  udp.Close();
  Settle();
  EXPECT_FALSE(mClosed.IsTaken());
}

}  // namespace
