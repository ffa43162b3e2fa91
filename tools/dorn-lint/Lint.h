// Checks resource files by all rules.
#ifndef TOOLS_DORN_LINT_LINT_H_
#define TOOLS_DORN_LINT_LINT_H_

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dorn-lint/Rule.h"

namespace dorn::lint {

struct Source {
  std::string mPath;   // As it is told to the user.
  std::string mPlace;  // Where it lies; absolute, or below the folder of the resources.
  std::string mText;
};

struct Finding {
  std::string mPath;
  std::size_t mLine = 1;
  std::size_t mColumn = 1;  // In characters, the first is 1.
  Severity mSeverity = Severity::kError;
  std::string mText;    // UTF-8 without control characters.
  std::string mObject;  // The name of the object it is about, as the file has it; may be empty.
  std::string_view mRule;
};

// The findings of each file in the order of its lines. `hasFile` is asked for dialogs and pictures
// beside the sources.
std::vector<Finding> Lint(std::vector<Source> sources,
                          std::function<bool(const std::string&)> hasFile);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_LINT_H_
