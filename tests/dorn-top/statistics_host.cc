// A host that serves its statistics at the path that it is given.
#include <dorn/dorn.h>

#include <csignal>

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString&) override { return nullptr; }
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 1; }
  void OnAuth(const KZString&, const KZString&, VQClientSocket* station) override {
    const KZString session = dorn::MakeSessionId();
    CreateSession(session, 600000);
    station->Authentication(session);
  }
};

Maker maker;
App app(maker);

int main(int argc, char** argv) {
  if (argc < 2 || app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  if (!app.ServeStatistics(argv[1])) return 1;
  std::signal(SIGTERM, [](int) { app.Stop(); });
  app.Run();
}
