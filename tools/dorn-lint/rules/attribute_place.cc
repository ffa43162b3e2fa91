// An attribute on a type that has no use for it. The library's own attributes may stand anywhere.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

std::string TypesWith(const station::AttributeWord& word) {
  std::string types;
  for (const station::TypeWord& type : station::Types()) {
    if (word.IsOn(type.mWidget)) types += (types.empty() ? "" : ", ") + std::string(type.mName);
  }
  return types;
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    for (const Member& member : object.mNode->mMembers) {
      const station::AttributeWord* word = station::FindAttribute(member.mKey);
      if (word == nullptr || word->mIsLibrarys || word->IsOn(object.mWidget)) continue;
      report.At(object, member.mAt,
                Cut(member.mKey) + " means nothing here, only on " + TypesWith(*word) +
                    ": take it out, or change the Type");
    }
  });
}

}  // namespace

const Rule kAttributePlace{"attribute-place", Severity::kWarning,
                           "an attribute on a type that has no use for it", Check};

}  // namespace dorn::lint
