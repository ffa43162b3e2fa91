// Cells count when all of a group's children have all four numbers.
#include <algorithm>

#include "tools/dorn-lint/AttributeValue.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

using station::Attribute;

constexpr Attribute kCells[] = {Attribute::kX, Attribute::kY, Attribute::kW, Attribute::kH};
constexpr long long kColumns = 12;

bool HasCell(const Object& object, Attribute cell) { return IsInteger(object.TextOf(cell)); }

bool IsPlaced(const Object& object) {
  return std::all_of(std::begin(kCells), std::end(kCells),
                     [&object](Attribute cell) { return HasCell(object, cell); });
}

void CheckFour(const Object& object, Report& report) {
  std::string missing;
  const Node* present = nullptr;
  for (const Attribute cell : kCells) {
    if (object.ValueOf(cell) == nullptr) {
      missing += (missing.empty() ? "" : ", ") + std::string(station::NameOf(cell));
    } else if (present == nullptr) {
      present = object.ValueOf(cell);
    }
  }
  if (present == nullptr || missing.empty()) return;
  report.At(object, present->mAt, "X, Y, W and H count only together: add " + missing);
}

void CheckWidth(const Object& object, Report& report) {
  const long long x = std::stoll(object.TextOf(Attribute::kX));
  const long long w = std::stoll(object.TextOf(Attribute::kW));
  if (x >= 0 && w >= 1 && x + w <= kColumns) return;
  report.At(object, object.ValueOf(Attribute::kX)->mAt,
            "X " + std::to_string(x) + " with W " + std::to_string(w) +
                " does not fit into columns 0 to 11: make it fit");
}

void CheckChildren(const Object& group, Report& report) {
  const auto& children = group.mChildren;
  const bool anyPlaced = std::any_of(children.begin(), children.end(),
                                     [](const auto& child) { return IsPlaced(*child); });
  for (const auto& child : children) {
    CheckFour(*child, report);
    if (IsPlaced(*child)) {
      CheckWidth(*child, report);
    } else if (anyPlaced &&
               std::none_of(std::begin(kCells), std::end(kCells),
                            [&child](Attribute c) { return child->ValueOf(c) != nullptr; })) {
      report.At(
          *child, child->mNode->mAt,
          "without X, Y, W and H, so those of its siblings do not count: place all of a group's "
          "objects or none");
    }
  }
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) { CheckChildren(object, report); });
}

}  // namespace

const Rule kPlacement{"placement", Severity::kWarning,
                      "X, Y, W and H of which some are missing, or that do not fit", Check};

}  // namespace dorn::lint
