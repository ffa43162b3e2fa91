// The system calls that a new connection costs. The test program defines fcntl(), getrlimit(),
// accept4(), usleep() and the allocation of receive buffers itself, and counts, or fails.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "dorn/server/Descriptors.h"
#include "dorn/server/VQStationSocket.h"
#include "tests/server/ServerTest.h"
#include "tests/support/NoStandardInput.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

int gSettings = 0;  // By fcntl().
int gLimits = 0;    // By getrlimit().

int gAccepts = 0;
std::vector<useconds_t> gPauses;  // By usleep(), which does not wait in these tests.
bool gSkipsPauses = false;

std::atomic<bool> gIsMemoryShort{false};  // For receive buffers.

bool gMoveFails = false;  // The next one of fcntl() to another descriptor.

// What the next calls of accept4() fail with, and how many of them.
int gAcceptError = 0;
int gAcceptFailures = 0;

void FailAccept(int error, int times = 1) {
  gAcceptError = error;
  gAcceptFailures = times;
  gAccepts = 0;
  gPauses.clear();
}

bool gHasLimit = true;  // Or getrlimit() fails.

class AcceptCallsTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    gSkipsPauses = true;
    ASSERT_GE(mListener.Open("127.0.0.1", 0), 0);
    Pass();
  }
  void TearDown() override {
    gAcceptFailures = 0;
    gSkipsPauses = false;
    mListener.Close();
    Pass(2);
    ServerTest::TearDown();
  }

  bool IsListening() { return mListener.GetFD() >= 0 && mListener.GetFDStatus() == 2; }

  // What the listener prints when it is ready, with nothing else of the loop.
  std::string Ready() {
    CapturedStdout console;
    mListener.ReadyToRead();
    return console.Text();
  }

  void Accept(Station& station) {
    const std::size_t before = Connections();
    ASSERT_TRUE(station.Connect(PortOf(mListener.GetFD())));
    gSettings = 0;
    gLimits = 0;
    ASSERT_TRUE(RunUntil([before] { return Connections() == before + 1; }));
  }

  VQStationSocket mListener{&app.mLog, app.GetFdDataList()};
};

TEST_F(AcceptCallsTest, AnAcceptedDescriptorIsNotPreparedTwice) {
  Station station;
  Accept(station);
  EXPECT_EQ(0, gSettings);
  VQClientSocket* client = Find(0x8000000);
  ASSERT_NE(nullptr, client);
  EXPECT_NE(0, fcntl(client->GetFD(), F_GETFL) & O_NONBLOCK);
  EXPECT_NE(0, fcntl(client->GetFD(), F_GETFD) & FD_CLOEXEC);
}

// A host may give a descriptor of its own, or one that it accepted in its own way.
TEST_F(AcceptCallsTest, OneThatTheHostGivesIsPrepared) {
  int ends[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
  const Station other(ends[1]);
  mListener.OnAccept(ends[0], nullptr, nullptr);
  EXPECT_NE(0, fcntl(ends[0], F_GETFL) & O_NONBLOCK);
  EXPECT_NE(0, fcntl(ends[0], F_GETFD) & FD_CLOEXEC);
}

TEST_F(AcceptCallsTest, TheLimitIsReadForANewHighestNumberOnly) {
  Station first;
  Accept(first);
  EXPECT_EQ(1, gLimits);
  {
    Station second;
    Accept(second);
    EXPECT_EQ(1, gLimits);
  }
  ASSERT_TRUE(RunUntil([] { return Connections() == 1; }));
  Station third;
  Accept(third);
  EXPECT_EQ(0, gLimits);
}

TEST_F(AcceptCallsTest, WhereNoLimitCanBeReadItIsWhatTheLoopCanWatch) {
  gHasLimit = false;
  EXPECT_EQ(FD_SETSIZE, dorn::DescriptorLimit());
  gHasLimit = true;
}

// The peer is turned away, and the next one served.
TEST_F(AcceptCallsTest, EveryShortageRefusesOneConnectionAndLeavesTheListenerOpen) {
  for (const int error : {EMFILE, ENFILE, ENOBUFS, ENOMEM}) {
    Station station;
    ASSERT_TRUE(station.Connect(PortOf(mListener.GetFD())));
    CapturedStdout console;
    FailAccept(error);
    EXPECT_TRUE(RunUntil([&] { return station.IsClosed(); })) << error;
    EXPECT_EQ("Connection refused: no descriptor is left\n", console.Text()) << error;
  }
  Station served;
  Accept(served);
}

// Without a descriptor its reader waits, and the loop must not spin meanwhile; whoever has given up
// costs no pause.
TEST_F(AcceptCallsTest, TheSocketOfTheStatisticsPausesWhenNoDescriptorIsLeft) {
  const std::string path = FolderPath() + "/statistics";
  ASSERT_TRUE(app.ServeStatistics(path.c_str()));
  Pass();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  Station reader(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(0, connect(reader.Fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
  for (const int error : {EMFILE, ENFILE, ECONNABORTED}) {
    FailAccept(error);
    Pass();
    EXPECT_EQ(0, gAcceptFailures);
    EXPECT_EQ(error == ECONNABORTED ? 0U : 1U, gPauses.size()) << error;
    EXPECT_FALSE(reader.IsClosed()) << error;
  }
  EXPECT_TRUE(RunUntil([&reader] { return reader.IsClosed(); }));
  EXPECT_NE("", reader.Bytes());
  app.ServeStatistics(nullptr);
  Pass();
}

// It may be over by the time the peer is turned away.
TEST_F(AcceptCallsTest, AShortageThatLetsNobodyBeRefusedEitherIsWaitedFor) {
  FailAccept(ENFILE, 2);
  EXPECT_EQ("No connection can be accepted now: Too many open files in system\n", Ready());
  EXPECT_THAT(gPauses, ElementsAre(10000));
  EXPECT_TRUE(IsListening());
}

TEST_F(AcceptCallsTest, AShortageMakesRoomForOneAlone) {
  Station first, second, third;
  Accept(first);
  Accept(second);
  ASSERT_TRUE(third.Connect(PortOf(mListener.GetFD())));
  FailAccept(EMFILE, 2);
  EXPECT_THAT(Ready(), EndsWith("Connection refused: no descriptor is left\n"));
  Pass(2);
  EXPECT_EQ(1U, Connections());
  EXPECT_TRUE(first.IsClosed());
  EXPECT_FALSE(second.IsClosed());
  EXPECT_THAT(gPauses, IsEmpty());
}

TEST_F(AcceptCallsTest, OneThatCannotBeMovedWhereThereIsRoomIsRefused) {
  Station first;
  Accept(first);
  rlimit before{};
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &before));
  const rlimit more{2048, before.rlim_max};
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &more));
  int ends[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
  Station station(ends[1]);
  ASSERT_EQ(1500, dup2(ends[0], 1500));
  close(ends[0]);
  gMoveFails = true;
  CapturedStdout console;
  mListener.OnAccept(1500, nullptr, nullptr);
  EXPECT_THAT(console.Text(),
              EndsWith("Connection refused: too many are open (descriptor 1500)\n"));
  EXPECT_EQ(-1, fcntl(1500, F_GETFD));
  EXPECT_TRUE(station.IsClosed());
  EXPECT_FALSE(std::exchange(gMoveFails, false));
  EXPECT_EQ(0, setrlimit(RLIMIT_NOFILE, &before));
}

TEST_F(AcceptCallsTest, OneWithoutMemoryForItsBufferIsClosedWithALine) {
  std::vector<Station> stations;
  CapturedStdout console;
  const std::size_t before = Connections();
  gIsMemoryShort = true;
  // The first ones may get the buffers of others that have gone.
  for (int i = 0; i < 100 && (stations.empty() || !stations.back().IsClosed()); ++i) {
    stations.emplace_back();
    EXPECT_TRUE(stations.back().Connect(PortOf(mListener.GetFD())));
    mListener.ReadyToRead();
    Pass(2);
  }
  gIsMemoryShort = false;
  EXPECT_THAT(console.Text(), EndsWith("Connection closed: no memory for its receive buffer\n"
                                       "socket delete\n"));
  EXPECT_TRUE(stations.back().IsClosed());
  EXPECT_EQ(before + stations.size() - 1, Connections());
}

// They are about one peer, or one moment.
TEST_F(AcceptCallsTest, FailuresThatPassAreTriedAgainAtOnce) {
  std::size_t served = 0;
  for (const int error : {EINTR, ECONNABORTED, ECONNRESET, EPROTO, EPERM, ENETDOWN, ENETUNREACH,
                          ENOPROTOOPT, EHOSTDOWN, EHOSTUNREACH, ENONET, EOPNOTSUPP, ETIMEDOUT}) {
    Station station;
    ASSERT_TRUE(station.Connect(PortOf(mListener.GetFD())));
    FailAccept(error);
    Ready();
    EXPECT_EQ(2, gAccepts) << error;
    EXPECT_EQ(app.mSocketId, 0x8000000U + 10 * ++served) << error;
    EXPECT_TRUE(IsListening()) << error;
  }
  EXPECT_THAT(gPauses, IsEmpty());
}

TEST_F(AcceptCallsTest, AFailureThatDoesNotPassIsWaitedForAfterSixteenAttempts) {
  FailAccept(ECONNABORTED, 1000);
  EXPECT_EQ("No connection can be accepted now: Software caused connection abort\n", Ready());
  EXPECT_EQ(16, gAccepts);
  EXPECT_THAT(gPauses, ElementsAre(10000));
  EXPECT_TRUE(IsListening());
  gAcceptFailures = 0;
  Station served;
  Accept(served);
}

TEST_F(AcceptCallsTest, WhereNobodyIsWaitingNothingIsDone) {
  FailAccept(EAGAIN);
  EXPECT_EQ("", Ready());
  EXPECT_EQ(1, gAccepts);
  EXPECT_THAT(gPauses, IsEmpty());
  EXPECT_TRUE(IsListening());
}

// Descriptor 0 is one like any other, for the connection and for the listener.

TEST_F(AcceptCallsTest, AConnectionMayBeAcceptedAsDescriptor0) {
  Station station;
  ASSERT_TRUE(station.Connect(PortOf(mListener.GetFD())));
  const NoStandardInput closed;
  mListener.ReadyToRead();
  Pass();
  VQClientSocket* client = Find(0x8000000);
  ASSERT_NE(nullptr, client);
  EXPECT_EQ(0, client->GetFD());
  EXPECT_FALSE(station.IsClosed());
  client->Close();
  Pass(2);
}

TEST_F(AcceptCallsTest, AListenerThatGoesOnIsNotSaidToBeClosed) {
  const NoStandardInput closed;
  VQStationSocket listener(&app.mLog, app.GetFdDataList());
  ASSERT_EQ(0, listener.Open("127.0.0.1", 0));
  Station station;
  ASSERT_TRUE(station.Connect(PortOf(0)));
  FailAccept(EINVAL);
  CapturedStdout console;
  listener.ReadyToRead();
  EXPECT_EQ("VQApplication::MakeSocketId = 8000000\n", console.Text());
  EXPECT_EQ(0, listener.GetFD());
  listener.Close();
  Pass(2);
}

}  // namespace

extern "C" int accept4(int fd, sockaddr* __restrict address, socklen_t* __restrict length,
                       int flags) {
  using Accept4 = int (*)(int, sockaddr*, socklen_t*, int);
  static const auto real = reinterpret_cast<Accept4>(dlsym(RTLD_NEXT, "accept4"));
  ++gAccepts;
  if (gAcceptFailures == 0) return real(fd, address, length, flags);
  --gAcceptFailures;
  errno = gAcceptError;
  return -1;
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  constexpr std::size_t kReceiveBuffer = 0x80000;
  return gIsMemoryShort && size >= kReceiveBuffer ? nullptr : ::operator new[](size);
}

extern "C" int usleep(useconds_t pause) {
  using Usleep = int (*)(useconds_t);
  static const auto real = reinterpret_cast<Usleep>(dlsym(RTLD_NEXT, "usleep"));
  if (!gSkipsPauses) return real(pause);
  gPauses.push_back(pause);
  return 0;
}

extern "C" int fcntl(int fd, int command, ...) {
  using Fcntl = int (*)(int, int, ...);
  static const auto real = reinterpret_cast<Fcntl>(dlsym(RTLD_NEXT, "fcntl"));
  if (command == F_SETFL || command == F_SETFD) ++gSettings;
  if (command == F_DUPFD_CLOEXEC && std::exchange(gMoveFails, false)) {
    errno = EMFILE;
    return -1;
  }
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return real(fd, command, argument);
}

extern "C" int getrlimit(__rlimit_resource_t resource, rlimit* limit) noexcept {
  using Getrlimit = int (*)(__rlimit_resource_t, rlimit*);
  static const auto real = reinterpret_cast<Getrlimit>(dlsym(RTLD_NEXT, "getrlimit"));
  // A sanitizer asks for other limits before variables may be looked at.
  if (resource != RLIMIT_NOFILE) return real(resource, limit);
  ++gLimits;
  if (gHasLimit) return real(resource, limit);
  errno = EINVAL;
  return -1;
}
