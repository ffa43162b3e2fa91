#include "dorn/server/Descriptors.h"

#include <sys/resource.h>
#include <sys/select.h>

namespace dorn {

int DescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur > FD_SETSIZE) return FD_SETSIZE;
  return static_cast<int>(limit.rlim_cur);
}

}  // namespace dorn
