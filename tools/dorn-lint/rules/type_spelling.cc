// A type that nobody knows is shown as a label; hosts may have their own.
#include "tools/dorn-lint/Spelling.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void CheckObject(const Object& object, Report& report) {
  const Node* type = object.ValueOf(station::Attribute::kType);
  if (type == nullptr) return;
  if (!type->IsString()) {
    report.At(object, type->mAt, "a Type that is no text is as none: write a word in quotes");
    return;
  }
  if (station::FindType(type->mText) != nullptr) return;
  std::vector<std::string_view> words;
  for (const station::TypeWord& word : station::Types()) words.push_back(word.mName);
  const std::string_view meant = Nearest(type->mText, words);
  if (meant.empty()) return;
  report.At(object, type->mAt,
            "nobody knows the Type " + Shown(type->mText) + ": write " + std::string(meant));
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) { CheckObject(object, report); });
}

}  // namespace

const Rule kTypeSpelling{"type-spelling", Severity::kError, "a Type that is almost a known one",
                         Check};

}  // namespace dorn::lint
