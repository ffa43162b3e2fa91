// A grid without Rows has a table that no update brings.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    if (object.mMade != Made::kGrid || object.Find("Rows") != nullptr) return;
    report.At(
        object, object.mNode->mAt,
        "a GRID without Rows: no update brings its table; write \"Rows\": [], and let the host "
        "set Rows");
  });
}

}  // namespace

const Rule kGridRows{"grid-rows", Severity::kWarning, "a GRID without Rows", Check};

}  // namespace dorn::lint
