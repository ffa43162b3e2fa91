// Limits that are never met, or met by every value.
#include <optional>

#include "tools/dorn-lint/AttributeValue.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

using station::Attribute;

std::optional<long long> NumberOf(const Object& object, Attribute attribute) {
  const std::string text = object.TextOf(attribute);
  if (!IsInteger(text)) return std::nullopt;
  return std::stoll(text);
}

void CheckPair(const Object& object, Attribute low, Attribute high, Report& report) {
  const auto below = NumberOf(object, low);
  const auto above = NumberOf(object, high);
  if (!below || !above || *below <= *above) return;
  report.At(object, object.ValueOf(low)->mAt,
            std::string(station::NameOf(low)) + " " + std::to_string(*below) + " is above " +
                std::string(station::NameOf(high)) + " " + std::to_string(*above) +
                ": swap them, or mend one");
}

// A slider has a range without being told.
void CheckSlider(const Object& object, Report& report) {
  constexpr long long kMin = 0;
  constexpr long long kMax = 100;
  const auto min = NumberOf(object, Attribute::kMin);
  const auto max = NumberOf(object, Attribute::kMax);
  if (min && !max && *min > kMax) {
    report.At(
        object, object.ValueOf(Attribute::kMin)->mAt,
        "Min " + std::to_string(*min) + " is above the Max 100 of a SLIDER without one: add Max");
  }
  if (max && !min && *max < kMin) {
    report.At(
        object, object.ValueOf(Attribute::kMax)->mAt,
        "Max " + std::to_string(*max) + " is below the Min 0 of a SLIDER without one: add Min");
  }
}

void CheckObject(const Object& object, Report& report) {
  CheckPair(object, Attribute::kMin, Attribute::kMax, report);
  CheckPair(object, Attribute::kLowLow, Attribute::kLow, report);
  CheckPair(object, Attribute::kLow, Attribute::kHigh, report);
  CheckPair(object, Attribute::kHigh, Attribute::kHighHigh, report);
  if (object.mWidget == station::Widget::kSlider) CheckSlider(object, report);
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) { CheckObject(object, report); });
}

}  // namespace

const Rule kOrderOfLimits{"order-of-limits", Severity::kError,
                          "Min above Max, Low above High and the like", Check};

}  // namespace dorn::lint
