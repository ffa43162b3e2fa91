// Gives the tests a network of their own, with nothing but the loopback interface: the station port
// is free whatever runs on this machine, and the host shows that it needs no other interface.
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#include "tests/e2e/HostProcess.h"

namespace {

bool gHasOwnNetwork = false;

bool RaiseLoopback() {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  const bool raised = ioctl(fd, SIOCSIFFLAGS, &request) == 0;
  close(fd);
  return raised;
}

class OwnNetwork : public testing::Environment {
 public:
  void SetUp() override {
    gHasOwnNetwork = (unshare(CLONE_NEWNET) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0) &&
                     RaiseLoopback();
  }
};

[[maybe_unused]] testing::Environment* const kOwnNetwork =
    testing::AddGlobalTestEnvironment(new OwnNetwork);

}  // namespace

bool HasOwnNetwork() { return gHasOwnNetwork; }
