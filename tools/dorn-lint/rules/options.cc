// A choice whose Value is none of its Options.
#include <algorithm>
#include <set>

#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

using station::Attribute;

bool IsChoice(const Object& object) {
  return object.mWidget == station::Widget::kList || object.mWidget == station::Widget::kCombo;
}

void CheckTwice(const Object& object, const Node& options, Report& report) {
  std::set<std::string> texts;
  for (const Node& option : options.mElements) {
    if (!texts.insert(option.Text()).second) {
      report.At(object, option.mAt,
                "the option " + Shown(option.Text()) +
                    " twice, and stations cannot tell them apart: take one out");
    }
  }
}

void CheckLanguages(const Object& object, const Node& options, Report& report) {
  for (const Member& member : object.mNode->mMembers) {
    const station::AttributeWord* word = station::FindAttribute(member.mKey);
    const bool isOther = word != nullptr && word->mAttribute == Attribute::kOptions &&
                         !station::LanguageOf(member.mKey).empty() && member.mValue.IsArray();
    if (!isOther || member.mValue.mElements.size() == options.mElements.size()) continue;
    report.At(object, member.mAt,
              Cut(member.mKey) + " is as long as " +
                  std::to_string(member.mValue.mElements.size()) + " and Options as " +
                  std::to_string(options.mElements.size()) +
                  ": write one for each, in the same order");
  }
}

void CheckValue(const Object& object, const Member& options, Report& report) {
  const Node* value = object.ValueOf(Attribute::kValue);
  if (value == nullptr) {
    report.At(object, options.mAt,
              "Options without Value: write the one that is chosen, or \"\" for none");
    return;
  }
  const std::string text = value->Text();
  const auto& texts = options.mValue.mElements;
  const bool isThere = std::any_of(texts.begin(), texts.end(),
                                   [&text](const Node& option) { return option.Text() == text; });
  if (isThere || text.empty()) return;
  report.At(object, value->mAt,
            "the Value " + Shown(text) + " is none of Options: write one of them");
}

void CheckObject(const Object& object, Report& report) {
  const Member* options = object.Find("Options");
  if (options == nullptr) {
    report.At(object, object.mNode->mAt,
              "a " + object.mType + " without Options has nothing to choose: add them");
    return;
  }
  if (!options->mValue.IsArray()) return;
  CheckValue(object, *options, report);
  CheckTwice(object, options->mValue, report);
  CheckLanguages(object, options->mValue, report);
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    if (IsChoice(object)) CheckObject(object, report);
  });
}

}  // namespace

const Rule kOptions{"options", Severity::kWarning,
                    "Options without Value, or a Value that is none of them", Check};

}  // namespace dorn::lint
