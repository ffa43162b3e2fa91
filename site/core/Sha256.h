// By what states, snapshots and session identifiers are compared without being shown.
#ifndef SITE_CORE_SHA256_H_
#define SITE_CORE_SHA256_H_

#include <string_view>

#include "site/core/Entry.h"

namespace dorn::site {

// Ends the process if there is no memory for it: a host that cannot compare must not go on.
Digest Sha256(std::string_view bytes);

}  // namespace dorn::site

#endif  // SITE_CORE_SHA256_H_
