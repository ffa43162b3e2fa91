// A radio button switches off its siblings in a RADIO group alone.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    if (object.mMade != Made::kRadioButton) return;
    if (object.mParent != nullptr && object.mParent->mMade == Made::kRadioGroup) return;
    report.At(object, object.ValueOf(station::Attribute::kType)->mAt,
              "a RADIOBTN outside a RADIO group switches nothing off: put it into a GROUP with "
              "\"Layout\": \"RADIO\"");
  });
}

}  // namespace

const Rule kRadioOutside{"radio-outside", Severity::kError, "a RADIOBTN outside a RADIO group",
                         Check};

}  // namespace dorn::lint
