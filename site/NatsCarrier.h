// The site's log on NATS, for the loop. Internal: not installed.
#ifndef SITE_NATSCARRIER_H_
#define SITE_NATSCARRIER_H_

#include <memory>

#include "site/Carrier.h"
#include "site/Site.h"

namespace dorn::site {

// Null, with a line on standard error, when the options are no good.
std::unique_ptr<Carrier> MakeNatsCarrier(const SiteOptions& options);

}  // namespace dorn::site

#endif  // SITE_NATSCARRIER_H_
