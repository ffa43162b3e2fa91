// The host of the benchmarks: its dialogs are all plain ones.
#include "dorn/dorn.h"

namespace {

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString&) override { return nullptr; }
};

class MicroApp : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 0; }
  void OnAuth(const KZString&, const KZString&, VQClientSocket*) override {}
};

}  // namespace

Maker maker;
MicroApp app(maker);

VQApplication& HostApp() { return app; }
