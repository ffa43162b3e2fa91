#include "tools/dorn-lint/Exceptions.h"

#include <algorithm>
#include <sstream>

#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

constexpr std::string_view kRule = "exceptions";

Finding WrongLine(const std::string& path, std::size_t line, std::string text) {
  return {path, line, 1, Severity::kError, std::move(text), {}, kRule};
}

bool IsRule(const std::string& name) {
  return std::any_of(Rules().begin(), Rules().end(),
                     [&name](const Rule* rule) { return rule->mName == name; });
}

// "gallery.json" is the end of "resources/gallery.json" and not of "my_gallery.json".
bool IsEndOf(const std::string& end, const std::string& path) {
  if (path.size() < end.size()) return false;
  const std::size_t first = path.size() - end.size();
  return path.compare(first, end.size(), end) == 0 && (first == 0 || path[first - 1] == '/');
}

bool Covers(const Exception& exception, const Finding& finding) {
  const std::string object = exception.mObject == "-" ? "" : exception.mObject;
  return finding.mRule == exception.mRule && finding.mObject == object &&
         IsEndOf(exception.mPathEnd, finding.mPath);
}

}  // namespace

std::vector<Exception> ParseExceptions(const std::string& path, std::string_view text,
                                       std::vector<Finding>& wrong) {
  std::vector<Exception> exceptions;
  std::istringstream lines{std::string(text)};
  std::string line;
  for (std::size_t number = 1; std::getline(lines, line); ++number) {
    std::istringstream words(line.substr(0, line.find('#')));
    Exception exception;
    exception.mLine = number;
    if (!(words >> exception.mPathEnd)) continue;
    std::string more;
    if (!(words >> exception.mRule >> exception.mObject) || words >> more) {
      wrong.push_back(WrongLine(path, number, "no exception: write FILE RULE NAME"));
    } else if (!IsRule(exception.mRule)) {
      wrong.push_back(WrongLine(path, number, "there is no rule of this name: see --rules"));
    } else {
      exceptions.push_back(exception);
    }
  }
  return exceptions;
}

void Apply(const std::string& path, const std::vector<Exception>& exceptions,
           std::vector<Finding>& findings) {
  std::vector<Finding> unused;
  for (const Exception& exception : exceptions) {
    const auto end =
        std::remove_if(findings.begin(), findings.end(),
                       [&exception](const Finding& finding) { return Covers(exception, finding); });
    if (end == findings.end()) {
      unused.push_back(
          WrongLine(path, exception.mLine, "nothing needs this exception: take it out"));
    }
    findings.erase(end, findings.end());
  }
  findings.insert(findings.end(), unused.begin(), unused.end());
}

}  // namespace dorn::lint
