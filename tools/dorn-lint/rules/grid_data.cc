// A grid's file cannot fill its table: "Data" stays an attribute beside it.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    const Member* data = object.Find("Data");
    if (object.mMade != Made::kGrid || data == nullptr) return;
    report.At(
        object, data->mAt,
        "Data in a file does not fill the table, and stations get both: write Rows, or fill it "
        "in the host with SetData");
  });
}

}  // namespace

const Rule kGridData{"grid-data", Severity::kError, "\"Data\" in the file of a grid", Check};

}  // namespace dorn::lint
