// Environments in which a host may find itself.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "tests/e2e/HostProcess.h"
#include "tests/e2e/RemoteStation.h"

namespace {

using testing::HasSubstr;

constexpr char kTree[] =
    R"({"Command":"DIALOG","Name":"top","Objects":[{"Name":"l1","Value":1234567}]})";

class EnvironmentTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { HostProcess::WriteResource("top.json", kTree); }
};

// In the network of the tests there is the loopback interface alone. On a machine that does not let
// them have their own there are others too, and the host listens all the same.
TEST_F(EnvironmentTest, AHostThatKnowsOnlyTheLoopbackInterfaceListens) {
  HostProcess host;
  EXPECT_TRUE(host.WaitForConsole("READY\n"));
}

TEST_F(EnvironmentTest, APortInUseIsReportedInOneLineAndTheHostCanTell) {
  HostProcess first;
  ASSERT_TRUE(first.WaitForConsole("READY\n"));
  HostProcess second;
  EXPECT_EQ(3, second.WaitForExit());
  const std::string errors = second.Errors();
  EXPECT_EQ(1, std::count(errors.begin(), errors.end(), '\n')) << errors;
  EXPECT_THAT(errors, HasSubstr("5000"));
  RemoteStation station;
  EXPECT_TRUE(station.LogIn("a"));
}

TEST_F(EnvironmentTest, ClosedStandardDescriptorsHarmNothing) {
  HostProcess host({}, [] {
    for (const int fd : {0, 1, 2}) close(fd);
  });
  RemoteStation station;
  for (int i = 0; i < 100; ++i) {
    station.SendText(R"({"Command":"HELLO","Id":"a","Pass":"x"})");
    ASSERT_THAT(station.Next(), HasSubstr("Authentication")) << i;
  }
  EXPECT_TRUE(host.IsAlive());
}

TEST_F(EnvironmentTest, AConsoleThatNobodyReadsAnyMoreHarmsNothing) {
  HostProcess host({}, [] {
    int ends[2];
    if (pipe(ends) != 0) return;
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
  });
  RemoteStation station;
  for (int i = 0; i < 100; ++i) {
    station.SendText(R"({"Command":"HELLO","Id":"a","Pass":"x"})");
    ASSERT_THAT(station.Next(), HasSubstr("Authentication")) << i;
  }
  EXPECT_TRUE(host.IsAlive());
}

TEST_F(EnvironmentTest, AFullConsoleDeviceHarmsNothing) {
  HostProcess host({}, [] {
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    dup2(full, STDOUT_FILENO);
  });
  RemoteStation station;
  EXPECT_TRUE(station.LogIn("a"));
  EXPECT_TRUE(host.IsAlive());
}

TEST_F(EnvironmentTest, ALocaleThatGroupsDigitsChangesNoByte) {
  HostProcess::WriteResource("grouped.bin", std::string(1234567, 'x'));
  HostProcess host({"grouping"});
  RemoteStation station;
  ASSERT_TRUE(station.LogIn("a"));
  EXPECT_EQ("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"l1\",\"Value\":1234567}]}\n",
            station.Enter("top"));
  station.SendText(R"({"Command":"GETFILE","File":"grouped.bin"})");
  EXPECT_THAT(station.Next(), HasSubstr("\"Length\":1234567}"));
  EXPECT_TRUE(host.WaitForConsole(" id=134217728 "));
}

TEST_F(EnvironmentTest, ASignalThatInterruptsTheLoopHarmsNothing) {
  HostProcess host;
  RemoteStation station;
  ASSERT_TRUE(station.LogIn("a"));
  for (int i = 0; i < 50; ++i) {
    host.Interrupt();
    ASSERT_TRUE(station.HasNothingMore()) << i;
  }
}

TEST_F(EnvironmentTest, AnIdleHostUsesNoProcessorTime) {
  HostProcess host;
  RemoteStation station;
  ASSERT_TRUE(station.LogIn("a"));
  const long before = host.CpuMs();
  usleep(300000);  // The time over which the processor's is measured.
  EXPECT_LE(host.CpuMs() - before, 100);
}

}  // namespace
