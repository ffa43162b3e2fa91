// The resource files that a command line names.
#ifndef TOOLS_DORN_LINT_SOURCES_H_
#define TOOLS_DORN_LINT_SOURCES_H_

#include <string>
#include <vector>

#include "tools/dorn-lint/Lint.h"

namespace dorn::lint {

struct Sources {
  std::vector<Source> mRead;
  std::vector<std::string> mFailures;  // Path and reason of each that could not be read.
};

// Reads files, and every .json below folders, in the order of their names. A folder without any
// fails: whoever names it means to have some.
Sources ReadSources(const std::vector<std::string>& paths);

// Whether a file lies there.
bool HasFile(const std::string& path);

// False when it cannot be read; `reason` says why.
bool ReadText(const std::string& path, std::string& text, std::string& reason);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_SOURCES_H_
