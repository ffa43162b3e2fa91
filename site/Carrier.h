// What carries the site's log to the loop. Internal: not installed.
#ifndef SITE_CARRIER_H_
#define SITE_CARRIER_H_

#include "site/core/Transport.h"

namespace dorn::site {

class Carrier : public Transport {
 public:
  // Readable when there is something to deliver.
  virtual int Descriptor() const = 0;

  // Calls the listener with all that has come. Loop thread only.
  virtual void Deliver(TransportListener& listener) = 0;
};

}  // namespace dorn::site

#endif  // SITE_CARRIER_H_
