// Whether the linter's reader has read what the library's has.
#ifndef TESTS_LINT_SAMEVALUE_H_
#define TESTS_LINT_SAMEVALUE_H_

#include <string>

#include "dorn/json/JsonValue.h"
#include "tools/dorn-lint/Reader.h"

// Equal keys count as the library counts them.
bool IsSame(const dorn::lint::Node& node, const value& expected);

// Both readers accept the text, with the same value and end, or neither does. `why` says more.
bool AgreeOn(const std::string& text, std::string& why);

#endif  // TESTS_LINT_SAMEVALUE_H_
