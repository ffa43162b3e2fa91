// The operator panel of a small pumping station.
#include <csignal>
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
    std::fputs("pumphouse: its port is not to be had: is another server running?\n", stderr);
    return 1;
  }
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  std::printf("pumphouse: serving on port %d\n", app.GetStationPort());
  app.Run();
  std::puts("pumphouse: stopped");
}
