// Stations ask for the file of a dialog by the dialog's name.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

bool IsBelowResources(const std::string& place) {
  const std::string folder = FolderOf(place);
  constexpr std::string_view kResources = "resources/";
  return folder.size() >= kResources.size() &&
         folder.compare(folder.size() - kResources.size(), kResources.size(), kResources) == 0;
}

// Outside a folder called "resources" nobody knows which folders belong to the name.
std::string LastPart(const std::string& name) { return name.substr(name.rfind('@') + 1); }

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr || file.mDialog->mName.empty()) return;
  const std::string expected = DialogNameOf(file.mPlace);
  const std::string& name = file.mDialog->mName;
  if (name == expected) return;
  if (!IsBelowResources(file.mPlace) && LastPart(name) == expected) return;
  report.At(file.mDialog->ValueOf(station::Attribute::kName)->mAt,
            "the dialog " + Shown(name) + " lies in the file of " + Shown(expected) +
                ", where stations do not find it: rename one of them");
}

}  // namespace

const Rule kDialogName{"dialog-name", Severity::kWarning,
                       "the Name of the dialog is not that of its file", Check};

}  // namespace dorn::lint
