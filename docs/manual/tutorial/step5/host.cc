// The panel of a bottle filler, step 5: users, and a dialog for each of them.
#include <csignal>
#include <memory>

#include "App.h"
#include "FillerDialog.h"
#include "ShiftDialog.h"

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (name == "filler") return Made(std::make_unique<FillerDialog>(), name, "filler.json");
    if (name == "shift") return Made(std::make_unique<ShiftDialog>(), name, "shift.json");
    return nullptr;
  }

 private:
  static VQDialog* Made(std::unique_ptr<VQDialog> dialog, const KZString& name, const char* file) {
    dialog->Init(name, file);
    return dialog.release();  // The library owns it from here.
  }
};

Maker maker;
App app(maker);

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  app.Run();
}
