// Of two objects with one name commands reach the first, and updates name both alike.
#include <unordered_set>

#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  std::unordered_set<std::string> names;
  ForEachObject(*file.mDialog, [&](const Object& object) {
    if (object.mName.empty() || names.insert(object.mName).second) return;
    const bool isDialogs = object.mName == file.mDialog->mName;
    report.At(object, object.ValueOf(station::Attribute::kName)->mAt,
              std::string(isDialogs ? "the dialog itself has this Name"
                                    : "another object above has this Name") +
                  ", and updates mix them up: give it one of its own");
  });
}

}  // namespace

const Rule kDuplicateName{"duplicate-name", Severity::kError, "two objects with one Name", Check};

}  // namespace dorn::lint
