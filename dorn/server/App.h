// How the library reaches the application object. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_APP_H_
#define DORN_SERVER_APP_H_

class VQApplication;

namespace dorn {

// The first application object that was constructed and still exists: the host's global `app`,
// which is built before main(). Without any, prints a line on standard error and aborts.
// Why it is not reached through the symbol `app`: see VQApplication.h.
VQApplication& App();

}  // namespace dorn

#endif  // DORN_SERVER_APP_H_
