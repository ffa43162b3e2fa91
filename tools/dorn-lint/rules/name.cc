// Without a name an object is never updated.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    if (!object.mName.empty()) return;
    const Node* name = object.ValueOf(station::Attribute::kName);
    if (name == nullptr) {
      report.At(object.mNode->mAt,
                object.mParent == nullptr
                    ? "the dialog has no Name: give it that of its file"
                    : "no Name, so nothing can update it: give it one of its own");
    } else if (name->IsString()) {
      report.At(name->mAt, "an empty Name, so nothing can update it: give it one of its own");
    } else {
      report.At(name->mAt, "a Name that is no text, so nothing can update it: put it in quotes");
    }
  });
}

}  // namespace

const Rule kName{"name", Severity::kError, "no Name, an empty one, or one that is no text", Check};

}  // namespace dorn::lint
