// A host may run with standard input closed: then descriptor 0 is one like any other.
#include <sys/socket.h>
#include <unistd.h>

#include "tests/server/FileTransferTest.h"
#include "tests/support/NoStandardInput.h"

namespace {

using testing::SizeIs;

class DescriptorZeroTest : public FileTransferTest {
 protected:
  // Closes a connection while the descriptor is still its own.
  static void End(const Link& link) {
    Find(link)->Close();
    Pass(2);
  }
};

TEST_F(DescriptorZeroTest, AStationThatGotItIsServed) {
  const NoStandardInput closed;
  Link link = Connect();
  ASSERT_EQ(0, Find(link)->GetFD());
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"p"})");
  EXPECT_THAT(link.station.Messages(), SizeIs(1));
  EXPECT_EQ("S-u1", Str(Find(link)->GetSessionId()));
  End(link);
  EXPECT_FALSE(closed.IsTaken());
  EXPECT_TRUE(link.station.IsClosed());
}

TEST_F(DescriptorZeroTest, AStationThatGotItIsSentWhatDidNotFitAtOnce) {
  const NoStandardInput closed;
  Link link = LoggedIn("S1");
  ASSERT_EQ(0, Find(link)->GetFD());
  const std::string text(2 << 20, 'x');
  {
    const CapturedStdout console;
    Find(link)->SendData(KZString(text));
  }
  const std::string expected = Frame(text);
  EXPECT_TRUE(RunUntil([&] { return link.station.Bytes().size() >= expected.size(); }));
  EXPECT_TRUE(expected == link.station.Bytes());
  End(link);
}

// One that was never opened carries the number, too.
TEST_F(DescriptorZeroTest, WhoeverHasItGetsNothingOfAConnectionThatHasNone) {
  const NoStandardInput closed;
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
  ASSERT_EQ(0, pair[0]);
  Station other(pair[1]);
  {
    VQClientSocket client(&app.mLog, app.GetFdDataList());
    ASSERT_EQ(0, client.GetFD());
    EXPECT_EQ(-1, client.SendData("x"));
  }
  EXPECT_EQ("", other.Bytes());
}

TEST_F(DescriptorZeroTest, AConnectionThatWasGivenAnotherByHandSendsThere) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
  Station other(pair[1]);
  VQClientSocket client(&app.mLog, app.GetFdDataList());
  client.SetFD(pair[0]);
  EXPECT_EQ(3, client.SendData("x"));
  EXPECT_EQ(Frame("x"), other.Bytes());
  close(client.SetFD(-1));
}

TEST_F(DescriptorZeroTest, AFileThatGotItIsSent) {
  const std::string text = Pattern(100);
  const std::string name = File("a.bin", text);
  const std::string folder = name.substr(0, name.rfind('/'));
  const NoStandardInput closed;
  // A name that goes up and down opens folders, too.
  for (const std::string& asked : {name, folder + "/../" + name}) {
    Get(asked);
    const std::string expected = Frame(Follows(asked, text.size())) + text;
    EXPECT_EQ(expected, Received(expected.size()));
    EXPECT_FALSE(closed.IsTaken());
  }
}

TEST_F(DescriptorZeroTest, AFileThatGotItIsSentWhenItsTurnComes) {
  const std::string text = Pattern(3 << 20);
  const std::string name = File("big.bin", text);
  const NoStandardInput closed;
  Get(name);
  EXPECT_TRUE(closed.IsTaken());
  const std::string expected = Frame(Follows(name, text.size())) + text;
  EXPECT_TRUE(expected == Received(expected.size()));
  EXPECT_FALSE(closed.IsTaken());
}

TEST_F(DescriptorZeroTest, AListenerThatGotItListens) {
  const NoStandardInput closed;
  ASSERT_EQ(0, app.mStationSocket.Open("127.0.0.1", 0));
  Pass();
  EXPECT_TRUE(app.IsListening());
  EXPECT_EQ(PortOf(0), app.GetStationPort());
  Station station;
  ASSERT_TRUE(station.Connect(app.GetStationPort()));
  EXPECT_TRUE(RunUntil([] { return Connections() == 2; }));
  app.mStationSocket.Close();
  Pass(2);
  EXPECT_FALSE(app.IsListening());
  EXPECT_FALSE(closed.IsTaken());
}

// A listener whose spare descriptor is number 0.
class SpareAtZero : public VQStationSocket {
 public:
  using VQStationSocket::VQStationSocket;
  void OnListen() override {
    close(STDIN_FILENO);
    VQStationSocket::OnListen();
  }
};

TEST_F(DescriptorZeroTest, TheSpareOfAListenerThatGotItEndsWithTheListener) {
  const NoStandardInput closed;
  {
    SpareAtZero listener(&app.mLog, nullptr);
    const int other = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(0, other);
    ASSERT_GT(listener.Open("127.0.0.1", 0), 0);
    EXPECT_TRUE(closed.IsTaken());
    const int before = OpenDescriptors();
    listener.ReadyToRead();
    EXPECT_EQ(before, OpenDescriptors());
    listener.Close();
    EXPECT_TRUE(closed.IsTaken());
  }
  EXPECT_FALSE(closed.IsTaken());
}

}  // namespace
