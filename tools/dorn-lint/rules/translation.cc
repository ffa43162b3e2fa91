// A dialog in two languages of which some texts exist in one. Units and errors are left alone:
// many are the same everywhere, or come from the host.
#include <algorithm>
#include <set>

#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

using station::Attribute;

bool IsTranslated(Attribute attribute) {
  return station::WordOf(attribute).mHasLanguages && attribute != Attribute::kUnit &&
         attribute != Attribute::kError;
}

bool IsCaption(Attribute attribute) {
  return attribute == Attribute::kLabel || attribute == Attribute::kTitle ||
         attribute == Attribute::kText;
}

// Of the three captions the first is displayed.
bool IsDisplayed(const Object& object, Attribute attribute) {
  if (!IsCaption(attribute)) return true;
  for (const Attribute each : {Attribute::kLabel, Attribute::kTitle, Attribute::kText}) {
    if (each == attribute) return true;
    if (!object.TextOf(each).empty()) return false;
  }
  return true;
}

// Figures and signs need no other language.
bool HasLetters(const Node& value) {
  const auto isLetter = [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
  };
  return std::any_of(value.mText.begin(), value.mText.end(), isLetter) ||
         std::any_of(value.mElements.begin(), value.mElements.end(), HasLetters);
}

std::set<std::string> LanguagesOf(const Object& dialog) {
  std::set<std::string> languages;
  ForEachObject(dialog, [&languages](const Object& object) {
    for (const Member& member : object.mNode->mMembers) {
      const std::string_view language = station::LanguageOf(member.mKey);
      const station::AttributeWord* word = station::FindAttribute(member.mKey);
      if (word != nullptr && !language.empty()) languages.insert(std::string(language));
    }
  });
  return languages;
}

void CheckObject(const Object& object, const std::set<std::string>& languages, Report& report) {
  for (const Member& member : object.mNode->mMembers) {
    const station::AttributeWord* word = station::FindAttribute(member.mKey);
    if (word == nullptr || member.mKey != word->mName || !IsTranslated(word->mAttribute)) continue;
    if (!HasLetters(member.mValue) || !IsDisplayed(object, word->mAttribute)) continue;
    for (const std::string& language : languages) {
      const std::string wanted = member.mKey + ":" + language;
      if (object.Find(wanted) == nullptr) {
        report.At(object, member.mAt,
                  "other texts of this dialog have the language " + Shown(language) + ": add " +
                      Cut(wanted));
      }
    }
  }
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  constexpr std::size_t kMostLanguages = 100;
  const std::set<std::string> languages = LanguagesOf(*file.mDialog);
  if (languages.size() > kMostLanguages) return;
  ForEachObject(*file.mDialog,
                [&](const Object& object) { CheckObject(object, languages, report); });
}

}  // namespace

const Rule kTranslation{"translation", Severity::kWarning,
                        "a text without the language that others have", Check};

}  // namespace dorn::lint
