// Of equal keys the last one counts.
#include <unordered_set>

#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void CheckNode(const Node& node, Report& report) {
  std::unordered_set<std::string_view> keys;
  for (auto member = node.mMembers.rbegin(); member != node.mMembers.rend(); ++member) {
    if (!keys.insert(member->mKey).second) {
      report.At(member->mAt, Shown(member->mKey) +
                                 " stands again below, and only the last one counts: take one "
                                 "out");
    }
    CheckNode(member->mValue, report);
  }
  for (const Node& element : node.mElements) CheckNode(element, report);
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDocument.IsRead()) CheckNode(file.mDocument.mRoot, report);
}

}  // namespace

const Rule kDuplicateKey{"duplicate-key", Severity::kError, "one key twice in an object", Check};

}  // namespace dorn::lint
