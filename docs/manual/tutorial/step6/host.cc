// The panel of a bottle filler, step 6: files, an end in order, and numbers for who runs it.
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
  app.Run();  // Until Stop(): then the stations have been told all and are closed.
  return app.mTotal.Save() ? 0 : 1;
}
