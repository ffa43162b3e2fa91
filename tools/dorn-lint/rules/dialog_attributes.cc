// What the dialog itself has travels with its tree alone: no update changes it on a screen.
#include <algorithm>

#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

using station::Attribute;

bool BelongsToDialogs(Attribute attribute) {
  constexpr Attribute kTheirs[] = {Attribute::kName,  Attribute::kType,  Attribute::kCommand,
                                   Attribute::kLabel, Attribute::kTitle, Attribute::kText,
                                   Attribute::kAlias, Attribute::kHint,  Attribute::kNotifyList};
  return std::find(std::begin(kTheirs), std::end(kTheirs), attribute) != std::end(kTheirs);
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  const Object& dialog = *file.mDialog;
  for (const Member& member : dialog.mNode->mMembers) {
    const station::AttributeWord* word = station::FindAttribute(member.mKey);
    if (word == nullptr || BelongsToDialogs(word->mAttribute) || !word->IsOn(dialog.mWidget))
      continue;
    report.At(dialog, member.mAt,
              Cut(member.mKey) +
                  " of the dialog itself is seen at the next entry only: put it on a "
                  "GROUP in it");
  }
}

}  // namespace

const Rule kDialogAttributes{"dialog-attributes", Severity::kWarning,
                             "attributes of the dialog itself, which stations see when they enter",
                             Check};

}  // namespace dorn::lint
