#include "site/ChangeRound.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string_view>
#include <utility>

#include "dorn/model/VQJsonParser.h"
#include "site/Objects.h"

namespace dorn::site {

namespace {

// Between a changed key and the session, here the mark, that is not to be told.
constexpr std::string_view kBetween = "|:|";

// Of no connection.
constexpr char kAnybody[] = "#";

std::string_view KeyOf(const std::string& entry) {
  return std::string_view(entry).substr(0, entry.find(kBetween));
}

std::string_view MarkIn(const std::string& entry) {
  const std::size_t between = entry.find(kBetween);
  if (between == std::string::npos) return {};
  return std::string_view(entry).substr(between + kBetween.size());
}

// A key that several connections have changed goes to all of them, so that one record of it does:
// each of two would have the attribute written.
void JoinRecords(std::set<KZString>& records) {
  std::map<std::string_view, KZString> byKey;
  for (const KZString& record : records) {
    const auto [place, isNew] = byKey.try_emplace(KeyOf(record), record);
    if (!isNew) place->second = KZString(std::string(place->first));
  }
  std::set<KZString> joined;
  for (const auto& [key, record] : byKey) joined.insert(record);
  records.swap(joined);
}

// Of the records of one object: the only mark, or empty if somebody else is not spared.
KZString OnlyMark(const std::set<KZString>& records) {
  const KZString first(std::string(MarkIn(*records.begin())));
  const bool isOnly = std::all_of(records.begin(), records.end(),
                                  [&](const KZString& each) { return MarkIn(each) == first; });
  return isOnly ? first : KZString();
}

}  // namespace

KZString MarkOf(int connection) { return KZString("#" + std::to_string(connection)); }

bool HasDeletion(VQJsonObject& tree) {
  if (tree.IsDirtyDel()) return true;
  bool has = false;
  ForEachChild(tree, [&has](VQJsonObject& child) { has = has || HasDeletion(child); });
  return has;
}

ChangeRound::ChangeRound(VQJsonResource& tree) : mTree(tree) {
  Survey(tree);
  std::ostringstream side;
  VQJsonParser parser;
  int commands = 0;
  int depth = 0;
  parser.OutDeleteCommandRaw(side, &tree, commands);
  parser.OutAddCommandRaw(side, &tree, commands, depth, 0);
  mSide = side.str();
}

ChangeRound::~ChangeRound() { mTree.ResetDirty(); }

void ChangeRound::Survey(VQJsonObject& object) {
  if (object.IsDirty()) {
    if (object.mDirty.size() > 1) JoinRecords(object.mDirty);
    for (const KZString& record : object.mDirty) {
      if (!MarkIn(record).empty()) mMarks.emplace(std::string(MarkIn(record)));
    }
    const KZString mark = OnlyMark(object.mDirty);
    const auto [place, isNew] = mSparedBy.try_emplace(object.mName, mark);
    if (!isNew && place->second != mark) place->second.Clear();
  }
  ForEachChild(object, [this](VQJsonObject& child) { Survey(child); });
}

const KZString* ChangeRound::TextFor(int connection) {
  KZString mark = MarkOf(connection);
  if (mMarks.count(mark) == 0) mark = kAnybody;
  auto found = mTexts.find(mark);
  if (found == mTexts.end()) found = mTexts.emplace(mark, Compose(mark)).first;
  return found->second.isEmpty ? nullptr : &found->second.text;
}

ChangeRound::Text ChangeRound::Compose(const KZString& mark) const {
  Text composed;
  const bool hasUpdate = VQJsonParser().MakeUpdateCommand(composed.text, &mTree, false, mark);
  composed.isEmpty = !hasUpdate && mSide.empty();
  if (mSide.empty()) return composed;
  composed.text = KZString("{'Commands':[" + std::string(composed.text) + "," + mSide + "]}");
  return composed;
}

bool ChangeRound::Tells(int connection, const std::string& object) const {
  if (!mSide.empty()) return true;
  const auto changed = mSparedBy.find(object);
  return changed != mSparedBy.end() && changed->second != MarkOf(connection);
}

}  // namespace dorn::site
