#include "PumphouseMaker.h"

#include <unistd.h>

#include <memory>

#include "NotesDialog.h"
#include "PageDialog.h"
#include "PanelDialog.h"
#include "PumphouseApp.h"

// The name comes from a station: only pages that exist inside `resources`, and each under one name,
// or there would be a dialog for every way to spell it.
const char* PumphouseMaker::GetFilename(const KZString& name) {
  if (name.compare(0, 5, "help@") != 0) return nullptr;
  if (!(dorn::CanonicalDialogName(name) == name)) return nullptr;
  mFileName = name + std::string(".json");
  const std::string path =
      std::string(app.GetModuleDirectory()) + "/resources/" + KZString(mFileName).Replace("@", "/");
  return access(path.c_str(), R_OK) == 0 ? static_cast<const char*>(mFileName) : nullptr;
}

VQDialog* PumphouseMaker::CreateDialog(const KZString& name) {
  std::unique_ptr<VQDialog> dialog;
  const char* file = GetFilename(name);
  if (name == "panel") {
    dialog = std::make_unique<PanelDialog>();
    file = "panel.json";
  } else if (name == "notes") {
    dialog = std::make_unique<NotesDialog>();
    file = "notes.json";
  } else if (file != nullptr) {
    dialog = std::make_unique<PageDialog>();
  } else {
    return nullptr;
  }
  dialog->Init(name, file);
  return dialog.release();  // The library owns it from here.
}
