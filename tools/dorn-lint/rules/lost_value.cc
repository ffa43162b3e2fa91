// What the library drops from attributes: numbers with a point, null, and structure within objects.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

bool IsLost(const Node& value) {
  return value.mKind == Node::Kind::kNull || value.mKind == Node::Kind::kDecimal;
}

std::string Called(const Node& value) {
  return value.mKind == Node::Kind::kNull ? "null" : "the number " + Cut(value.mText);
}

std::string Remedy(const Node& value) {
  return value.mKind == Node::Kind::kNull ? ": leave it out, or write \"\""
                                          : ": put it in quotes, or use a whole number and Scale";
}

void CheckInside(const Object& object, const Node& value, Report& report) {
  for (const Node& element : value.mElements) {
    if (IsLost(element)) {
      report.At(object, element.mAt,
                Called(element) +
                    " in an array becomes nothing between two commas, which stations "
                    "cannot read" +
                    Remedy(element));
    }
    CheckInside(object, element, report);
  }
  for (const Member& member : value.mMembers) {
    const Node& inner = member.mValue;
    if (IsLost(inner)) {
      report.At(object, inner.mAt, Called(inner) + " in an object becomes \"\"" + Remedy(inner));
    } else if (inner.IsArray() || inner.IsObject()) {
      report.At(object, inner.mAt,
                "an array or object within an object becomes a text that stations cannot read: "
                "make an attribute of it");
    }
  }
}

void CheckObject(const Object& object, Report& report) {
  for (const Member& member : object.mNode->mMembers) {
    if (!IsAttribute(member)) continue;
    if (IsLost(member.mValue)) {
      report.At(object, member.mValue.mAt,
                Called(member.mValue) + " is lost, and there is no " + Cut(member.mKey) +
                    Remedy(member.mValue));
    }
    CheckInside(object, member.mValue, report);
  }
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) { CheckObject(object, report); });
}

}  // namespace

const Rule kLostValue{"lost-value", Severity::kError,
                      "a value that the library drops: a number with a point, null, structure "
                      "within an object",
                      Check};

}  // namespace dorn::lint
