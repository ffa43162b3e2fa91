// A dialog in two languages of which some texts exist in one. Units and errors are left alone:
// many are the same everywhere, or come from the host.
#include <algorithm>
#include <set>
#include <unordered_map>

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

// Of equal keys the last one counts.
using Members = std::unordered_map<std::string_view, const Member*>;

Members MembersOf(const Object& object) {
  Members members;
  for (const Member& member : object.mNode->mMembers) members[member.mKey] = &member;
  return members;
}

bool IsToTranslate(const Object& object, const Member& member) {
  const station::AttributeWord* word = station::FindAttribute(member.mKey);
  return word != nullptr && member.mKey == word->mName && IsTranslated(word->mAttribute) &&
         HasLetters(member.mValue) && IsDisplayed(object, word->mAttribute);
}

// The keys that an object lacks, in the order of its texts.
struct Missing {
  static constexpr std::size_t kMostNamed = 8;

  void Add(const std::string& key) {
    if (mCount++ < kMostNamed) mNamed += (mNamed.empty() ? "" : ", ") + Cut(key);
  }
  std::string Text() const {
    if (mCount <= kMostNamed) return mNamed;
    return mNamed + " and " + std::to_string(mCount - kMostNamed) + " more";
  }

  std::size_t mCount = 0;
  std::string mNamed;
};

void CheckObject(const Object& object, const std::set<std::string>& languages, Report& report) {
  const Members members = MembersOf(object);
  Missing missing;
  std::size_t at = 0;
  for (const Member& member : object.mNode->mMembers) {
    if (members.at(member.mKey) != &member || !IsToTranslate(object, member)) continue;
    for (const std::string& language : languages) {
      const std::string wanted = member.mKey + ":" + language;
      if (members.count(wanted) != 0) continue;
      if (missing.mCount == 0) at = member.mAt;
      missing.Add(wanted);
    }
  }
  if (missing.mCount == 0) return;
  report.At(object, at, "other texts of this dialog have more languages: add " + missing.Text());
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
