// The system calls that a new connection costs. The test program defines fcntl(), getrlimit(),
// usleep() and accept4() itself, and counts, or fails.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "dorn/server/Descriptors.h"
#include "dorn/server/VQStationSocket.h"
#include "tests/server/ServerTest.h"

namespace {

int gSettings = 0;  // By fcntl().
int gLimits = 0;    // By getrlimit().
int gPauses = 0;    // By usleep().

// What the next accept4() fails with; 0: nothing.
int gAcceptError = 0;

bool gHasLimit = true;  // Or getrlimit() fails.

class AcceptCallsTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    ASSERT_GE(mListener.Open("127.0.0.1", 0), 0);
    Pass();
  }
  void TearDown() override {
    mListener.Close();
    Pass(2);
    ServerTest::TearDown();
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
    gAcceptError = error;
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
    gAcceptError = error;
    gPauses = 0;
    Pass();
    EXPECT_EQ(0, gAcceptError);
    EXPECT_EQ(error == ECONNABORTED ? 0 : 1, gPauses) << error;
    EXPECT_FALSE(reader.IsClosed()) << error;
  }
  EXPECT_TRUE(RunUntil([&reader] { return reader.IsClosed(); }));
  EXPECT_NE("", reader.Bytes());
  app.ServeStatistics(nullptr);
  Pass();
}

}  // namespace

extern "C" int accept4(int fd, sockaddr* __restrict address, socklen_t* __restrict length,
                       int flags) {
  using Accept4 = int (*)(int, sockaddr*, socklen_t*, int);
  static const auto real = reinterpret_cast<Accept4>(dlsym(RTLD_NEXT, "accept4"));
  const int error = std::exchange(gAcceptError, 0);
  if (error == 0) return real(fd, address, length, flags);
  errno = error;
  return -1;
}

extern "C" int usleep(useconds_t time) {
  using Usleep = int (*)(useconds_t);
  static const auto real = reinterpret_cast<Usleep>(dlsym(RTLD_NEXT, "usleep"));
  ++gPauses;
  return real(time);
}

extern "C" int fcntl(int fd, int command, ...) {
  using Fcntl = int (*)(int, int, ...);
  static const auto real = reinterpret_cast<Fcntl>(dlsym(RTLD_NEXT, "fcntl"));
  if (command == F_SETFL || command == F_SETFD) ++gSettings;
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return real(fd, command, argument);
}

extern "C" int getrlimit(__rlimit_resource_t resource, rlimit* limit) noexcept {
  using Getrlimit = int (*)(__rlimit_resource_t, rlimit*);
  static const auto real = reinterpret_cast<Getrlimit>(dlsym(RTLD_NEXT, "getrlimit"));
  if (resource == RLIMIT_NOFILE) ++gLimits;
  if (!gHasLimit) {
    errno = EINVAL;
    return -1;
  }
  return real(resource, limit);
}
