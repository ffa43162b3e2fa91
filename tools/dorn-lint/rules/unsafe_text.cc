// Nothing is escaped on the way out: what a text holds becomes part of the message around it.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

bool IsControl(char c) { return static_cast<unsigned char>(c) < ' '; }

std::string Trouble(const std::string& text) {
  for (const char c : text) {
    if (c == '"') {
      return "a quote ends the text in what stations receive: write “ and ”, or two '";
    }
    if (c == '\\') {
      return "stations take the backslash for the beginning of an escape: write / or ＼";
    }
    if (c == 0 || c == 2 || c == 3) {
      return "this control character is sent as a blank: take it out";
    }
    if (IsControl(c)) {
      return "a control character, such as a line end, breaks what stations receive: take it out, "
             "or make several labels";
    }
  }
  return {};
}

void CheckText(const Object& object, std::size_t at, const std::string& text, Report& report) {
  const std::string trouble = Trouble(text);
  if (!trouble.empty()) report.At(object, at, trouble);
}

void CheckValue(const Object& object, const Node& value, Report& report) {
  if (value.IsString()) CheckText(object, value.mAt, value.mText, report);
  for (const Node& element : value.mElements) CheckValue(object, element, report);
  for (const Member& member : value.mMembers) {
    CheckText(object, member.mAt, member.mKey, report);
    CheckValue(object, member.mValue, report);
  }
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    for (const Member& member : object.mNode->mMembers) {
      CheckText(object, member.mAt, member.mKey, report);
      if (IsAttribute(member)) CheckValue(object, member.mValue, report);
    }
  });
}

}  // namespace

const Rule kUnsafeText{"unsafe-text", Severity::kError,
                       "a quote, a backslash or a control character in a text", Check};

}  // namespace dorn::lint
