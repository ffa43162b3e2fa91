// Whole numbers are read as int, and anything made of digits and signs is taken for one.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

bool IsInRange(const std::string& text) {
  errno = 0;
  const long number = std::strtol(text.c_str(), nullptr, 10);
  return errno == 0 && number >= INT_MIN && number <= INT_MAX;
}

bool IsWhole(const std::string& text) {
  const std::size_t first = text.front() == '-' ? 1 : 0;
  return text.size() > first &&
         std::all_of(text.begin() + static_cast<std::ptrdiff_t>(first), text.end(),
                     [](char c) { return c >= '0' && c <= '9'; });
}

void CheckValue(const Object& object, const Node& value, Report& report) {
  if (value.mKind == Node::Kind::kInteger) {
    if (!IsWhole(value.mText)) {
      report.At(object, value.mAt,
                Cut(value.mText) + " is read as " + std::to_string(value.Integer()) +
                    ": put it in quotes");
    } else if (!IsInRange(value.mText)) {
      report.At(object, value.mAt,
                Cut(value.mText) + " is beyond the range of int and becomes " +
                    std::to_string(value.Integer()) + ": put it in quotes");
    }
  }
  for (const Node& element : value.mElements) CheckValue(object, element, report);
  for (const Member& member : value.mMembers) CheckValue(object, member.mValue, report);
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    for (const Member& member : object.mNode->mMembers) {
      if (IsAttribute(member)) CheckValue(object, member.mValue, report);
    }
  });
}

}  // namespace

const Rule kNumber{"number", Severity::kError, "a number that is read as some other one", Check};

}  // namespace dorn::lint
