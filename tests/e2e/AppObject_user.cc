// Another file of the same host.
#include "tests/e2e/AppObject_host.h"

namespace {

// Constructed before or after `app`, which the language leaves open; it only keeps the address.
const MyApp* const kApp = &app;

}  // namespace

int CheckFromAnotherFile() {
  const unsigned int before = app.mSessionTimerId;
  const VQSession session("other file", 0);
  return kApp == &app && app.mSessionTimerId == before + 1 ? 0 : 1;
}
