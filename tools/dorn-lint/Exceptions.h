// Findings that are meant to be: a list beside the resources, one a line.
//
//   gallery.json  goto  to_nowhere   # shows what a station says then
//
// The end of a path, a rule, the Name of the object ("-" for none). An exception that nothing needs
// any more is a finding of its own.
#ifndef TOOLS_DORN_LINT_EXCEPTIONS_H_
#define TOOLS_DORN_LINT_EXCEPTIONS_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dorn-lint/Lint.h"

namespace dorn::lint {

struct Exception {
  std::size_t mLine = 0;
  std::string mPathEnd;
  std::string mRule;
  std::string mObject;
};

// Lines that are no exception come back as findings in `path`.
std::vector<Exception> ParseExceptions(const std::string& path, std::string_view text,
                                       std::vector<Finding>& wrong);

// Takes out what the exceptions name, and adds what none of them was needed for.
void Apply(const std::string& path, const std::vector<Exception>& exceptions,
           std::vector<Finding>& findings);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_EXCEPTIONS_H_
