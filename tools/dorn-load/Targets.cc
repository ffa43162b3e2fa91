#include "tools/dorn-load/Targets.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace dorn::load {

namespace {

using dorn::station::Item;
using dorn::station::Widget;

constexpr int kMostDigits = 9;
constexpr long long kMostValues = 1'000'000'000;  // As many as that many digits have.

long long PowerOfTen(int exponent) {
  long long power = 1;
  for (int i = 0; i < exponent; ++i) power *= 10;
  return power;
}

Target TextTarget(const Item& item) {
  Target target{item.mName, Target::Kind::kText};
  target.mDigits = std::clamp(item.mMaxLength, 1, kMostDigits);
  target.mValues = PowerOfTen(target.mDigits);
  return target;
}

// Far from where differences overflow.
long long Bounded(long long limit) {
  constexpr long long kFar = 1'000'000'000'000'000;
  return std::clamp(limit, -kFar, kFar);
}

// Without limits the numbers are positive and at most six digits long.
Target NumberTarget(const Item& item) {
  constexpr long long kRange = 999'999;
  Target target{item.mName, Target::Kind::kNumber};
  target.mStep = std::max<long long>(item.mStep.value_or(1), 1);
  const long long lowest = std::min(item.mMax.value_or(0), 0LL);
  target.mMin = Bounded(item.mMin.value_or(lowest < 0 ? Bounded(lowest) - kRange : 0));
  const long long max = Bounded(item.mMax.value_or(target.mMin + kRange));
  const long long steps = std::max<long long>((max - target.mMin) / target.mStep, 0);
  target.mValues = std::min(steps + 1, kMostValues);
  return target;
}

std::optional<Target> TargetOf(const Item& item) {
  if (!item.mIsVisible || !item.mIsEnabled || item.mIsReadOnly) return std::nullopt;
  switch (item.mWidget) {
    case Widget::kButton:
      if (!item.mGoto.empty()) return std::nullopt;
      return Target{item.mName, Target::Kind::kButton};
    case Widget::kCheck: {
      Target target{item.mName, Target::Kind::kCheck};
      target.mValues = 2;
      return target;
    }
    case Widget::kEdit:
      return item.mIsNumeric ? NumberTarget(item) : TextTarget(item);
    case Widget::kSlider:
      return NumberTarget(item);
    default:
      return std::nullopt;
  }
}

bool Names(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::string Target::Value(unsigned long long n) const {
  const long long which = static_cast<long long>(n % static_cast<unsigned long long>(mValues));
  switch (mKind) {
    case Kind::kButton:
      return {};
    case Kind::kCheck:
      return which == 0 ? "ON" : "OFF";
    case Kind::kText: {
      const std::string digits = std::to_string(which);
      return std::string(static_cast<std::size_t>(mDigits) - digits.size(), '0') + digits;
    }
    case Kind::kNumber:
      break;
  }
  return std::to_string(mMin + which * mStep);
}

Targets::Targets(const dorn::station::Screen& screen, const std::vector<std::string>& only) {
  for (const auto& card : screen.mCards) Collect(card.mItems, only);
  for (const std::string& name : only) {
    if (Find(name) == mAll.size()) mMissing.push_back(name);
  }
}

std::size_t Targets::Find(const std::string& name) const {
  const auto found = mByName.find(name);
  return found == mByName.end() ? mAll.size() : found->second;
}

void Targets::Collect(const std::vector<Item>& items, const std::vector<std::string>& only) {
  for (const Item& item : items) {
    Collect(item.mChildren, only);
    if (item.mName.empty() || (!only.empty() && !Names(only, item.mName))) continue;
    if (auto target = TargetOf(item)) Add(std::move(*target));
  }
}

// Of two with one name the host finds the first.
void Targets::Add(Target target) {
  const std::size_t index = mAll.size();
  if (!mByName.emplace(target.mName, index).second) return;
  const bool isClicked =
      target.mKind == Target::Kind::kButton || target.mKind == Target::Kind::kCheck;
  (isClicked ? mClicks : mEdits).push_back(index);
  mAll.push_back(std::move(target));
}

}  // namespace dorn::load
