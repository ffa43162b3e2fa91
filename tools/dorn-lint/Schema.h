// The vocabulary as a JSON Schema, draft 07, by which editors complete and check resource files.
#ifndef TOOLS_DORN_LINT_SCHEMA_H_
#define TOOLS_DORN_LINT_SCHEMA_H_

#include <string>

namespace dorn::lint {

std::string Schema();

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_SCHEMA_H_
