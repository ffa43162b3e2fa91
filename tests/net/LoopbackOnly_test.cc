// The sockets on a machine that has no network but the loopback, as in many containers.
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "dorn/net/KZSocket.h"
#include "tests/net/TestSockets.h"
#include "tests/support/ChildProcess.h"

namespace {

enum : int { kAllWorked = 0, kNoNamespaceHere = 77 };

// Moves this process to a network of its own, in which only the loopback exists.
bool EnterLoopbackOnlyNetwork() {
  if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return false;
  const int fd = socket(AF_INET, SOCK_DGRAM, 0);
  ifreq request{};
  request.ifr_name[0] = 'l';
  request.ifr_name[1] = 'o';
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  const bool isUp = ioctl(fd, SIOCSIFFLAGS, &request) == 0;
  close(fd);
  return isUp;
}

// The number of the first step that fails.
int UseSockets() {
  if (!EnterLoopbackOnlyNetwork()) return kNoNamespaceHere;
  TestApplication app;
  RecordingStream log;
  TestServer server(1024, &log, app.GetFdDataList());
  if (server.Open(nullptr, 5000) < 0 || server.GetFDStatus() != 2) return 1;
  for (const char* host : {"127.0.0.1", "localhost"}) {
    TestClient client(1024, &log, app.GetFdDataList());
    if (client.Open(host, 5000, 3000) < 0) return 2;
    if (!LoopRunner(app).RunUntil([&] { return client.GetFDStatus() == 2; })) return 3;
    client.Close();
    LoopRunner(app).Settle();
  }
  TestUdp udp(1024, &log, app.GetFdDataList());
  if (udp.Open(nullptr, 5000, 3000) < 0 || udp.GetFDStatus() != 2) return 4;
  if (udp.SendTo("x", 1u, "127.0.0.1", static_cast<unsigned short>(5000)) != 0) return 5;
  if (udp.SendTo("x", 1u, "host.invalid", static_cast<unsigned short>(5000)) != -1) return 6;
  return kAllWorked;
}

TEST(LoopbackOnlyTest, ServerClientAndDatagramSocketsWork) {
  const int result = RunChild(&UseSockets).mExitCode;
  // Where no such network can be made, what the resolver says there is covered by the tests that
  // replace it.
  if (result != kNoNamespaceHere) {
    EXPECT_EQ(result, kAllWorked);
  }
}

}  // namespace
