// A value that stations take for none.
#include "tools/dorn-lint/AttributeValue.h"
#include "tools/dorn-lint/Spelling.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

using station::Attribute;

std::string Wrong(const Member& member, const std::string& wanted) {
  const bool isPlain = !member.mValue.IsArray() && !member.mValue.IsObject();
  return Cut(member.mKey) + (isPlain ? " " + Shown(member.mValue.Text()) : "") +
         " counts as none: write " + wanted;
}

// What a word must be for more than its kind.
bool IsUseful(const station::AttributeWord& word, const Node& value) {
  const bool mustBePositive = word.mAttribute == Attribute::kScale ||
                              word.mAttribute == Attribute::kMaxLength ||
                              word.mAttribute == Attribute::kStep;
  const std::string text = value.Text();
  return !mustBePositive || text.empty() || (text.front() != '-' && text != "0");
}

void CheckMember(const Object& object, const Member& member, Report& report) {
  const station::AttributeWord* word = station::FindAttribute(member.mKey);
  // What the library itself reads has rules of its own, but for the words.
  if (word == nullptr || (word->mIsLibrarys && word->mValues != station::Values::kWord)) return;
  if (!IsRight(*word, member.mValue)) {
    const std::string_view meant = Nearest(member.mValue.Text(), WordsOf(*word));
    const bool isWord = !meant.empty() && meant.back() != ':';
    report.At(object, member.mValue.mAt,
              Wrong(member, isWord ? std::string(meant) : ValuesOf(*word)));
  } else if (!IsUseful(*word, member.mValue)) {
    report.At(object, member.mValue.mAt, Wrong(member, "1 or more"));
  }
}

void CheckObject(const Object& object, Report& report) {
  for (const Member& member : object.mNode->mMembers) CheckMember(object, member, report);
  const Member* value = object.Find("Value");
  if (object.mWidget != station::Widget::kCheck || value == nullptr) return;
  if (!IsRight(station::WordOf(Attribute::kEnabled), value->mValue)) {
    report.At(
        object, value->mValue.mAt,
        "the Value " + Shown(value->mValue.Text()) + " of a CHECK counts as OFF: write ON or OFF");
  }
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) { CheckObject(object, report); });
}

}  // namespace

const Rule kAttributeValue{"attribute-value", Severity::kWarning,
                           "a value that an attribute cannot have", Check};

}  // namespace dorn::lint
