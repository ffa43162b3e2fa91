// Attributes that nobody knows pass through untouched, and hosts may have their own: only what is
// almost a known one is told.
#include <map>

#include "tools/dorn-lint/Spelling.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

// Those that mean something on such an object, and the lists of children.
KnownWords WordsFor(station::Widget widget) {
  std::vector<std::string_view> words;
  for (const station::AttributeWord& word : station::Attributes()) {
    if (word.IsOn(widget)) words.push_back(word.mName);
  }
  for (const station::ChildrenWord& word : station::ChildrenWords()) words.push_back(word.mName);
  return KnownWords(words);
}

// The words for each kind of object that the file has.
using Vocabulary = std::map<station::Widget, KnownWords>;

const KnownWords& WordsIn(Vocabulary& vocabulary, station::Widget widget) {
  const auto found = vocabulary.find(widget);
  if (found != vocabulary.end()) return found->second;
  return vocabulary.emplace(widget, WordsFor(widget)).first->second;
}

// "Label:ja" for "Label_ja", "label:ja" or "Lable:ja"; empty when it is none of these.
std::string WithLanguage(const std::string& key, const KnownWords& words) {
  const std::size_t mark = key.find_first_of(":_-.");
  if (mark == std::string::npos || key.size() - mark < 3) return {};
  const std::string_view meant = words.Nearest(key.substr(0, mark));
  if (meant.empty() || !EqualsButForCase(meant, key.substr(0, mark))) {
    if (key[mark] != ':') return {};
  }
  const station::AttributeWord* word = station::FindAttribute(meant);
  if (word == nullptr || !word->mHasLanguages) return {};
  return std::string(meant) + ":" + key.substr(mark + 1);
}

void CheckMember(const Object& object, const Member& member, Vocabulary& vocabulary,
                 Report& report) {
  const std::string& key = member.mKey;
  if (station::FindAttribute(key) != nullptr || station::FindChildrenWord(key) != nullptr) return;
  const std::size_t colon = key.find(':');
  if (colon != std::string::npos && station::FindAttribute(key.substr(0, colon)) != nullptr) {
    report.At(object, member.mAt,
              key.substr(0, colon) + " has no languages, and nobody looks at " + Shown(key) +
                  ": take the language out");
    return;
  }
  const KnownWords& words = WordsIn(vocabulary, object.mWidget);
  std::string meant = WithLanguage(key, words);
  if (meant.empty()) meant = words.Nearest(key);
  if (meant.empty()) return;
  report.At(object, member.mAt, "nobody looks at " + Shown(key) + ": write " + Cut(meant));
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  Vocabulary vocabulary;
  ForEachObject(*file.mDialog, [&](const Object& object) {
    for (const Member& member : object.mNode->mMembers) {
      CheckMember(object, member, vocabulary, report);
    }
  });
}

}  // namespace

const Rule kAttributeSpelling{"attribute-spelling", Severity::kWarning,
                              "an attribute that is almost a known one", Check};

}  // namespace dorn::lint
