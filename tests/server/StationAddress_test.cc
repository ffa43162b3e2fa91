// Where a host listens for stations: by default, by its own choice and by the environment.
#include "dorn/server/StationAddress.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/server/ServerTest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/NoStandardInput.h"

namespace {

std::string Content(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// Each test takes its own process: what a host asks for stays asked for.
class StationAddressTest : public ServerTest {
 protected:
  // Runs `body` in a child that has these variables, and expects success.
  static void InChild(const std::map<std::string, std::string>& variables,
                      const std::function<bool()>& body) {
    const ChildResult child = RunChild([&] {
      for (const auto& [name, text] : variables) setenv(name.c_str(), text.c_str(), 1);
      return body() ? 0 : 1;
    });
    EXPECT_EQ(0, child.mExitCode) << child.mOutput;
  }

  static bool Start() { return app.Initialize(0, nullptr) == app.initResult; }
  static std::string Host() { return dorn::AddressOf(app.mStationSocket.GetFD()).host; }

  static std::string ErrorsOf(const std::function<void()>& body) {
    testing::internal::CaptureStderr();
    body();
    return testing::internal::GetCapturedStderr();
  }

  static bool CanConnect(int port) {
    TcpPeer station;
    return station.Connect(port);
  }
};

TEST_F(StationAddressTest, ReadsAnAddressAndAPort) {
  const auto address = dorn::ReadStationAddress("127.0.0.1:6000");
  ASSERT_TRUE(address.has_value());
  EXPECT_EQ("127.0.0.1", address->host);
  EXPECT_EQ(6000, address->port);
  const auto any = dorn::ReadStationAddress(":0");
  ASSERT_TRUE(any.has_value());
  EXPECT_EQ(nullptr, any->HostOrNull());
  EXPECT_EQ(0, any->port);
  const auto last = dorn::ReadStationAddress("host:65535");
  ASSERT_TRUE(last.has_value());
  EXPECT_STREQ("host", last->HostOrNull());
  EXPECT_EQ(65535, last->port);
}

TEST_F(StationAddressTest, ReadsNothingElse) {
  for (const char* text : {"", "5000", "127.0.0.1", "127.0.0.1:", ":-1", ":65536", ":5000 ",
                           ": 5000", ":+5", ":0x10", ":99999999999999"}) {
    EXPECT_FALSE(dorn::ReadStationAddress(text).has_value()) << text;
  }
}

TEST_F(StationAddressTest, APortIsANumberFrom0To65535) {
  for (const int port : {0, 1, 65535}) {
    EXPECT_EQ("", ErrorsOf([port] { EXPECT_TRUE(dorn::CheckPort({"", port})) << port; }));
  }
  for (const int port : {-1, 65536}) {
    EXPECT_EQ("dorn: " + std::to_string(port) + " is no TCP port\n", ErrorsOf([port] {
                EXPECT_FALSE(dorn::CheckPort({"", port}));
              }));
  }
}

TEST_F(StationAddressTest, OfWhatIsNoListenerOfTheNetworkIsNone) {
  const int local = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  for (const int listener : {-1, local}) {
    const dorn::StationAddress address = dorn::AddressOf(listener);
    EXPECT_EQ("", address.host) << listener;
    EXPECT_EQ(0, address.port) << listener;
  }
  close(local);
}

TEST_F(StationAddressTest, IsEveryAddressAndPort5000WithoutACall) {
  const dorn::StationAddress address;
  EXPECT_EQ(nullptr, address.HostOrNull());
  EXPECT_EQ(5000, address.port);
}

TEST_F(StationAddressTest, HasTheSystemChooseThePort) {
  InChild({}, [] {
    app.SetStationAddress("127.0.0.1", 0);
    return Start() && app.GetStationPort() > 0 && app.GetStationPort() != 5000 &&
           Host() == "127.0.0.1" && CanConnect(app.GetStationPort());
  });
}

TEST_F(StationAddressTest, IsThePortThatWasAskedFor) {
  const int port = UnusedPort();
  InChild({}, [port] {
    app.SetStationAddress(nullptr, port);
    return Start() && app.GetStationPort() == port && Host() == "0.0.0.0" && CanConnect(port);
  });
}

TEST_F(StationAddressTest, TwoHostsFitOnOneMachine) {
  InChild({{"DORN_STATION", "127.0.0.1:0"}}, [] {
    if (!Start()) return false;
    TestApp second(maker);
    second.SetStationAddress("127.0.0.1", 0);
    return second.Initialize(0, nullptr) >= 0 && second.GetStationPort() > 0 &&
           second.GetStationPort() != app.GetStationPort();
  });
}

TEST_F(StationAddressTest, IsNoPortBeforeItListens) { EXPECT_EQ(0, app.GetStationPort()); }

TEST_F(StationAddressTest, IsNoPortWhenAnotherProcessHasIt) {
  const TcpAcceptor other;
  InChild({}, [&other] {
    app.SetStationAddress("127.0.0.1", other.Port());
    return Start() && !app.IsListening() && app.GetStationPort() == 0;
  });
}

TEST_F(StationAddressTest, TheEnvironmentHasTheLastWord) {
  const int port = UnusedPort();
  InChild({{"DORN_STATION", "127.0.0.1:" + std::to_string(port)}}, [port] {
    app.SetStationAddress(nullptr, 1);
    return Start() && app.GetStationPort() == port && Host() == "127.0.0.1";
  });
}

TEST_F(StationAddressTest, AnEmptyVariableIsNone) {
  const int port = UnusedPort();
  InChild({{"DORN_STATION", ""}, {"DORN_STATION_FILE", ""}}, [port] {
    app.SetStationAddress("127.0.0.1", port);
    bool isThere = false;
    const std::string errors = ErrorsOf([&] { isThere = Start() && app.GetStationPort() == port; });
    return isThere && errors.empty();
  });
}

TEST_F(StationAddressTest, StartingAnswersWhatTheHostAnswers) {
  for (const int result : {-7, 7}) {
    InChild({}, [result] {
      app.SetStationAddress("127.0.0.1", 0);
      app.initResult = result;
      return app.Initialize(0, nullptr) == result;
    });
  }
}

TEST_F(StationAddressTest, MayBeThatOfDescriptor0) {
  InChild({}, [] {
    const NoStandardInput closed;
    app.SetStationAddress("127.0.0.1", 0);
    app.initResult = 7;
    return app.Initialize(0, nullptr) == 7 && app.mStationSocket.GetFD() == 0 && app.IsListening();
  });
}

TEST_F(StationAddressTest, StartingFailsWithALineWhereThereIsNoDescriptorForThePort) {
  InChild({}, [] {
    app.SetStationAddress("127.0.0.1", 6001);
    app.initResult = 7;  // The hook is not asked.
    testing::internal::CaptureStderr();
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const int result = app.Initialize(0, nullptr);
    setrlimit(RLIMIT_NOFILE, &before);
    return testing::internal::GetCapturedStderr() ==
               "dorn: no socket can be opened for TCP port 6001\n" &&
           result < 0 && !app.IsListening();
  });
}

TEST_F(StationAddressTest, RefusesAVariableThatItCannotRead) {
  InChild({{"DORN_STATION", "5000"}}, [] {
    app.initResult = 7;  // The hook is not asked.
    bool isRefused = false;
    const std::string errors = ErrorsOf([&] { isRefused = app.Initialize(0, nullptr) < 0; });
    return isRefused && !app.IsListening() &&
           errors == "dorn: DORN_STATION is \"5000\"; write it as address:port\n";
  });
}

TEST_F(StationAddressTest, RefusesANumberThatIsNoPort) {
  for (const int port : {-1, 65536, 70000}) {
    InChild({}, [port] {
      app.SetStationAddress("127.0.0.1", port);
      return app.Initialize(0, nullptr) < 0 && !app.IsListening();
    });
  }
}

TEST_F(StationAddressTest, TellsAFileWhereItListens) {
  const std::string path = FolderPath() + "/station";
  InChild({{"DORN_STATION", "127.0.0.1:0"}, {"DORN_STATION_FILE", path}}, [&path] {
    bool isThere = false;
    const std::string errors = ErrorsOf([&isThere] { isThere = Start(); });
    return isThere && errors.empty() &&
           Content(path) == "127.0.0.1:" + std::to_string(app.GetStationPort()) + "\n";
  });
  // Nothing else is left there.
  const std::filesystem::directory_iterator files(FolderPath());
  EXPECT_EQ(1, std::distance(begin(files), end(files)));
}

TEST_F(StationAddressTest, TellsTheFileTheRealAddressOfAHostThatTookEveryOne) {
  const std::string path = FolderPath() + "/station";
  InChild({{"DORN_STATION", ":0"}, {"DORN_STATION_FILE", path}}, [&path] {
    return Start() && Content(path) == "0.0.0.0:" + std::to_string(app.GetStationPort()) + "\n";
  });
}

TEST_F(StationAddressTest, WritesNoFileWhenItDoesNotListen) {
  const TcpAcceptor other;
  const std::string path = FolderPath() + "/station";
  InChild(
      {{"DORN_STATION", "127.0.0.1:" + std::to_string(other.Port())}, {"DORN_STATION_FILE", path}},
      [] { return Start() && !app.IsListening(); });
  EXPECT_FALSE(std::filesystem::exists(path));
}

// What has been written of it is taken away again, and the host is told why.
class UnwritableAddressTest : public StationAddressTest {
 protected:
  static std::string Path() { return FolderPath() + "/station"; }

  static void ExpectNoFile(const std::string& path, const std::string& reason,
                           const std::function<void()>& arrange) {
    InChild({{"DORN_STATION", "127.0.0.1:0"}, {"DORN_STATION_FILE", path}}, [&] {
      arrange();
      bool isThere = false;
      const std::string errors = ErrorsOf([&] { isThere = Start() && app.GetStationPort() > 0; });
      return isThere && errors == "dorn: the station address cannot be written to " + path + ": " +
                                      reason + "\n";
    });
  }

  static std::vector<std::string> Files() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(FolderPath())) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
};

TEST_F(UnwritableAddressTest, IsNoReasonNotToStart) {
  ExpectNoFile("/nowhere/at/all", "No such file or directory", [] {});
}

TEST_F(UnwritableAddressTest, LeavesNothingOnAFullDisk) {
  const std::string path = Path();
  ExpectNoFile(path, "No space left on device", [&path] {
    const std::string fresh = path + "." + std::to_string(getpid());
    EXPECT_EQ(0, symlink("/dev/full", fresh.c_str()));
  });
  EXPECT_THAT(Files(), testing::IsEmpty());
}

TEST_F(UnwritableAddressTest, IsNotWrittenByWayOfAFolder) {
  const std::string path = Path();
  ExpectNoFile(path, "Is a directory", [&path] {
    EXPECT_EQ(0, mkdir((path + "." + std::to_string(getpid())).c_str(), 0700));
  });
  EXPECT_THAT(Files(), testing::IsEmpty());
}

TEST_F(UnwritableAddressTest, LeavesAFolderOfThatNameAlone) {
  std::filesystem::create_directory(Path());
  ExpectNoFile(Path(), "Is a directory", [] {});
  EXPECT_THAT(Files(), testing::ElementsAre("station"));
}

}  // namespace
