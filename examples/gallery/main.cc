// Every type of object and every attribute that stations know, on a few dialogs: something to look
// at while building a station, to copy from while writing a resource file, and to test with.
#include <csignal>
#include <cstdio>

#include "GalleryApp.h"
#include "GalleryMaker.h"

GalleryMaker maker;
GalleryApp app(maker);

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) {
    std::fputs("gallery: cannot start: see the lines above\n", stderr);
    return 1;
  }
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  std::printf("gallery: serving on port %d\n", app.GetStationPort());
  app.Run();
  std::puts("gallery: stopped");
}
