// A Goto that leads nowhere. A host may make dialogs that have no file.
#include <algorithm>

#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site& site, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&](const Object& object) {
    const std::string name = object.TextOf(station::Attribute::kGoto);
    if (name.empty() || site.mDialogs.count(name) != 0) return;
    std::string path = name;
    std::replace(path.begin(), path.end(), '@', '/');
    path = FolderOf(file.mPlace) + path + ".json";
    if (site.mHasFile(path)) return;
    report.At(object, object.ValueOf(station::Attribute::kGoto)->mAt,
              "no file has the dialog " + Shown(name) + ": mend the name, or write the file");
  });
}

}  // namespace

const Rule kGoto{"goto", Severity::kWarning, "a Goto to a dialog that no file has", Check};

}  // namespace dorn::lint
