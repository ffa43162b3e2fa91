// A real host process and real stations over TCP.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <filesystem>

#include "tests/e2e/HostProcess.h"
#include "tests/e2e/RemoteStation.h"

namespace {

using testing::HasSubstr;

constexpr char kTree[] =
    R"({"Command":"DIALOG","Name":"top","Objects":[{"Name":"b1","Type":"BUTTON","Value":"OFF"},)"
    R"({"Name":"l1","Value":1}]})";
constexpr char kNotes[] =
    R"({"Command":"DIALOG","Objects":[{"Name":"note","Value":""},{"Name":"status","Value":""}]})";
constexpr char kAll[] =
    "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"b1\",\"Type\":\"BUTTON\",\"Value\":\"OFF\"},"
    "{\"Name\":\"l1\",\"Value\":1}]}\n";
constexpr char kButtonOn[] =
    "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":\"b1\"}]}\n";
constexpr char kPress[] = R"({"Command":"CONDITION","Objects":[{"Name":"b1","Value":"ON"}]})";
constexpr char kRelease[] = R"({"Command":"CONDITION","Objects":[{"Name":"b1","Value":"OFF"}]})";
constexpr char kAuthError[] =
    R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})";
constexpr char kSessionError[] =
    R"({"Command":"ERROR","Message":"無効なセッションです。","Status":"InvalidSessionId"})";

class EndToEndTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    HostProcess::WriteResource("top.json", kTree);
    HostProcess::WriteResource("notes.json", kNotes);
  }
};

TEST_F(EndToEndTest, AStationLogsInAndEveryLineIsOnTheConsoleAtOnce) {
  HostProcess host;
  RemoteStation station;
  ASSERT_TRUE(station.LogIn("a"));
  ASSERT_TRUE(host.WaitForConsole(" out="));
  EXPECT_EQ(
      "READY\n"
      "VQApplication::MakeSocketId = 8000000\n"
      "Command=HELLO json={\"Command\":\"HELLO\",\"Id\":\"a\",\"Pass\":\"p\"}\n"
      "VQApplication::MakeSessionTimerId = d000000\n"
      "HELLO ,0,0\n"
      " sid=S-a dname= id=134217728 out={\"Command\":\"OPEN\",\"File\":\"Top.json\","
      "\"FileSource\":\"STATION\",\"SessionId\":\"S-a\"}\n",
      host.Console());
  station.Close();
  EXPECT_TRUE(host.WaitForConsole("socket delete\n"));
  EXPECT_EQ("", host.Errors());
}

TEST_F(EndToEndTest, AWrongPasswordIsRefusedAndMayBeCorrected) {
  HostProcess host;
  RemoteStation station;
  station.SendText(R"({"Command":"HELLO","Id":"a","Pass":"wrong"})");
  EXPECT_EQ(kAuthError, station.Next());
  EXPECT_TRUE(station.LogIn("a"));
}

TEST_F(EndToEndTest, MessagesSplitAtEveryByteAreUnderstood) {
  HostProcess host;
  RemoteStation station;
  const int noDelay = 1;
  setsockopt(station.Fd(), IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof noDelay);
  const std::string message = TestStation::Frame(R"({"Command":"HELLO","Id":"a","Pass":"x"})");
  const std::string bytes = message + message;
  for (size_t split = 1; split < bytes.size(); ++split) {
    station.Send(bytes.substr(0, split));
    station.Send(bytes.substr(split));
    ASSERT_EQ(kAuthError, station.Next()) << split;
    ASSERT_EQ(kAuthError, station.Next()) << split;
  }
  for (const char byte : message) station.Send(std::string(1, byte));
  EXPECT_EQ(kAuthError, station.Next());
}

TEST_F(EndToEndTest, ManyMessagesInOneWriteAreAnsweredInOrder) {
  HostProcess host;
  RemoteStation station;
  ASSERT_TRUE(station.LogIn("a"));
  std::string bytes;
  for (int i = 0; i < 500; ++i) {
    bytes += TestStation::Frame(R"({"Command":"GETFILE","File":"f)" + std::to_string(i) + "\"}");
  }
  ASSERT_TRUE(station.Send(bytes));
  for (int i = 0; i < 500; ++i) {
    ASSERT_THAT(station.Next(), HasSubstr("\"File\":\"f" + std::to_string(i) + "\"")) << i;
  }
}

TEST_F(EndToEndTest, TheOtherStationOfTheDialogReceivesJustTheChange) {
  HostProcess host;
  RemoteStation a, b, elsewhere;
  ASSERT_TRUE(a.LogIn("a"));
  ASSERT_TRUE(b.LogIn("b"));
  ASSERT_TRUE(elsewhere.LogIn("c"));
  EXPECT_EQ(kAll, a.Enter("top"));
  EXPECT_EQ(kAll, b.Enter("top"));
  EXPECT_THAT(elsewhere.Enter("notes"), HasSubstr("\"note\""));
  for (int round = 0; round < 20; ++round) {
    a.SendText(kPress);
    EXPECT_EQ(kButtonOn, b.Next());
    b.SendText(kRelease);
    EXPECT_EQ("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"OFF\",\"Name\":\"b1\"}]}\n",
              a.Next());
  }
  EXPECT_TRUE(a.HasNothingMore());
  EXPECT_TRUE(b.HasNothingMore());
  EXPECT_TRUE(elsewhere.HasNothingMore());
}

TEST_F(EndToEndTest, EveryStationLearnsOfAddedAndDeletedObjects) {
  HostProcess host;
  RemoteStation stations[3];
  const char* const users[] = {"a", "b", "c"};
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(stations[i].LogIn(users[i]));
    ASSERT_EQ(kAll, stations[i].Enter("top"));
  }
  stations[0].SendText(R"({"Command":"CONDITION","ActionName":"x","ActionType":"ADD",)"
                       R"("Objects":[{"Name":"x","New":"n1"}]})");
  for (RemoteStation& station : stations) {
    EXPECT_EQ(
        "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
        ",{ \"Command\":\"ADD\",\"Name\":\"top\", \"Objects\":[{\"Name\":\"n1\"}]}]}",
        station.Next());
  }
  stations[1].SendText(R"({"Command":"CONDITION","ActionName":"b1","ActionType":"DELETE",)"
                       R"("Objects":[{"Name":"b1"}]})");
  for (RemoteStation& station : stations) {
    EXPECT_EQ(
        "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n"
        ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b1\"}]}",
        station.Next());
  }
  EXPECT_TRUE(host.WaitForConsole("?? Not found. Name:x skip!\n"));
}

TEST_F(EndToEndTest, EachSessionHasATreeOfItsOwn) {
  HostProcess host;
  RemoteStation a, b;
  ASSERT_TRUE(a.LogIn("a"));
  ASSERT_TRUE(b.LogIn("b"));
  a.Enter("notes");
  b.Enter("notes");
  a.SendText(R"({"Command":"CONDITION","Objects":[{"Name":"note","Value":"mine"}]})");
  EXPECT_EQ("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"saved\",\"Name\":\"status\"}]}\n",
            a.Next());
  EXPECT_TRUE(b.HasNothingMore());
  EXPECT_THAT(a.Enter("notes"), HasSubstr("{\"Name\":\"note\",\"Value\":\"mine\"}"));
  EXPECT_THAT(b.Enter("notes"), HasSubstr("{\"Name\":\"note\",\"Value\":\"\"}"));
}

TEST_F(EndToEndTest, ASessionOutlivesItsConnection) {
  HostProcess host;
  {
    RemoteStation station;
    ASSERT_TRUE(station.LogIn("a"));
    station.Enter("notes");
    station.SendText(R"({"Command":"CONDITION","Objects":[{"Name":"note","Value":"kept"}]})");
    station.Next();
  }
  ASSERT_TRUE(host.WaitForConsole("socket delete\n"));
  RemoteStation again;
  again.SendText(R"({"Command":"CHANGE","SessionId":"S-a","DialogName":"notes"})");
  EXPECT_THAT(again.Next(), HasSubstr("{\"Name\":\"note\",\"Value\":\"kept\"}"));
}

TEST_F(EndToEndTest, AnUnknownSessionIsRefusedAndTheConnectionClosed) {
  HostProcess host;
  for (const char* sid : {"S-nobody", "SessionIdShared"}) {
    RemoteStation station;
    station.SendText(R"({"Command":"HELLO","SessionId":")" + std::string(sid) + "\"}");
    EXPECT_EQ(kSessionError, station.Next());
    EXPECT_TRUE(station.WaitForClose());
  }
}

TEST_F(EndToEndTest, ASessionExpiresWithItsConnectionsAndItsTrees) {
  HostProcess host;
  RemoteStation first, second, other;
  ASSERT_TRUE(other.LogIn("a"));
  ASSERT_TRUE(first.LogIn("short"));
  ASSERT_TRUE(second.LogIn("short"));
  first.Enter("notes");
  EXPECT_TRUE(first.WaitForClose());
  EXPECT_TRUE(second.WaitForClose());
  EXPECT_TRUE(
      host.WaitForConsole("セッション有効期限タイマー発生\n"
                          "セッションの有効期限が切れました SessionID:S-short\n"
                          "Remove sessionid=S-short\n"));
  EXPECT_TRUE(other.HasNothingMore());
  RemoteStation again;
  again.SendText(R"({"Command":"HELLO","SessionId":"S-short"})");
  EXPECT_EQ(kSessionError, again.Next());
}

// Files

std::string Pattern(size_t length) {
  std::string bytes(length, '\0');
  for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

TEST_F(EndToEndTest, AFiveMegabyteFileIsFetched) {
  const std::string bytes = Pattern(5 << 20);
  HostProcess::WriteResource("big.bin", bytes);
  HostProcess host;
  RemoteStation station;
  ASSERT_TRUE(station.LogIn("a"));
  station.SendText(R"({"Command":"GETFILE","File":"big.bin"})");
  EXPECT_THAT(station.Next(), HasSubstr("\"File\":\"big.bin\",\"Length\":5242880}"));
  EXPECT_TRUE(bytes == station.NextBytes(bytes.size()));
  EXPECT_TRUE(station.HasNothingMore());
}

TEST_F(EndToEndTest, AStationThatReadsSlowlyDelaysNobody) {
  const std::string bytes = Pattern(5 << 20);
  HostProcess::WriteResource("big.bin", bytes);
  HostProcess host;
  RemoteStation slow(4096), quick;
  ASSERT_TRUE(slow.LogIn("a"));
  ASSERT_TRUE(quick.LogIn("b"));
  slow.SendText(R"({"Command":"GETFILE","File":"big.bin"})");
  ASSERT_THAT(slow.Next(), HasSubstr("\"Length\":5242880}"));
  std::string got;
  while (got.size() < bytes.size()) {
    const std::string piece = slow.NextBytes(std::min<size_t>(100000, bytes.size() - got.size()));
    ASSERT_FALSE(piece.empty());
    got += piece;
    ASSERT_TRUE(quick.HasNothingMore());
  }
  EXPECT_TRUE(got == bytes);
  EXPECT_TRUE(slow.HasNothingMore());
}

// The descriptors: one that waits for room, and the first four files, which stay open.
TEST_F(EndToEndTest, WhoFetchesAFileWithoutReadingItCostsNothing) {
  HostProcess::WriteResource("big.bin", Pattern(5 << 20));
  HostProcess host;
  RemoteStation idle(4096), quick;
  ASSERT_TRUE(idle.LogIn("a"));
  ASSERT_TRUE(quick.LogIn("b"));
  const int before = host.OpenDescriptors();
  for (int i = 0; i < 100; ++i) idle.SendText(R"({"Command":"GETFILE","File":"big.bin"})");
  ASSERT_TRUE(quick.HasNothingMore());
  const long cpu = host.CpuMs();
  poll(nullptr, 0, 300);  // The time over which the processor's is measured.
  EXPECT_LE(host.CpuMs() - cpu, 100);
  EXPECT_LE(host.OpenDescriptors(), before + 5);
  EXPECT_TRUE(quick.HasNothingMore());
}

TEST_F(EndToEndTest, ADialogsFileIsItsCurrentTree) {
  HostProcess host;
  RemoteStation station;
  ASSERT_TRUE(station.LogIn("a"));
  station.Enter("top");
  station.SendText(kPress);
  station.SendText(R"({"Command":"GETFILE","File":"top.json"})");
  std::string tree = kTree;
  tree.replace(tree.find("OFF"), 3, "ON");
  EXPECT_THAT(station.Next(), HasSubstr("\"Length\":" + std::to_string(tree.size()) + "}"));
  EXPECT_EQ(tree, station.NextBytes(tree.size()));
}

TEST_F(EndToEndTest, NothingOutsideTheResourcesIsServed) {
  HostProcess host;
  RemoteStation station;
  ASSERT_TRUE(station.LogIn("a"));
  for (const char* name : {"../dorn_e2e_host", "../../../../../../../../etc/passwd", "/../x"}) {
    station.SendText(R"({"Command":"GETFILE","File":")" + std::string(name) + "\"}");
    EXPECT_THAT(station.Next(), HasSubstr("\"Info\":\"FILE NOT FOUND\"")) << name;
  }
}

// Other sockets, timers and threads of the host

class HostsOwnTest : public EndToEndTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(mStation.LogIn("a"));
    mStation.SendText(R"({"Command":"CHANGE","DialogName":"control"})");
  }

  void Tell(const std::string& what, int port = 0) {
    mStation.SendText(R"({"Command":"CONDITION","Do":")" + what + R"(","Port":)" +
                      std::to_string(port) + "}");
    EXPECT_EQ("done", mStation.Next());
  }

  HostProcess mHost;
  RemoteStation mStation;
};

TEST_F(HostsOwnTest, DatagramsAreReceivedAndSent) {
  const int port = UnusedPort();
  Tell("udp", port);
  UdpPeer peer;
  std::string datagram;
  for (const char* text : {"one", "two"}) {
    ASSERT_TRUE(peer.Send(port, text));
    ASSERT_TRUE(peer.Receive(&datagram));
    EXPECT_EQ("echo:" + std::string(text), datagram);
  }
}

TEST_F(HostsOwnTest, AConnectionOfTheHostsOwnIsOpenedServedAndClosed) {
  TcpAcceptor acceptor;
  Tell("connect", acceptor.Port());
  TcpPeer peer = acceptor.Accept();
  ASSERT_TRUE(peer.WaitFor(5));
  EXPECT_EQ("hello", peer.Take());
  peer.Send("text");
  EXPECT_EQ("uplink:text", mStation.Next());
  peer.Close();
  EXPECT_EQ("uplink closed", mStation.Next());
}

TEST_F(HostsOwnTest, AConnectionThatIsRefusedIsClosed) {
  Tell("connect", UnusedPort());
  EXPECT_EQ("uplink closed", mStation.Next());
}

TEST_F(HostsOwnTest, TimersReachTheHost) {
  Tell("timer");
  EXPECT_EQ("timer 9", mStation.Next());
}

TEST_F(HostsOwnTest, OtherThreadsMayAddTimersAndRecordsWhileStationsAreServed) {
  RemoteStation other;
  ASSERT_TRUE(other.LogIn("b"));
  Tell("threads");
  for (int i = 0; i < 200; ++i) {
    other.SendText(R"({"Command":"GETFILE","File":"f"})");
    std::string answer = other.Next();
    if (answer == "timer 4711") answer = other.Next();
    ASSERT_THAT(answer, HasSubstr("PUTFILE")) << i;
  }
  EXPECT_EQ("timer 4711", mStation.Next());
  EXPECT_TRUE(mHost.IsAlive());
}

}  // namespace
