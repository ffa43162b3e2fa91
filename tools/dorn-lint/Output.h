// How findings and rules are written.
#ifndef TOOLS_DORN_LINT_OUTPUT_H_
#define TOOLS_DORN_LINT_OUTPUT_H_

#include <string>
#include <vector>

#include "tools/dorn-lint/Lint.h"

namespace dorn::lint {

// "resources/panel.json:3:5: error: text [rule]", a line each.
std::string AsLines(const std::vector<Finding>& findings);

// A JSON array of objects with file, line, column, severity, text, object and rule.
std::string AsJson(const std::vector<Finding>& findings);

// Name, severity and meaning of each rule, a line each.
std::string RuleLines();

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_OUTPUT_H_
