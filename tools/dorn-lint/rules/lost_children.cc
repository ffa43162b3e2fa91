// Only groups keep children, and only those of one list.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

bool IsList(const station::ChildrenWord& word, const Node& value) {
  return word.mIsList ? value.IsArray() : value.IsObject();
}

void CheckElements(const Object& group, const Node& list, Report& report) {
  for (const Node& element : list.mElements) {
    if (!element.IsObject()) {
      report.At(group, element.mAt, "this is no object and is passed over: take it out");
    }
  }
}

void CheckGroup(const Object& group, Report& report) {
  std::string_view taken;
  for (const station::ChildrenWord& word : station::ChildrenWords()) {
    const Member* member = group.Find(word.mName);
    if (member == nullptr) continue;
    const std::string name(word.mName);
    if (!IsList(word, member->mValue)) {
      report.At(group, member->mAt,
                name + (word.mIsList ? " is no array" : " is no object") +
                    " and makes no objects: write " + (word.mIsList ? "[...]" : "{...}"));
    } else if (!taken.empty()) {
      report.At(group, member->mAt,
                "the objects of " + name + " are lost beside " + std::string(taken) +
                    ": put all of them there");
    } else {
      taken = word.mName;
      if (word.mIsList) CheckElements(group, member->mValue, report);
    }
  }
}

void CheckOther(const Object& object, Report& report) {
  const std::string where =
      object.mType.empty() ? " without a Type" : " under the Type " + Shown(object.mType);
  for (const char* key : {"Objects", "Object"}) {
    const Member* member = object.Find(key);
    if (member == nullptr) continue;
    report.At(
        object, member->mAt,
        "what " + std::string(key) + " holds is lost" + where + ": write \"Type\": \"GROUP\"");
  }
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    object.IsGroup() ? CheckGroup(object, report) : CheckOther(object, report);
  });
}

}  // namespace

const Rule kLostChildren{"lost-children", Severity::kError,
                         "objects under what is no GROUP, or in a list that does not count", Check};

}  // namespace dorn::lint
