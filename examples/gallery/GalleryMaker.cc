#include "GalleryMaker.h"

#include <memory>

#include "ChangesDialog.h"
#include "GalleryDialog.h"
#include "ManyDialog.h"
#include "MineDialog.h"
#include "TablesDialog.h"

VQDialog* GalleryMaker::CreateDialog(const KZString& name) {
  std::unique_ptr<VQDialog> dialog;
  if (name == "gallery" || name == "sub@page") dialog = std::make_unique<GalleryDialog>();
  if (name == "changes") dialog = std::make_unique<ChangesDialog>();
  if (name == "tables") dialog = std::make_unique<TablesDialog>();
  if (name == "mine") dialog = std::make_unique<MineDialog>();
  if (name == "many") dialog = std::make_unique<ManyDialog>();
  if (!dialog) return nullptr;
  dialog->Init(name, (name + ".json").c_str());
  return dialog.release();  // The library owns it from here.
}
