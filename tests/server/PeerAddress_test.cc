#include "dorn/server/PeerAddress.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include "tests/server/ServerTest.h"
#include "tests/support/RecordingStream.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kLine[] = "PROXY TCP4 192.168.7.8 10.0.0.1 51234 5000\r\n";
constexpr char kHello[] = R"({"Command":"HELLO","Id":"u1","Pass":"no"})";

class PeerAddressTest : public ServerTest {
 protected:
  void TearDown() override {
    dorn::SetTrustedProxies({});
    ServerTest::TearDown();
  }

  Link From(const char* address) {
    int pair[2];
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    EXPECT_EQ(1, inet_pton(AF_INET, address, &peer.sin_addr));
    unsigned int length = sizeof peer;
    Link link;
    link.station = Station(pair[1]);
    link.id = static_cast<int>(app.mSocketId);
    app.mStationSocket.OnAccept(pair[0], reinterpret_cast<sockaddr*>(&peer), &length);
    Pass();
    return link;
  }

  static std::string AddressOf(const Link& link) { return dorn::PeerAddress(*Find(link)); }

  // What the host is told while the station logs in.
  std::string AddressAtLogIn(Link& link, const std::string& bytes) {
    std::string address = "none";
    app.auth = [&](const KZString&, const KZString&, VQClientSocket* client) {
      address = dorn::PeerAddress(*client);
    };
    Feed(link, bytes);
    return address;
  }
};

TEST_F(PeerAddressTest, IsThatOfTheOtherSide) {
  Link link = From("10.1.2.3");
  EXPECT_EQ("10.1.2.3", AddressOf(link));
  Link tcp = ConnectTcp();
  EXPECT_EQ("127.0.0.1", AddressOf(tcp));
  Link local = Connect();
  EXPECT_EQ("", AddressOf(local));
}

TEST_F(PeerAddressTest, StaysKnownWhenTheConnectionIsClosed) {
  Link link = From("10.1.2.3");
  VQClientSocket* client = Find(link);
  client->Close();
  EXPECT_EQ("10.1.2.3", Str(dorn::PeerAddress(*client)));
}

TEST_F(PeerAddressTest, IsNotThatOfAFormerStationOfTheObject) {
  dorn::SetTrustedProxies({"10.1.2.3"});
  Link link = From("10.1.2.3");
  Reopen(link);
  EXPECT_EQ("", AddressOf(link));
  EXPECT_EQ("", AddressAtLogIn(link, std::string(kLine) + "\x02" + kHello + "\x03"));
}

TEST_F(PeerAddressTest, ATrustedProxyTellsItBeforeTheFirstCommand) {
  dorn::SetTrustedProxies({"10.0.0.5", "10.0.0.6"});
  Link link = From("10.0.0.6");
  EXPECT_EQ("10.0.0.6", AddressOf(link));
  EXPECT_EQ("192.168.7.8", AddressAtLogIn(link, std::string(kLine) + "\x02" + kHello + "\x03"));
}

TEST_F(PeerAddressTest, TheLineMayComeInPieces) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  Link link = From("10.0.0.6");
  const std::string line = kLine;
  for (const char byte : line) Feed(link, std::string(1, byte));
  EXPECT_EQ("192.168.7.8", AddressOf(link));
  EXPECT_EQ(0, Find(link)->mBufferPos);
  EXPECT_EQ("192.168.7.8", AddressAtLogIn(link, std::string("\x02") + kHello + "\x03"));
}

// What is left behind the line begins where nothing was searched yet.
TEST_F(PeerAddressTest, AMessageThatIsShorterThanTheLineIsFoundBehindItsLastPiece) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  Link link = From("10.0.0.6");
  const std::string line = kLine;
  Feed(link, line.substr(0, line.size() - 2));
  const std::uint64_t before = app.Statistics().messagesIn;
  Feed(link, line.substr(line.size() - 2) + "\x02{}\x03");
  EXPECT_EQ(before + 1, app.Statistics().messagesIn);
  EXPECT_EQ("192.168.7.8", AddressOf(link));
}

// What a former connection has left in the memory does not count.
TEST_F(PeerAddressTest, TheLineMayComeWhenAHostHasLookedIntoTheEmptyBufferBefore) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  Link link = From("10.0.0.6");
  Find(link)->mDataBuffer[0] = 'x';
  Find(link)->OnReceive(nullptr, 0);
  Feed(link, kLine);
  EXPECT_EQ("192.168.7.8", AddressOf(link));
}

TEST_F(PeerAddressTest, AMessageWithALineEndInItIsNoLine) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  Link link = From("10.0.0.6");
  Feed(link, "\x02{\"Command\":\"HELLO\",\r\n\"Id\":\"u1\",\"Pass\":\"no\"}\x03");
  EXPECT_THAT(Calls(), ElementsAre("OnAuth u1 no"));
}

TEST_F(PeerAddressTest, FromAnybodyElseTheLineIsDropped) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  for (const char* address : {"10.0.0.7", "192.168.7.8"}) {
    Link link = From(address);
    EXPECT_EQ(address, AddressAtLogIn(link, std::string(kLine) + "\x02" + kHello + "\x03"));
  }
}

TEST_F(PeerAddressTest, OnlyTheBeginningOfAConnectionTells) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  Link link = From("10.0.0.6");
  EXPECT_EQ("10.0.0.6", AddressAtLogIn(link, std::string("\x02") + kHello + "\x03"));
  EXPECT_EQ("10.0.0.6", AddressAtLogIn(link, std::string(kLine) + "\x02" + kHello + "\x03"));
  dorn::SetTrustedProxies({});
  Link before = From("10.0.0.6");
  dorn::SetTrustedProxies({"10.0.0.6"});
  EXPECT_EQ("10.0.0.6", AddressAtLogIn(before, std::string(kLine) + "\x02" + kHello + "\x03"));
}

struct LineCase {
  const char* line;
  const char* address;
};

TEST_F(PeerAddressTest, ALineThatIsNoneTellsNothingAndLosesNoMessage) {
  const LineCase table[] = {
      {"PROXY TCP4 1.2.3.4 5.6.7.8 1 65535\r\n", "1.2.3.4"},
      {"PROXY TCP6 2001:db8::1 2001:db8::2 1 2\r\n", "2001:db8::1"},
      {"PROXY TCP4 1.2.3.4 5.6.7.8 67890 12345\r\n", "1.2.3.4"},
      {"PROXY TCP4 1.2.3.4 5.6.7.8 1 123456\r\n", "10.0.0.6"},
      {"PROXY TCP4 1.2.3.4 5.6.7.8 123456 1\r\n", "10.0.0.6"},
      {"PROXY TCP4 1.2.3.4 5.6.7.8 1 /\r\n", "10.0.0.6"},
      {"PROXY TCP4 1.2.3.4 5.6.7.8 1 :\r\n", "10.0.0.6"},
      {"PROXY TCP4 1.2.3.4 5.6.7.999 1 2\r\n", "10.0.0.6"},
      {"PROXY UNKNOWN\r\n", "10.0.0.6"},
      {"PROXY UNKNOWN ffff::1 ffff::2 1 2\r\n", "10.0.0.6"},
      {"PROXY TCP4 1.2.3.4 5.6.7.8 1\r\n", "10.0.0.6"},
      {"PROXY TCP4 1.2.3.4 5.6.7.8 1 2 3\r\n", "10.0.0.6"},
      {"PROXY TCP4 1.2.3.999 5.6.7.8 1 2\r\n", "10.0.0.6"},
      {"PROXY TCP4 1.2.3.4 5.6.7.8 one 2\r\n", "10.0.0.6"},
      {"PROXY TCP4 2001:db8::1 2001:db8::2 1 2\r\n", "10.0.0.6"},
      {"PROXY TCP5 1.2.3.4 5.6.7.8 1 2\r\n", "10.0.0.6"},
      {"proxy TCP4 1.2.3.4 5.6.7.8 1 2\r\n", "10.0.0.6"},
      {"PROXY TCP4 1.2.3.4 5.6.7.8 1 2\n", "10.0.0.6"},
      {"PROXY ", "10.0.0.6"},
      {"GET / HTTP/1.0\r\n", "10.0.0.6"},
  };
  dorn::SetTrustedProxies({"10.0.0.6"});
  for (const LineCase& row : table) {
    Link link = From("10.0.0.6");
    EXPECT_EQ(row.address, AddressAtLogIn(link, std::string(row.line) + "\x02" + kHello + "\x03"))
        << row.line;
  }
  const std::string endless = "PROXY TCP4 " + std::string(200, '1');
  Link link = From("10.0.0.6");
  EXPECT_EQ("10.0.0.6", AddressAtLogIn(link, endless + "\r\n\x02" + kHello + "\x03"));
  EXPECT_EQ("10.0.0.6", AddressAtLogIn(link, std::string(kLine) + "\x02" + kHello + "\x03"));
}

TEST_F(PeerAddressTest, ALineHas107BytesAtMost) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  for (const size_t length : {107U, 108U}) {
    std::string line = "PROXY TCP4 1.2.3.4 5.6.7.8 1 2\r\n";
    line.insert(line.find(' '), length - line.size(), ' ');
    Link link = From("10.0.0.6");
    EXPECT_EQ(length == 107 ? "1.2.3.4" : "10.0.0.6",
              AddressAtLogIn(link, line + "\x02" + kHello + "\x03"));
  }
}

// A host keeps some addresses out by what is logged.
class ClosingStream : public KZStream {
 public:
  int Output(char* text) override {
    if (std::string(text) == "相手は 192.168.7.8\n") mClient->Close();
    return 0;
  }
  VQClientSocket* mClient = nullptr;
};

TEST_F(PeerAddressTest, WhatComesBehindTheLineIsNotExecutedWhenTheLineClosesTheConnection) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  ClosingStream sink;
  app.SetLogStream(&sink);
  Link link = From("10.0.0.6");
  sink.mClient = Find(link);
  EXPECT_EQ("none", AddressAtLogIn(link, std::string(kLine) + "\x02" + kHello + "\x03"));
  EXPECT_TRUE(link.station.IsClosed());
  Pass(2);
  app.SetLogStream(nullptr);
}

TEST_F(PeerAddressTest, WhatTheProxyTellsIsLogged) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  RecordingStream sink;
  app.SetLogStream(&sink);
  Link link = From("10.0.0.6");
  Feed(link, kLine);
  EXPECT_TRUE(sink.Has("相手は 192.168.7.8\n"));
  Find(link)->Close();
  Pass(2);
  app.SetLogStream(nullptr);
}

}  // namespace
