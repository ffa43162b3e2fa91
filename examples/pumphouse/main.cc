// The operator panel of a small pumping station.
#include <cstdio>

#include "PumphouseApp.h"
#include "PumphouseMaker.h"

// The library finds the one application object by itself; it is enough to define it.
PumphouseMaker maker;
PumphouseApp app(maker);

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0) {
    std::fputs("pumphouse: cannot start: see the lines above\n", stderr);
    return 1;
  }
  if (!app.IsListening()) {
    std::fputs("pumphouse: TCP port 5000 is not to be had: is another server running?\n", stderr);
    return 1;
  }
  std::puts("pumphouse: serving on port 5000");
  app.AppMain();
}
