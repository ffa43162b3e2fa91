#include "tools/dorn-lint/Output.h"

#include <algorithm>

#include "station/Json.h"
#include "station/Utf8.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

std::string_view WordOf(Severity severity) {
  return severity == Severity::kError ? "error" : "warning";
}

std::string Quoted(std::string_view text) { return station::Quoted(station::ValidUtf8(text)); }

}  // namespace

std::string AsLines(const std::vector<Finding>& findings) {
  std::string lines;
  for (const Finding& each : findings) {
    lines += each.mPath;
    lines += ':' + std::to_string(each.mLine) + ':' + std::to_string(each.mColumn) + ": ";
    lines += WordOf(each.mSeverity);
    lines += ": " + each.mText + " [";
    lines += each.mRule;
    lines += "]\n";
  }
  return lines;
}

std::string AsJson(const std::vector<Finding>& findings) {
  std::string json = "[";
  for (const Finding& each : findings) {
    json += json.size() == 1 ? "\n" : ",\n";
    json += "  {\"file\":" + Quoted(each.mPath) + ",\"line\":" + std::to_string(each.mLine);
    json += ",\"column\":" + std::to_string(each.mColumn);
    json += ",\"severity\":" + Quoted(WordOf(each.mSeverity)) + ",\"text\":" + Quoted(each.mText);
    json += ",\"object\":" + Quoted(each.mObject) + ",\"rule\":" + Quoted(each.mRule) + "}";
  }
  return json + (json.size() == 1 ? "]\n" : "\n]\n");
}

std::string RuleLines() {
  std::size_t longest = 0;
  for (const Rule* rule : Rules()) longest = std::max(longest, rule->mName.size());
  std::string lines;
  for (const Rule* rule : Rules()) {
    std::string line(rule->mName);
    line.resize(longest + 2, ' ');
    line += WordOf(rule->mSeverity);
    line.resize(longest + 11, ' ');
    lines += line + std::string(rule->mMeaning) + "\n";
  }
  return lines;
}

}  // namespace dorn::lint
