// Loading switches nothing off: two buttons that are on stay so until one is chosen.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

using station::Attribute;

bool IsOn(const Object& button) {
  const bool hasAttr = button.ValueOf(Attribute::kAttr) != nullptr;
  return button.TextOf(hasAttr ? Attribute::kAttr : Attribute::kValue) == "ON";
}

void CheckGroup(const Object& group, Report& report) {
  const Object* first = nullptr;
  for (const auto& child : group.mChildren) {
    if (child->mMade != Made::kRadioButton || !IsOn(*child)) continue;
    if (first == nullptr) {
      first = child.get();
      continue;
    }
    const bool hasAttr = child->ValueOf(Attribute::kAttr) != nullptr;
    report.At(*child, child->ValueOf(hasAttr ? Attribute::kAttr : Attribute::kValue)->mAt,
              "ON as " + Shown(first->mName) + " is, and of a RADIO group one can be: write OFF");
  }
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    if (object.mMade == Made::kRadioGroup) CheckGroup(object, report);
  });
}

}  // namespace

const Rule kRadioOn{"radio-on", Severity::kError, "two buttons of a RADIO group that are ON",
                    Check};

}  // namespace dorn::lint
