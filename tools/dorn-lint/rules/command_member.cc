// A "Command" makes a group of any object, whatever its Type.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    const Node* command = object.ValueOf(station::Attribute::kCommand);
    if (object.mParent == nullptr || command == nullptr || !command->IsString()) return;
    report.At(
        object, command->mAt,
        "a Command makes a group of this object, whatever its Type: give the attribute another "
        "name");
  });
}

}  // namespace

const Rule kCommandMember{"command-member", Severity::kError, "\"Command\" below the dialog",
                          Check};

}  // namespace dorn::lint
