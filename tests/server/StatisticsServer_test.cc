// What the application tells about itself to whoever connects to its socket.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include "tests/server/ServerTest.h"
#include "tests/support/NoStandardInput.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// What the next listen() fails with; 0: nothing.
int gListenError = 0;

// While it lives, no descriptor can be opened.
class NoFreeDescriptor {
 public:
  NoFreeDescriptor() {
    getrlimit(RLIMIT_NOFILE, &mSaved);
    const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(next);
    rlimit limit = mSaved;
    limit.rlim_cur = static_cast<rlim_t>(next);
    setrlimit(RLIMIT_NOFILE, &limit);
  }
  ~NoFreeDescriptor() { setrlimit(RLIMIT_NOFILE, &mSaved); }
  NoFreeDescriptor(const NoFreeDescriptor&) = delete;
  NoFreeDescriptor& operator=(const NoFreeDescriptor&) = delete;

 private:
  rlimit mSaved{};
};

class StatisticsServerTest : public ServerTest {
 protected:
  void TearDown() override {
    app.ServeStatistics(nullptr);
    app.SetMoreStatistics({});
    Pass();
    ServerTest::TearDown();
  }

  static std::string SocketPath() { return FolderPath() + "/statistics"; }

  // The same file, by a name of that length.
  static std::string SocketPathOf(std::size_t length) {
    const std::string name = "statistics";
    std::string path = FolderPath();
    path.resize(length - name.size(), '/');
    return path + name;
  }

  static sockaddr_un AddressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
  }

  // A socket of another program.
  static int BoundTo(const std::string& path, int type) {
    const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    const sockaddr_un address = AddressOf(path);
    EXPECT_EQ(0, bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    return fd;
  }

  // A connection that nobody has accepted yet, or -1.
  static int ConnectedTo(const std::string& path) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = AddressOf(path);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
    close(fd);
    return -1;
  }

  // Connects and lets the loop answer; all that came before the end, or "" without a connection.
  static std::string Ask(const std::string& path) {
    const int fd = ConnectedTo(path);
    if (fd < 0) return "";
    Station reader(fd);
    EXPECT_TRUE(RunUntil([&reader] { return reader.IsClosed(); }));
    return reader.Bytes();
  }

  // Nothing is served, the reason is told, and nothing is left open.
  static void ExpectNone(const std::string& path, const std::string& reason) {
    const int open = OpenDescriptors();
    testing::internal::CaptureStderr();
    errno = ECONNREFUSED;  // Of somebody else before.
    EXPECT_FALSE(app.ServeStatistics(path.c_str()));
    EXPECT_EQ("dorn: no statistics at " + path + ": " + reason + "\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(open, OpenDescriptors());
  }
};

TEST_F(StatisticsServerTest, IsServedAtASocket) {
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  Pass();
  Link link = Connect();
  const std::string text = Ask(SocketPath());
  EXPECT_THAT(text, HasSubstr("\ndorn_stations 1\n"));
  Link another = Connect();
  EXPECT_THAT(Ask(SocketPath()), HasSubstr("\ndorn_stations 2\n"));
}

TEST_F(StatisticsServerTest, ServesWhatOthersAddBehindIt) {
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  Pass();
  int asked = 0;
  app.SetMoreStatistics([&asked] { return "plant_pumps " + std::to_string(++asked) + "\n"; });
  EXPECT_THAT(Ask(SocketPath()),
              AllOf(HasSubstr("dorn_passes_total "), EndsWith("\nplant_pumps 1\n")));
  EXPECT_THAT(Ask(SocketPath()), EndsWith("\nplant_pumps 2\n"));
  app.SetMoreStatistics({});
  EXPECT_THAT(Ask(SocketPath()), Not(HasSubstr("plant_pumps")));
}

TEST_F(StatisticsServerTest, IsForTheOwnUserAlone) {
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  struct stat status {};
  ASSERT_EQ(0, stat(SocketPath().c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 0777U);
}

TEST_F(StatisticsServerTest, IsARecordToWhichTheListGivesANumber) {
  const KZFdDataList& list = *app.GetFdDataList();
  const int next = list.mUniqueId;
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  Pass();
  KZFdData* const record = list.back();
  EXPECT_EQ(KZFdData::kStatusActive, record->GetFDStatus());
  EXPECT_EQ(next, record->GetId());
  EXPECT_EQ(KZFdData::kTypeListener, record->GetType());
  EXPECT_EQ(1, record->GetAutoDelete());
}

TEST_F(StatisticsServerTest, TakesTheSocketAwayAgain) {
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  Pass();
  const int open = OpenDescriptors();
  EXPECT_TRUE(app.ServeStatistics(""));
  EXPECT_FALSE(std::filesystem::exists(SocketPath()));
  Pass(2);
  EXPECT_EQ(open - 1, OpenDescriptors());
}

TEST_F(StatisticsServerTest, TakesTheSocketAwayAtTheEndOfTheLoop) {
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  app.Stop();
  app.Run();
  EXPECT_FALSE(std::filesystem::exists(SocketPath()));
}

// A host may close all descriptors to run in the background; the loop then removes the record.
TEST_F(StatisticsServerTest, OutlivesTheEndOfItsDescriptor) {
  const int next = dup(0);
  close(next);
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  Pass();
  ASSERT_EQ(0, close(next)) << "its descriptor was the lowest that was free";
  Pass(3);
  EXPECT_FALSE(std::filesystem::exists(SocketPath()));
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  Pass();
  EXPECT_THAT(Ask(SocketPath()), HasSubstr("dorn_stations"));
}

TEST_F(StatisticsServerTest, MovesToAnotherPath) {
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  const std::string other = SocketPath() + "2";
  ASSERT_TRUE(app.ServeStatistics(other.c_str()));
  Pass(2);
  EXPECT_FALSE(std::filesystem::exists(SocketPath()));
  EXPECT_THAT(Ask(other), HasSubstr("dorn_stations"));
  EXPECT_TRUE(app.ServeStatistics(nullptr));
  EXPECT_FALSE(std::filesystem::exists(other));
}

// The former record, which dies later, may have had the same node.
TEST_F(StatisticsServerTest, MovesToTheSamePath) {
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
    Pass(2);
    EXPECT_THAT(Ask(SocketPath()), HasSubstr("dorn_stations")) << i;
  }
}

// Its record lives for a little longer.
TEST_F(StatisticsServerTest, TakesItsNameAwayOnce) {
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  const std::string other = SocketPath() + "2";
  std::filesystem::create_hard_link(SocketPath(), other);
  EXPECT_TRUE(app.ServeStatistics(nullptr));
  EXPECT_FALSE(std::filesystem::exists(SocketPath()));
  std::filesystem::rename(other, SocketPath());
  Pass(2);
  EXPECT_TRUE(std::filesystem::exists(SocketPath()));
}

TEST_F(StatisticsServerTest, LeavesTheSocketAloneThatSomebodyElseHasPutInItsPlace) {
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  std::filesystem::rename(SocketPath(), SocketPath() + " before");
  const int other = BoundTo(SocketPath(), SOCK_STREAM);
  EXPECT_TRUE(app.ServeStatistics(nullptr));
  Pass(2);
  EXPECT_TRUE(std::filesystem::exists(SocketPath()));
  close(other);
}

TEST_F(StatisticsServerTest, ReplacesASocketThatAKilledProcessLeftBehind) {
  close(BoundTo(SocketPath(), SOCK_STREAM));
  EXPECT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  EXPECT_THAT(Ask(SocketPath()), HasSubstr("dorn_stations"));
}

// A host may run with standard input closed.
TEST_F(StatisticsServerTest, IsServedAtDescriptor0) {
  close(BoundTo(SocketPath(), SOCK_STREAM));
  const NoStandardInput closed;
  EXPECT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  EXPECT_TRUE(closed.IsTaken());
  EXPECT_THAT(Ask(SocketPath()), HasSubstr("dorn_stations"));
  app.ServeStatistics(nullptr);
  Pass();
  EXPECT_FALSE(closed.IsTaken());
}

// A datagram socket refuses the connection for another reason than that nobody listens.
TEST_F(StatisticsServerTest, LeavesWhatIsAtItsPathAlone) {
  const std::string living = SocketPath() + " living";
  const int listener = BoundTo(living, SOCK_STREAM);
  ASSERT_EQ(0, listen(listener, 1));
  ExpectNone(living, "Address already in use");
  EXPECT_TRUE(std::filesystem::is_socket(living));
  close(listener);

  const std::string datagrams = SocketPath() + " datagrams";
  const int receiver = BoundTo(datagrams, SOCK_DGRAM);
  ExpectNone(datagrams, "Address already in use");
  EXPECT_TRUE(std::filesystem::is_socket(datagrams));
  close(receiver);

  const std::string file = FolderPath() + "/file";
  std::ofstream(file) << "mine";
  ExpectNone(file, "Address already in use");
  EXPECT_TRUE(std::filesystem::is_regular_file(file));
}

TEST_F(StatisticsServerTest, HasAPathThatFitsIntoAnAddress) {
  constexpr std::size_t kRoom = sizeof(sockaddr_un::sun_path);
  ExpectNone(SocketPathOf(kRoom), "File name too long");
  ExpectNone(SocketPathOf(kRoom + 100), "File name too long");
  EXPECT_FALSE(std::filesystem::exists(SocketPath()));
  ASSERT_TRUE(app.ServeStatistics(SocketPathOf(kRoom - 1).c_str()));
  EXPECT_THAT(Ask(SocketPath()), HasSubstr("dorn_stations"));
}

TEST_F(StatisticsServerTest, SaysThatTheSystemDoesNotLetItListen) {
  gListenError = EOPNOTSUPP;
  ExpectNone(SocketPath(), "Operation not supported");
  EXPECT_EQ(0, gListenError);
  // What is left is replaced like that of a killed process.
  EXPECT_TRUE(app.ServeStatistics(SocketPath().c_str()));
}

// It cannot be found out then whether somebody listens there.
TEST_F(StatisticsServerTest, SaysThatNoDescriptorIsLeft) {
  close(BoundTo(SocketPath(), SOCK_STREAM));
  testing::internal::CaptureStderr();
  {
    const NoFreeDescriptor none;
    EXPECT_FALSE(app.ServeStatistics(SocketPath().c_str()));
  }
  EXPECT_EQ("dorn: no statistics at " + SocketPath() + ": Too many open files\n",
            testing::internal::GetCapturedStderr());
  EXPECT_TRUE(std::filesystem::exists(SocketPath()));
}

TEST_F(StatisticsServerTest, AReaderMayGetDescriptor0) {
  ASSERT_TRUE(app.ServeStatistics(SocketPath().c_str()));
  Pass();
  Station reader(ConnectedTo(SocketPath()));
  const NoStandardInput closed;
  EXPECT_TRUE(RunUntil([&reader] { return reader.IsClosed(); }));
  EXPECT_THAT(reader.Bytes(), HasSubstr("dorn_stations"));
  EXPECT_FALSE(NoStandardInput::IsTaken());
}

}  // namespace

extern "C" int listen(int fd, int backlog) noexcept {
  using Listen = int (*)(int, int);
  static const auto real = reinterpret_cast<Listen>(dlsym(RTLD_NEXT, "listen"));
  const int error = std::exchange(gListenError, 0);
  if (error == 0) return real(fd, backlog);
  errno = error;
  return -1;
}
