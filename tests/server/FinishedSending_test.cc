// Stations that have shut down their sending side and still read what is queued for them.
#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

#include "dorn/server/VQStationSocket.h"
#include "tests/server/ServerTest.h"

namespace {

// Counts how often the loop says that it is open.
class OpeningClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  void OnOpen() override {
    ++sOpenings;
    VQClientSocket::OnOpen();
  }
  static int sOpenings;
};
int OpeningClient::sOpenings = 0;

class FinishedSendingTest : public ServerTest {
 protected:
  // A station with a backlog that sends no more.
  void SetUp() override {
    ServerTest::SetUp();
    TcpAcceptor acceptor;
    TcpPeer station;
    ASSERT_TRUE(station.Connect(acceptor.Port()));
    mStation = Station(dup(station.Fd()));
    mClient = new OpeningClient(&app.mLog, app.GetFdDataList());
    const int fd = dup(acceptor.Accept().Fd());
    ASSERT_EQ(0, fcntl(fd, F_SETFL, O_NONBLOCK));
    mClient->Create(fd, 3000);
    Pass();
    OpeningClient::sOpenings = 0;
    {
      const CapturedStdout console;
      mClient->SendData(KZString(std::string(kLength, 'x')));
    }
    mStation.ShutdownWrite();
    ASSERT_TRUE(RunUntil([&] { return IsWatchedForWriting(); }));
  }

  bool IsWatchedForWriting() const { return mClient->GetFDStatus() == KZFdData::kStatusOpen; }

  static constexpr std::size_t kLength = 6 << 20;

  Station mStation;
  OpeningClient* mClient = nullptr;
};

// Or each pass would find the end of the stream anew.
TEST_F(FinishedSendingTest, AreNotWatchedForReading) {
  fd_set reads;
  fd_set writes;
  app.GetFdDataList()->FdSet(&reads, &writes);
  EXPECT_FALSE(FD_ISSET(mClient->GetFD(), &reads));
  EXPECT_TRUE(FD_ISSET(mClient->GetFD(), &writes));
}

TEST_F(FinishedSendingTest, AreNotOpenedAgainByTheRoomForMore) {
  std::size_t received = 0;
  EXPECT_TRUE(RunUntil([&] {
    received += mStation.Take(kLength).size();
    return mStation.IsClosed() && Connections() == 0;
  }));
  EXPECT_EQ(kLength + 2, received + mStation.Take(kLength).size());
  EXPECT_EQ(0, OpeningClient::sOpenings);
}

}  // namespace
