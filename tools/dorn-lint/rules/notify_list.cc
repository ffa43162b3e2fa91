// A tree per session keeps what the NotifyList names, letter by letter.
#include "tools/dorn-lint/Spelling.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

constexpr std::size_t kMostKeys = 100;

std::vector<std::string> Separated(const std::string& list) {
  std::vector<std::string> keys;
  for (std::size_t at = 0; at < list.size();) {
    const std::size_t end = std::min(list.find(',', at), list.size());
    keys.push_back(list.substr(at, end - at));
    at = end + 1;
  }
  return keys;
}

std::string WithoutBlanks(const std::string& key) {
  const std::size_t first = key.find_first_not_of(' ');
  return first == std::string::npos ? "" : key.substr(first, key.find_last_not_of(' ') + 1 - first);
}

// What a NotifyList may name: what the object has, and what it could have.
KnownWords WordsFor(const Object& object) {
  std::vector<std::string_view> words;
  for (const Member& member : object.mNode->mMembers) words.emplace_back(member.mKey);
  for (const station::AttributeWord& word : station::Attributes()) words.push_back(word.mName);
  return KnownWords(words);
}

void CheckKey(const Object& object, const Node& list, const KnownWords& words,
              const std::string& key, Report& report) {
  if (key.empty() || WithoutBlanks(key) != key) {
    report.At(object, list.mAt,
              Shown(key) +
                  " in NotifyList names nothing: write the names with "
                  "commas alone between them");
    return;
  }
  if (object.Find(key) != nullptr || station::FindAttribute(key) != nullptr) return;
  const std::string_view meant = words.Nearest(key);
  if (meant.empty()) return;
  report.At(
      object, list.mAt,
      "NotifyList names " + Shown(key) + ", which the object does not have: write " + Cut(meant));
}

void CheckObject(const Object& object, Report& report) {
  const Node* list = object.ValueOf(station::Attribute::kNotifyList);
  if (list == nullptr) return;
  if (!list->IsString()) {
    report.At(object, list->mAt, "a NotifyList that is no text is as none: write \"Name,Value\"");
    return;
  }
  const std::vector<std::string> keys = Separated(list->mText);
  bool hasName = false;
  for (const std::string& key : keys) hasName = hasName || WithoutBlanks(key) == "Name";
  if (!hasName) {
    report.At(
        object, list->mAt,
        "NotifyList without Name: updates to one session name nothing; write \"Name\" into it");
  }
  if (keys.size() > kMostKeys) {
    report.At(object, list->mAt,
              "NotifyList has " + std::to_string(keys.size()) +
                  " names, and those beyond 100 are lost: take some out");
    return;
  }
  const KnownWords words = WordsFor(object);
  for (const std::string& key : keys) CheckKey(object, *list, words, key, report);
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) { CheckObject(object, report); });
}

}  // namespace

const Rule kNotifyList{
    "notify-list", Severity::kError,
    "a NotifyList without Name, with blanks, or with what the object does not have", Check};

}  // namespace dorn::lint
