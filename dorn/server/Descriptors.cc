#include "dorn/server/Descriptors.h"

#include <sys/resource.h>
#include <sys/select.h>

#include <algorithm>

namespace dorn {

int DescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return FD_SETSIZE;
  return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, FD_SETSIZE));
}

}  // namespace dorn
