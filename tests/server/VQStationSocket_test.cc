#include "dorn/server/VQStationSocket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

#include "dorn/loop/SettledRecords.h"
#include "tests/server/ServerTest.h"
#include "tests/support/Deadline.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/NoStandardInput.h"
#include "tests/support/RecordingStream.h"
#include "tests/support/VirtualSlot.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The limit of open descriptors, restored at the end.
class DescriptorLimit {
 public:
  explicit DescriptorLimit(rlim_t limit) {
    getrlimit(RLIMIT_NOFILE, &mSaved);
    rlimit changed = mSaved;
    changed.rlim_cur = std::min(limit, mSaved.rlim_max);
    mIsSet = setrlimit(RLIMIT_NOFILE, &changed) == 0 && changed.rlim_cur == limit;
  }
  ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &mSaved); }
  bool IsSet() const { return mIsSet; }

 private:
  rlimit mSaved{};
  bool mIsSet = false;
};

// Lowers the limit to what is open now plus `spare`.
rlim_t LimitAbove(int spare) {
  const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(next);
  return static_cast<rlim_t>(next + spare);
}

class VQStationSocketTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    ASSERT_GE(mListener.Open("127.0.0.1", 0), 0);
    Pass();
    Calls().clear();
  }
  void TearDown() override {
    mListener.Close();
    Pass(2);
    ServerTest::TearDown();
  }

  static void LogInAll() {
    for (KZFdData* record : *app.GetFdDataList()) {
      VQClientSocket* client = Find(record->GetId());
      if (client != nullptr && !client->mAuth) client->Authentication("S");
    }
  }

  int Port() { return PortOf(mListener.GetFD()); }
  bool IsListening() { return mListener.GetFD() >= 0 && mListener.GetFDStatus() == 2; }

  VQStationSocket mListener{&app.mLog, app.GetFdDataList()};
};

TEST_F(VQStationSocketTest, KeepsTheSlotOrderAndItsMember) {
  EXPECT_EQ(11, VirtualSlot<void (VQStationSocket::*)(int, sockaddr*, unsigned int*)>(
                    &VQStationSocket::OnAccept));
  EXPECT_EQ(MemberAddress(mListener) + sizeof(KZServerSocket), MemberAddress(mListener.mStream));
  EXPECT_EQ(&app.mLog, mListener.mStream);
  EXPECT_EQ(2, mListener.GetType());
  EXPECT_EQ(1024, mListener.Log().GetSize());
}

TEST_F(VQStationSocketTest, AcceptedConnectionBecomesARecordWithATimeout) {
  Station station;
  ASSERT_TRUE(station.Connect(Port()));
  CapturedStdout console;
  ASSERT_TRUE(RunUntil([] { return Connections() == 1; }));
  EXPECT_EQ("VQApplication::MakeSocketId = 8000000\n", console.Text());
  VQClientSocket* client = Find(0x8000000);
  ASSERT_NE(nullptr, client);
  EXPECT_EQ(3, client->GetType());
  EXPECT_EQ(2, client->GetFDStatus());
  EXPECT_EQ(1, client->GetAutoDelete());
  EXPECT_EQ(0x80000, client->mBufferSize);
  EXPECT_EQ(&app.mLog, client->mStream);
  EXPECT_NE(0, fcntl(client->GetFD(), F_GETFL) & O_NONBLOCK);
  EXPECT_THAT(DueIn(0x8000000), ElementsAre(10000));
}

TEST_F(VQStationSocketTest, NeitherListenerNorConnectionsAreLeftToChildren) {
  Station station;
  ASSERT_TRUE(station.Connect(Port()));
  ASSERT_TRUE(RunUntil([] { return Connections() == 1; }));
  EXPECT_NE(0, fcntl(mListener.GetFD(), F_GETFD) & FD_CLOEXEC);
  EXPECT_NE(0, fcntl(Find(0x8000000)->GetFD(), F_GETFD) & FD_CLOEXEC);
}

TEST_F(VQStationSocketTest, IdleConnectionsCostTheLoopNoLook) {
  Link link = Connect();
  Pass(2);
  EXPECT_TRUE(dorn::SettledRecords::Has(*Find(link)));
}

// An answer in two writes must not wait for the station's acknowledgement.
TEST_F(VQStationSocketTest, ConnectionsSendWithoutDelay) {
  Station station;
  ASSERT_TRUE(station.Connect(Port()));
  ASSERT_TRUE(RunUntil([] { return Connections() == 1; }));
  int noDelay = 0;
  socklen_t length = sizeof noDelay;
  ASSERT_EQ(0, getsockopt(Find(0x8000000)->GetFD(), IPPROTO_TCP, TCP_NODELAY, &noDelay, &length));
  EXPECT_NE(0, noDelay);
}

TEST_F(VQStationSocketTest, AcceptIsLoggedThroughTheSocketsLog) {
  RecordingStream sink;
  VQStationSocket logged(&sink, app.GetFdDataList());
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_addr.s_addr = htonl(0x0A000102);
  peer.sin_port = htons(4321);
  unsigned int length = sizeof peer;
  logged.OnAccept(pair[0], reinterpret_cast<sockaddr*>(&peer), &length);
  EXPECT_THAT(sink.Messages(), ElementsAre("接続許可\n", "相手は 10.0.1.2:4321\n"));
  Pass();
  close(pair[1]);
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_EQ("切断しました\n", sink.Messages().back());
}

TEST_F(VQStationSocketTest, ListeningIsLoggedThroughTheSocketsLog) {
  RecordingStream sink;
  VQStationSocket logged(&sink, app.GetFdDataList());
  ASSERT_GE(logged.Open("127.0.0.1", 0), 0);
  EXPECT_EQ("待ち受け開始しました\n", sink.Messages().front());
  logged.Close();
  Pass(2);
}

// Waiting would not help, as it does where descriptors are short.
TEST_F(VQStationSocketTest, AListenerThatHasStoppedListeningIsClosedWithTheReason) {
  RecordingStream sink;
  VQStationSocket stopped(&sink, app.GetFdDataList());
  ASSERT_GE(stopped.Open("127.0.0.1", 0), 0);
  Pass();
  ASSERT_EQ(0, shutdown(stopped.GetFD(), SHUT_RDWR));
  CapturedStdout console;
  EXPECT_TRUE(RunUntil([&stopped] { return stopped.GetFD() < 0; }));
  EXPECT_EQ("The station port is closed: Invalid argument\n", console.Text());
  EXPECT_TRUE(sink.Has("接続を許可出来ませんでした。 Invalid argument\n"));
  EXPECT_EQ("待ち受けを中止しました\n", sink.Messages().back());
  Pass(2);
}

TEST_F(VQStationSocketTest, LogStreamOfTheHostGetsTheLinesOfTheStationSocketAndItsConnections) {
  RecordingStream sink;
  app.SetLogStream(&sink);
  Link link = Connect();
  EXPECT_TRUE(sink.Has("接続許可\n"));
  EXPECT_EQ(&sink, Find(link)->mStream);
  link.station.Close();
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_TRUE(sink.Has("切断しました\n"));
  app.SetLogStream(&app.mLog);
}

TEST_F(VQStationSocketTest, WithoutALogStreamSocketLinesGoNowhere) {
  CapturedStdout console;
  Link link = Connect();
  link.station.Close();
  EXPECT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_EQ("VQApplication::MakeSocketId = 8000000\nsocket delete\n", console.Text());
}

// The listener must survive a crowd: a failed accept would close it for good.

TEST_F(VQStationSocketTest, TheLimitOfDescriptorsRefusesConnectionsAndNeverClosesTheListener) {
  const DescriptorLimit limit(LimitAbove(60));
  ASSERT_TRUE(limit.IsSet());
  std::vector<Station> stations;
  std::string refusals;
  {
    CapturedStdout console;
    for (int i = 0; i < 25; ++i) {
      stations.emplace_back();
      ASSERT_TRUE(stations.back().Connect(Port()));
      Pass(2);
      LogInAll();
    }
    Pass(30);
    refusals = console.Text();
  }
  ASSERT_TRUE(IsListening());
  const size_t served = Connections();
  EXPECT_GE(served, 10U);
  EXPECT_LT(served, stations.size());
  size_t closed = 0;
  for (Station& station : stations) closed += station.IsClosed() ? 1 : 0;
  EXPECT_EQ(stations.size() - served, closed);
  EXPECT_EQ(stations.size(),  // One line for each: its id, or the refusal.
            static_cast<size_t>(std::count(refusals.begin(), refusals.end(), '\n')));

  stations.front().Send(R"({"Command":"HELLO"})");
  EXPECT_TRUE(RunUntil([&] { return !stations.front().Messages().empty(); }));

  stations.clear();
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  Station late;
  ASSERT_TRUE(late.Connect(Port()));
  late.Send(R"({"Command":"HELLO","Id":"u1","Pass":"no"})");
  EXPECT_TRUE(RunUntil([&] { return !late.Messages().empty(); }));
}

TEST_F(VQStationSocketTest, WithoutAnyDescriptorLeftTheListenerStaysOpen) {
  Station first, second, third;
  ASSERT_TRUE(first.Connect(Port()));
  ASSERT_TRUE(RunUntil([] { return Connections() == 1; }));
  LogInAll();
  ASSERT_TRUE(second.Connect(Port()));
  std::vector<int> fillers;
  const DescriptorLimit limit(LimitAbove(5));
  for (int fd = 0; (fd = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) fillers.push_back(fd);
  EXPECT_TRUE(RunUntil([&] { return second.IsClosed(); }));
  EXPECT_TRUE(IsListening());
  for (const int fd : fillers) close(fd);
  EXPECT_EQ(1U, Connections());
  EXPECT_FALSE(first.IsClosed());
  EXPECT_TRUE(IsListening());
}

// A listener that found no descriptor to keep for refusals.
class NoSpareTest : public VQStationSocketTest {
 protected:
  void SetUp() override {
    VQStationSocketTest::SetUp();
    ASSERT_GE(mBare.Socket(AF_INET, SOCK_STREAM, 0), 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(0, mBare.Bind(reinterpret_cast<const sockaddr*>(&local), sizeof local));
    const DescriptorLimit limit(LimitAbove(0));
    ASSERT_EQ(0, mBare.Listen(5));
  }
  void TearDown() override {
    mBare.Close();
    VQStationSocketTest::TearDown();
  }

  VQStationSocket mBare{&app.mLog, app.GetFdDataList()};
};

TEST_F(NoSpareTest, KeepsOneAsSoonAsItCan) {
  const int before = OpenDescriptors();
  mBare.ReadyToRead();
  EXPECT_EQ(before + 1, OpenDescriptors());
  mBare.ReadyToRead();
  EXPECT_EQ(before + 1, OpenDescriptors());
}

TEST_F(NoSpareTest, KeepsAPeerWaitingWithALine) {
  Station station;
  ASSERT_TRUE(station.Connect(PortOf(mBare.GetFD())));
  CapturedStdout console;
  {
    const DescriptorLimit limit(LimitAbove(0));
    mBare.ReadyToRead();
  }
  EXPECT_EQ("No connection can be accepted now: Too many open files\n", console.Text());
  EXPECT_FALSE(station.IsClosed());
}

TEST_F(VQStationSocketTest, TheDescriptorThatIsKeptForRefusalsMayBeNumber0) {
  auto listener = std::make_unique<VQStationSocket>(&app.mLog, app.GetFdDataList());
  ASSERT_GE(listener->Socket(AF_INET, SOCK_STREAM, 0), 0);
  sockaddr_in local{};
  local.sin_family = AF_INET;
  local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(0, listener->Bind(reinterpret_cast<const sockaddr*>(&local), sizeof local));
  const NoStandardInput closed;
  ASSERT_EQ(0, listener->Listen(5));
  ASSERT_TRUE(NoStandardInput::IsTaken());
  Station station;
  ASSERT_TRUE(station.Connect(PortOf(listener->GetFD())));
  CapturedStdout console;
  std::vector<int> fillers;
  {
    const DescriptorLimit limit(LimitAbove(5));
    for (int fd = 0; (fd = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) fillers.push_back(fd);
    listener->ReadyToRead();
  }
  for (const int fd : fillers) close(fd);
  EXPECT_EQ("Connection refused: no descriptor is left\n", console.Text());
  EXPECT_TRUE(station.WaitForClose());
  EXPECT_TRUE(NoStandardInput::IsTaken());
  listener->Close();
  Pass(2);
  listener.reset();
  EXPECT_FALSE(NoStandardInput::IsTaken());
}

TEST_F(VQStationSocketTest, WithoutAnyDescriptorLeftAConnectionWithoutLogInMakesRoom) {
  Station first, second;
  ASSERT_TRUE(first.Connect(Port()));
  ASSERT_TRUE(RunUntil([] { return Connections() == 1; }));
  ASSERT_TRUE(second.Connect(Port()));
  std::vector<int> fillers;
  {
    const DescriptorLimit limit(LimitAbove(20));
    for (int fd = 0; (fd = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) fillers.push_back(fd);
    EXPECT_TRUE(RunUntil([&] { return first.IsClosed(); }));
    for (const int fd : fillers) close(fd);
  }
  Pass(2);
  EXPECT_EQ(1U, Connections());
  EXPECT_FALSE(second.IsClosed());
  EXPECT_NE(nullptr, Find(0x800000A));
}

// Slots

class SlotsTest : public VQStationSocketTest {
 protected:
  // A connection from that address, on a descriptor that may be given.
  Link From(const std::string& address, int atDescriptor = -1) {
    int pair[2];
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
    if (atDescriptor >= 0) {
      EXPECT_EQ(atDescriptor, fcntl(pair[0], F_DUPFD, atDescriptor));
      close(pair[0]);
      pair[0] = atDescriptor;
    }
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    EXPECT_EQ(1, inet_pton(AF_INET, address.c_str(), &peer.sin_addr));
    unsigned int length = sizeof peer;
    Link link;
    link.station = Station(pair[1]);
    link.id = static_cast<int>(app.mSocketId);
    mListener.OnAccept(pair[0], reinterpret_cast<sockaddr*>(&peer), &length);
    Pass();
    return link;
  }

  // The highest descriptor that a station may have, and the first one that it may not have.
  static constexpr int kLimit = 1024 - 16;
  const DescriptorLimit mDescriptors{2048};
};

TEST_F(SlotsTest, WithoutAFreeSlotTheOldestOfTheAddressWithMostMakesRoom) {
  Link lone = From("10.0.0.1");
  Link loggedIn = From("10.0.0.2");
  Find(loggedIn)->Authentication("S1");
  Link first = From("10.0.0.2"), second = From("10.0.0.2"), third = From("10.0.0.2");
  CapturedStdout console;
  Link late = From("10.0.0.9", kLimit);
  EXPECT_THAT(console.Text(), HasSubstr("Connection " + std::to_string(first.id) +
                                        " from 10.0.0.2 closed: not logged in, its slot is "
                                        "needed\n"));
  EXPECT_TRUE(first.station.IsClosed());
  for (Link* link : {&lone, &loggedIn, &second, &third, &late}) {
    EXPECT_NE(nullptr, Find(*link));
    EXPECT_FALSE(link->station.IsClosed());
  }
  EXPECT_LT(Find(late)->GetFD(), kLimit);
  EXPECT_EQ(-1, fcntl(kLimit, F_GETFD));
  Tell(late, R"({"Command":"HELLO","Id":"u1","Pass":"p"})");
  EXPECT_EQ(1U, late.station.Messages().size());
}

TEST_F(SlotsTest, OfAddressesWithTheSameNumberTheOldestMakesRoom) {
  Link a = From("10.0.0.1"), b = From("10.0.0.2"), c = From("10.0.0.3");
  Link late = From("10.0.0.9", kLimit);
  EXPECT_TRUE(a.station.IsClosed());
  EXPECT_FALSE(b.station.IsClosed());
  Link later = From("10.0.0.9", kLimit);
  EXPECT_TRUE(b.station.IsClosed());
  for (Link* link : {&c, &late, &later}) EXPECT_FALSE(link->station.IsClosed());
}

TEST_F(SlotsTest, WhoIsClosedAlreadyMakesNoRoom) {
  Link a = From("10.0.0.1"), b = From("10.0.0.1"), c = From("10.0.0.2");
  Find(a)->Close();
  Find(b)->Close();
  CapturedStdout console;
  Link late = From("10.0.0.9", kLimit);
  EXPECT_THAT(console.Text(), HasSubstr("Connection " + std::to_string(c.id) + " from 10.0.0.2"));
  EXPECT_TRUE(c.station.IsClosed());
  EXPECT_FALSE(late.station.IsClosed());
}

TEST_F(SlotsTest, AStationOnDescriptor0MakesRoomLikeAnyOther) {
  const NoStandardInput closed;
  Link first = From("10.0.0.1");
  ASSERT_EQ(0, Find(first)->GetFD());
  Link late = From("10.0.0.9", kLimit);
  EXPECT_TRUE(first.station.IsClosed());
  EXPECT_FALSE(late.station.IsClosed());
  EXPECT_EQ(0, Find(late)->GetFD());
  Find(late)->Close();
  Pass(2);
}

TEST_F(SlotsTest, AreCountedAnewWhenThePortIsOpenedAnew) {
  Link high = From("10.0.0.1", 900);
  EXPECT_FALSE(high.station.IsClosed());
  Find(high)->Close();
  Pass(2);
  const DescriptorLimit lower{600};
  mListener.Close();
  Pass(2);
  ASSERT_GE(mListener.Open("127.0.0.1", 0), 0);
  Pass();
  Link middle = From("10.0.0.1", 590);
  EXPECT_TRUE(middle.station.IsClosed());
}

TEST_F(SlotsTest, WhatTheHostOpenedItselfMakesNoRoom) {
  const TcpAcceptor acceptor;
  const auto outward = std::make_unique<VQClientSocket>(nullptr, app.GetFdDataList());
  ASSERT_GE(outward->Open("127.0.0.1", acceptor.Port(), 1024), 0);
  Pass();
  const auto before = app.Statistics().closedForAnother;
  Link late = From("10.0.0.9", kLimit);
  EXPECT_TRUE(late.station.IsClosed());
  EXPECT_GE(outward->GetFD(), 0);
  EXPECT_EQ(before, app.Statistics().closedForAnother);
  Link station = From("10.0.0.1");
  Link later = From("10.0.0.9", kLimit);
  EXPECT_TRUE(station.station.IsClosed());
  EXPECT_FALSE(later.station.IsClosed());
  EXPECT_EQ(before + 1, app.Statistics().closedForAnother);
  outward->Close();
  Pass(2);
}

TEST_F(SlotsTest, WhatTheHostOpenedAnewWithoutClosingItMakesNoRoom) {
  const TcpAcceptor acceptor;
  Link link = From("10.0.0.1");
  VQClientSocket* client = Find(link);
  const int before = client->GetFD();
  ASSERT_GE(client->Open("127.0.0.1", acceptor.Port(), 1024), 0);
  close(before);
  ASSERT_TRUE(RunUntil([client] { return client->GetFDStatus() == KZFdData::kStatusActive; }));
  Link late = From("10.0.0.9", kLimit);
  EXPECT_TRUE(late.station.IsClosed());
  EXPECT_GE(client->GetFD(), 0);
}

TEST_F(SlotsTest, WhereEveryoneIsLoggedInTheNewOneIsRefused) {
  Link a = From("10.0.0.1");
  Find(a)->Authentication("S1");
  Link late = From("10.0.0.9", kLimit);
  EXPECT_TRUE(late.station.IsClosed());
  EXPECT_FALSE(a.station.IsClosed());
  EXPECT_EQ(1U, Connections());
}

// A quarter of 1,008 slots is 252.
class ShareTest : public SlotsTest {
 protected:
  void Crowd(const std::string& address, int count) {
    for (int i = 0; i < count; ++i) mCrowd.push_back(From(address));
  }
  size_t Closed() {
    size_t count = 0;
    for (Link& link : mCrowd) count += link.station.IsClosed() ? 1 : 0;
    return count;
  }

  std::vector<Link> mCrowd;
};

TEST_F(ShareTest, IsNotCountedAsLongAsAQuarterIsFree) {
  Crowd("10.0.0.1", 300);
  EXPECT_EQ(0U, Closed());
}

TEST_F(ShareTest, OfOneAddressIsAQuarterOnceFewAreFree) {
  Crowd("10.0.0.1", 252);
  Link other = From("10.0.0.2");
  // Far up: 251 slots are above it, so fewer than a quarter are free.
  mCrowd.push_back(From("10.0.0.1", kLimit - 1 - 251));
  EXPECT_TRUE(mCrowd.front().station.IsClosed());
  EXPECT_EQ(1U, Closed());
  EXPECT_FALSE(other.station.IsClosed());
  Link another = From("10.0.0.3", kLimit - 1 - 250);
  EXPECT_FALSE(another.station.IsClosed());
  EXPECT_EQ(1U, Closed());
}

TEST_F(ShareTest, IsNotReachedWithOneLess) {
  Crowd("10.0.0.1", 251);
  const Link others[] = {From("10.0.0.2"), From("10.0.0.3")};
  Link last = From("10.0.0.1", kLimit - 1 - 251);
  EXPECT_EQ(0U, Closed());
  EXPECT_FALSE(last.station.IsClosed());
}

// 253 slots are above the new one, but two of them are taken.
TEST_F(ShareTest, CountsWhatIsTakenAboveTheNewSlotAsNotFree) {
  Link others[] = {From("10.0.0.2", kLimit - 1), From("10.0.0.3", kLimit - 2)};
  Crowd("10.0.0.1", 252);
  mCrowd.push_back(From("10.0.0.1", kLimit - 1 - 253));
  EXPECT_TRUE(mCrowd.front().station.IsClosed());
  EXPECT_EQ(1U, Closed());
}

// As those of a gateway on the machine of the host.
TEST_F(ShareTest, OfAProxysOwnAddressDoesNotCountTheNewOneTwice) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  const std::string line = "PROXY TCP4 10.0.0.6 10.0.0.6 1 5000\r\n";
  Link first = From("10.0.0.6", kLimit - 1 - 251);
  Crowd("10.0.0.6", 251);
  Feed(first, line);
  EXPECT_FALSE(first.station.IsClosed());
  EXPECT_EQ(0U, Closed());
  Crowd("10.0.0.6", 1);
  Feed(mCrowd.back(), line);
  EXPECT_EQ(0U, Closed());
  dorn::SetTrustedProxies({});
}

TEST_F(ShareTest, IsThatOfAStationBehindAProxyAndNotOfTheProxy) {
  dorn::SetTrustedProxies({"10.0.0.6"});
  const std::string line = "PROXY TCP4 10.0.0.1 10.0.0.6 1 5000\r\n";
  Crowd("10.0.0.6", 252);
  Link last = From("10.0.0.6", kLimit - 1 - 251);
  EXPECT_EQ(0U, Closed());
  for (Link& link : mCrowd) Feed(link, line);
  EXPECT_EQ(0U, Closed());
  Feed(last, line);
  EXPECT_TRUE(mCrowd.front().station.IsClosed());
  EXPECT_EQ(1U, Closed());
  dorn::SetTrustedProxies({});
}

// The descriptor sets of select() end at 1024.
TEST_F(VQStationSocketTest, DescriptorsThatSelectCannotWatchAreRefused) {
  const DescriptorLimit limit(4096);
  ASSERT_TRUE(limit.IsSet()) << "raise the hard limit of descriptors: ulimit -Hn 4096";
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
  Station station(pair[1]);
  ASSERT_EQ(2000, dup2(pair[0], 2000));
  close(pair[0]);
  CapturedStdout console;
  app.mStationSocket.OnAccept(2000, nullptr, nullptr);
  Pass(2);
  const std::string lines = console.Text();
  EXPECT_EQ(0U, Connections());
  EXPECT_TRUE(station.IsClosed());
  EXPECT_EQ(-1, fcntl(2000, F_GETFD));
  EXPECT_EQ(1, std::count(lines.begin(), lines.end(), '\n')) << lines;
}

TEST_F(VQStationSocketTest, StationsThatResetAtOnceLeaveNothingBehind) {
  const int before = OpenDescriptors();
  for (int i = 0; i < 50; ++i) {
    Station station;
    ASSERT_TRUE(station.Connect(Port()));
    station.Reset();
    Pass();
  }
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_TRUE(IsListening());
  EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(VQStationSocketTest, StationsThatComeAndGoLeaveNoDescriptorBehind) {
  const int before = OpenDescriptors();
  for (int i = 0; i < 100; ++i) {
    Station station;
    ASSERT_TRUE(station.Connect(Port()));
    station.SendRaw("\x02half a mess");
    Pass();
  }
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_EQ(before, OpenDescriptors());
}

}  // namespace
