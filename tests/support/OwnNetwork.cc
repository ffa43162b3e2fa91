#include "tests/support/OwnNetwork.h"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

namespace {

bool RaiseLoopback() {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  const bool raised = ioctl(fd, SIOCSIFFLAGS, &request) == 0;
  close(fd);
  return raised;
}

}  // namespace

bool EnterOwnNetwork() {
  return (unshare(CLONE_NEWNET) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0) &&
         RaiseLoopback();
}
